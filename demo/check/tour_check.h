// The checks of the demo's tour: what each screenshot must show of the story's screens, and
// whether the tour's recording holds the game's music and voice.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "demo/demo_layout.h"
#include "tools/image/picture_io.h"

namespace demo_check {

// A story screen: outside the text window the landscape at demoSceneCorner(place); the window
// plate in its colour with a rule under each line; in the text's clip only window and ink
// colours, ink on exactly the first `textLines` lines (at least kMinimumInk pixels each).
constexpr int32_t kMinimumInk = 100;
std::vector<std::string> checkScene(const Picture& screenshot, int32_t left, int32_t top, const Picture& landscape,
                                    int32_t place, int32_t textLines);

// The whole client area shows `expected` (the client area's size).
std::vector<std::string> checkWholeFrame(const Picture& screenshot, int32_t left, int32_t top, const Picture& expected);

// The save or load screen of page 1: its page colour, and slot 0 either empty or holding the
// game's save of a place (kind 1, chapter 1, picture place + 1).
std::vector<std::string> checkSavePage(const Picture& screenshot, int32_t left, int32_t top, int32_t savedPlace);

// The map scene at rest: the chosen place's label in the middle of the client area, where the
// scene puts its centre (its size minus one, halved), within a pixel.
std::vector<std::string> checkMapLabel(const Picture& screenshot, int32_t left, int32_t top, const Picture& label);

// A host screen drawn over what the window showed before (`ground`, a screenshot with its client
// area at the same place): where `alpha` (the overlay's grey alpha plane) is opaque the client
// area shows `overlay`, where it is clear it shows `ground`; partly clear pixels are not judged,
// nor those of the screen's `controls` (inclusive rectangles), which it draws over the overlay.
std::vector<std::string> checkOverlay(const Picture& screenshot, int32_t left, int32_t top, const Picture& overlay,
                                      const Picture& alpha, const Picture& ground,
                                      const std::vector<DemoRect>& controls = {});

// A host screen of bitmaps: `ground` (the client area's size) with `pieces` drawn over it at
// their client points, but for the screen's `controls`, which are not judged.
struct Piece {
  const Picture* picture;
  int32_t x, y;
};
std::vector<std::string> checkComposition(const Picture& screenshot, int32_t left, int32_t top, const Picture& ground,
                                          const std::vector<Piece>& pieces, const std::vector<DemoRect>& controls);

// The client area shows `inset` with its top left at client point (x, y).
std::vector<std::string> checkInset(const Picture& screenshot, int32_t left, int32_t top, const Picture& inset,
                                    int32_t x, int32_t y);

// Mono samples of a 16-bit wave or raw recording, averaged over `factor` frames: the same low
// pass for the recording and for the game's files, so that their shapes can be compared.
std::vector<float> decimate(const std::vector<float>& samples, size_t factor);

}  // namespace demo_check
