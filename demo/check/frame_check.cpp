#include "demo/check/frame_check.h"

#include <cstdlib>
#include <set>

#include "demo/art/demo_art.h"
#include "graphics/molaq_image.h"

namespace demo_check {

namespace {

DemoRect titleRect(const DemoPictures& pictures) {
  return {DEMO_TITLE_LEFT, DEMO_TITLE_TOP, DEMO_TITLE_LEFT + pictures.title.width - 1,
          DEMO_TITLE_TOP + pictures.title.height - 1};
}

bool inside(const DemoRect& r, int32_t x, int32_t y) { return x >= r.left && x <= r.right && y >= r.top && y <= r.bottom; }

}  // namespace

bool readEngineFile(const std::string& path, Picture* picture, std::string* error) {
  MOLAQImage image;
  if (image.ReadImageFile(path.c_str(), 0) != 0) {
    *error = path + ": not a picture file the engine can read";
    return false;
  }
  const BITMAPINFOHEADER& header = image.Header();
  picture->width = header.biWidth;
  picture->height = header.biHeight;
  picture->bits = header.biBitCount;
  picture->palette.assign(picture->bits <= 8 ? size_t(1) << picture->bits : 0, RGBQUAD{});
  if (!picture->palette.empty()) image.GetPaletteEntries(0, uint32_t(picture->palette.size()), picture->palette.data());
  picture->pixels.assign(image.Pixels(), image.Pixels() + size_t(picture->pitch()) * picture->height);
  return true;
}

bool closeColours(uint32_t a, uint32_t b) {
  for (int shift = 0; shift <= 16; shift += 8) {
    if (std::abs(int32_t((a >> shift) & 0xFF) - int32_t((b >> shift) & 0xFF)) > kTolerance) return false;
  }
  return true;
}

std::string hex(uint32_t colour) {
  char text[8];
  std::snprintf(text, sizeof text, "%06X", colour & 0xFFFFFF);
  return text;
}

std::string clientAreaProblem(const Picture& screenshot, int32_t left, int32_t top) {
  if (left < 0 || top < 0 || left + DEMO_CLIENT_WIDTH > screenshot.width ||
      top + DEMO_CLIENT_HEIGHT > screenshot.height) {
    return "the client area at (" + std::to_string(left) + ", " + std::to_string(top) +
           ") does not lie within the screenshot of " + std::to_string(screenshot.width) + "x" +
           std::to_string(screenshot.height);
  }
  std::set<uint32_t> colours;
  for (int32_t y = 0; y < DEMO_CLIENT_HEIGHT && colours.size() < 2; ++y) {
    for (int32_t x = 0; x < DEMO_CLIENT_WIDTH && colours.size() < 2; ++x) {
      colours.insert(demo_art::colourAt(screenshot, left + x, top + y));
    }
  }
  return colours.size() < 2 ? "the client area is blank: every pixel is " + hex(*colours.begin()) : "";
}

bool readPictures(const std::string& directory, DemoPictures* pictures, std::string* error) {
  return readEngineFile(directory + "/landscape.mqi", &pictures->big[0], error) &&
         readEngineFile(directory + "/pattern.mqi", &pictures->big[1], error) &&
         readEngineFile(directory + "/title.mqi", &pictures->title, error) &&
         readEngineFile(directory + "/lens.mqi", &pictures->lensFrame, error);
}

Picture expectedFrame(const DemoPictures& pictures, const DemoState& state) {
  const Picture& big = pictures.big[state.picture];
  Picture frame;
  frame.width = DEMO_CLIENT_WIDTH;
  frame.height = DEMO_CLIENT_HEIGHT;
  frame.bits = 24;
  frame.pixels.assign(size_t(frame.pitch()) * frame.height, 0);
  DemoRect lensWindow, lensPort;
  demoLensRects(state.pointerX, state.pointerY, state.scrollX, state.scrollY, big.width, big.height, &lensWindow,
                &lensPort);
  DemoRect lensFrame = {lensWindow.left - DEMO_LENS_BORDER, lensWindow.top - DEMO_LENS_BORDER,
                        lensWindow.right + DEMO_LENS_BORDER, lensWindow.bottom + DEMO_LENS_BORDER};
  DemoRect title = titleRect(pictures);
  for (int32_t y = 0; y < frame.height; ++y) {
    for (int32_t x = 0; x < frame.width; ++x) {
      uint32_t colour;
      if (inside(title, x, y)) {
        colour = demo_art::colourAt(pictures.title, x - title.left, y - title.top);
      } else if (state.lens && inside(lensWindow, x, y)) {
        colour = demo_art::colourAt(big, lensPort.left + (x - lensWindow.left) / DEMO_LENS_ZOOM,
                                    lensPort.top + (y - lensWindow.top) / DEMO_LENS_ZOOM);
      } else if (state.lens && inside(lensFrame, x, y)) {
        colour = demo_art::colourAt(pictures.lensFrame, x - lensFrame.left, y - lensFrame.top);
      } else {
        colour = demo_art::colourAt(big, state.scrollX + x, state.scrollY + y);
      }
      demo_art::setColour(&frame, x, y, colour);
    }
  }
  return frame;
}

std::vector<std::string> compareFrame(const Picture& screenshot, int32_t left, int32_t top,
                                      const DemoPictures& pictures, const DemoState& state) {
  std::string unusable = clientAreaProblem(screenshot, left, top);
  if (!unusable.empty()) return {unusable};

  Picture expected = expectedFrame(pictures, state);
  const Picture& big = pictures.big[state.picture];
  DemoRect lensWindow, lensPort;
  demoLensRects(state.pointerX, state.pointerY, state.scrollX, state.scrollY, big.width, big.height, &lensWindow,
                &lensPort);
  DemoRect title = titleRect(pictures);
  std::vector<std::string> problems;
  size_t mismatches = 0;
  for (int32_t y = 0; y < DEMO_CLIENT_HEIGHT; ++y) {
    for (int32_t x = 0; x < DEMO_CLIENT_WIDTH; ++x) {
      uint32_t shown = demo_art::colourAt(screenshot, left + x, top + y);
      uint32_t wanted = demo_art::colourAt(expected, x, y);
      bool matches = closeColours(shown, wanted);
      if (!matches && state.lens && inside(lensWindow, x, y) && !inside(title, x, y)) {
        int32_t sourceX = lensPort.left + (x - lensWindow.left) / DEMO_LENS_ZOOM;
        int32_t sourceY = lensPort.top + (y - lensWindow.top) / DEMO_LENS_ZOOM;
        for (int32_t dy = -1; dy <= 1 && !matches; ++dy) {
          for (int32_t dx = -1; dx <= 1 && !matches; ++dx) {
            int32_t sx = sourceX + dx, sy = sourceY + dy;
            matches = sx >= 0 && sy >= 0 && sx < big.width && sy < big.height && closeColours(shown, demo_art::colourAt(big, sx, sy));
          }
        }
      }
      if (matches) continue;
      if (++mismatches <= kReportedMismatches) {
        problems.push_back("client pixel (" + std::to_string(x) + ", " + std::to_string(y) + ") is " + hex(shown) +
                           ", expected " + hex(wanted));
      }
    }
  }
  if (mismatches > kReportedMismatches) {
    problems.push_back(std::to_string(mismatches) + " of " + std::to_string(DEMO_CLIENT_WIDTH * DEMO_CLIENT_HEIGHT) +
                       " client pixels differ");
  }
  return problems;
}

}  // namespace demo_check
