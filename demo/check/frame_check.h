// What the demo's window must show in a given state, and the comparison of a screenshot with
// it: the check behind the demo's end-to-end test.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "demo/demo_layout.h"
#include "tools/image/picture_io.h"

namespace demo_check {

struct DemoState {
  int32_t scrollX = DEMO_START_X;  // the main view port's corner in the picture
  int32_t scrollY = DEMO_START_Y;
  int32_t picture = 0;  // 0 the landscape, 1 the pattern
  bool lens = false;  // the pointer has been in the window
  int32_t pointerX = 0;  // client coordinates of the pointer
  int32_t pointerY = 0;
};

// The pictures as the engine decodes them from the demo's files.
struct DemoPictures {
  Picture big[DEMO_PICTURE_COUNT];
  Picture title;
  Picture lensFrame;
};

constexpr int32_t kTolerance = 2;  // per channel, for the rounding of a colour conversion
constexpr size_t kReportedMismatches = 5;

// A picture file as the engine decodes it. False with a message.
bool readEngineFile(const std::string& path, Picture* picture, std::string* error);
// Colours 0xRRGGBB that differ by at most kTolerance in each channel.
bool closeColours(uint32_t a, uint32_t b);
std::string hex(uint32_t colour);
// Why the client area at (left, top) of a screenshot cannot be compared: outside the picture
// or blank. Empty if it can.
std::string clientAreaProblem(const Picture& screenshot, int32_t left, int32_t top);

// Reads landscape.mqi, pattern.mqi, title.mqi and lens.mqi from `directory`. False with a message.
bool readPictures(const std::string& directory, DemoPictures* pictures, std::string* error);

// The client area the demo paints in `state`: the picture at the scroll position, the lens in
// its frame around the pointer, the title plate on top. 24 bits, DEMO_CLIENT_WIDTH by DEMO_CLIENT_HEIGHT.
Picture expectedFrame(const DemoPictures& pictures, const DemoState& state);

// Compares the client area at (left, top) in `screenshot` with the expected frame. Inside the
// lens, whose stretching may round either way, a pixel also matches a neighbour of its source
// pixel. Returns the problems found (a blank area, the client area outside the screenshot,
// mismatching pixels), none if the screenshot shows the frame.
std::vector<std::string> compareFrame(const Picture& screenshot, int32_t left, int32_t top,
                                      const DemoPictures& pictures, const DemoState& state);

}  // namespace demo_check
