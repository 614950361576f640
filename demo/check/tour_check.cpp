#include "demo/check/tour_check.h"

#include "demo/art/demo_art.h"
#include "demo/check/frame_check.h"
#include "tools/screen_art/save_menu_look.h"

namespace demo_check {

namespace {

// Collects mismatching pixels, naming the first few and counting the rest.
class Problems {
 public:
  void Pixel(const char* what, int32_t x, int32_t y, uint32_t shown, uint32_t wanted) {
    if (++mismatches_ <= kReportedMismatches) {
      list_.push_back(std::string(what) + ": client pixel (" + std::to_string(x) + ", " + std::to_string(y) + ") is " +
                      hex(shown) + ", expected " + hex(wanted));
    }
  }
  void Add(const std::string& problem) { list_.push_back(problem); }
  std::vector<std::string> Take() {
    if (mismatches_ > kReportedMismatches) list_.push_back(std::to_string(mismatches_) + " pixels differ");
    return list_;
  }

 private:
  size_t mismatches_ = 0;
  std::vector<std::string> list_;
};

bool inWindow(int32_t x, int32_t y) {
  return x >= DEMO_WINDOW_LEFT && x <= DEMO_WINDOW_RIGHT && y >= DEMO_WINDOW_TOP && y <= DEMO_WINDOW_BOTTOM;
}

// The row of the rule under text line `line`, and whether (x, y) lies on a rule.
int32_t ruleRow(int32_t line) { return DEMO_TEXT_TOP + (line + 1) * DEMO_LINE_HEIGHT - DEMO_RULE_RISE; }
bool onRule(int32_t x, int32_t y) {
  if (x < DEMO_TEXT_LEFT - 8 || x > DEMO_TEXT_RIGHT + 8) return false;
  for (int32_t line = 0; line < DEMO_TEXT_LINES; ++line) {
    if (y == ruleRow(line)) return true;
  }
  return false;
}

bool inAny(const std::vector<DemoRect>& rects, int32_t x, int32_t y) {
  for (const DemoRect& rect : rects) {
    if (x >= rect.left && x <= rect.right && y >= rect.top && y <= rect.bottom) return true;
  }
  return false;
}

}  // namespace

std::vector<std::string> checkScene(const Picture& screenshot, int32_t left, int32_t top, const Picture& landscape,
                                    int32_t place, int32_t textLines) {
  std::string unusable = clientAreaProblem(screenshot, left, top);
  if (!unusable.empty()) return {unusable};
  int32_t cornerX, cornerY;
  demoSceneCorner(place, landscape.width, landscape.height, &cornerX, &cornerY);
  Problems problems;
  std::vector<int32_t> inkPerLine(DEMO_TEXT_LINES, 0);
  const int32_t textBottom = DEMO_TEXT_TOP + DEMO_TEXT_LINES * DEMO_LINE_HEIGHT - 1;
  for (int32_t y = 0; y < DEMO_CLIENT_HEIGHT; ++y) {
    for (int32_t x = 0; x < DEMO_CLIENT_WIDTH; ++x) {
      const uint32_t shown = demo_art::colourAt(screenshot, left + x, top + y);
      if (!inWindow(x, y)) {
        const uint32_t wanted = demo_art::colourAt(landscape, cornerX + x, cornerY + y);
        if (!closeColours(shown, wanted)) problems.Pixel("landscape", x, y, shown, wanted);
      } else if (onRule(x, y)) {
        if (!closeColours(shown, DEMO_RULE_COLOUR)) problems.Pixel("rule", x, y, shown, DEMO_RULE_COLOUR);
      } else if (x >= DEMO_TEXT_LEFT && x <= DEMO_TEXT_RIGHT && y >= DEMO_TEXT_TOP && y <= textBottom) {
        if (closeColours(shown, DEMO_INK_COLOUR)) {
          ++inkPerLine[(y - DEMO_TEXT_TOP) / DEMO_LINE_HEIGHT];
        } else if (!closeColours(shown, DEMO_WINDOW_COLOUR)) {
          problems.Pixel("text", x, y, shown, DEMO_WINDOW_COLOUR);
        }
      } else if (!closeColours(shown, DEMO_WINDOW_COLOUR)) {
        problems.Pixel("window", x, y, shown, DEMO_WINDOW_COLOUR);
      }
    }
  }
  for (int32_t line = 0; line < DEMO_TEXT_LINES; ++line) {
    const bool wanted = line < textLines, inked = inkPerLine[line] >= kMinimumInk;
    if (wanted != inked) {
      problems.Add("text line " + std::to_string(line + 1) + " has " + std::to_string(inkPerLine[line]) +
                   " ink pixels; " + (wanted ? "text" : "no text") + " was due");
    }
  }
  return problems.Take();
}

std::vector<std::string> checkWholeFrame(const Picture& screenshot, int32_t left, int32_t top, const Picture& expected) {
  std::string unusable = clientAreaProblem(screenshot, left, top);
  if (!unusable.empty()) return {unusable};
  Problems problems;
  for (int32_t y = 0; y < DEMO_CLIENT_HEIGHT; ++y) {
    for (int32_t x = 0; x < DEMO_CLIENT_WIDTH; ++x) {
      const uint32_t shown = demo_art::colourAt(screenshot, left + x, top + y);
      const uint32_t wanted = demo_art::colourAt(expected, x, y);
      if (!closeColours(shown, wanted)) problems.Pixel("frame", x, y, shown, wanted);
    }
  }
  return problems.Take();
}

std::vector<std::string> checkSavePage(const Picture& screenshot, int32_t left, int32_t top, int32_t savedPlace) {
  std::string unusable = clientAreaProblem(screenshot, left, top);
  if (!unusable.empty()) return {unusable};
  Problems problems;
  auto expect = [&](const char* what, int32_t x, int32_t y, uint32_t wanted) {
    const uint32_t shown = demo_art::colourAt(screenshot, left + x, top + y);
    if (shown != wanted) problems.Pixel(what, x, y, shown, wanted);
  };
  // Slot 0 stands at (36, 40); a mark is drawn at (48, 3) into it, a picture at (46, 36).
  expect("page 1", 5, 5, SAVE_ART_PAGE_COLOUR(1));
  if (savedPlace < 0) {
    expect("no-data picture", 36 + 47, 40 + 37, SAVE_ART_PICTURE_COLOUR(0, 0, 0));
    expect("no kind mark", 36 + 49, 40 + 4, SAVE_ART_PAGE_COLOUR(1));
  } else {
    expect("place's picture", 36 + 47, 40 + 37, SAVE_ART_PICTURE_COLOUR(1, savedPlace + 1, 0));
    expect("kind 1 mark", 36 + 49, 40 + 4, SAVE_ART_KIND_COLOUR(1, 0));
  }
  return problems.Take();
}

std::vector<std::string> checkMapLabel(const Picture& screenshot, int32_t left, int32_t top, const Picture& label) {
  std::string unusable = clientAreaProblem(screenshot, left, top);
  if (!unusable.empty()) return {unusable};
  const int32_t x0 = (DEMO_CLIENT_WIDTH - 1) / 2 - label.width / 2, y0 = (DEMO_CLIENT_HEIGHT - 1) / 2 - label.height / 2;
  for (int32_t dy = -1; dy <= 1; ++dy) {
    for (int32_t dx = -1; dx <= 1; ++dx) {
      bool same = true;
      for (int32_t y = 0; y < label.height && same; ++y) {
        for (int32_t x = 0; x < label.width && same; ++x) {
          same = closeColours(demo_art::colourAt(screenshot, left + x0 + dx + x, top + y0 + dy + y),
                              demo_art::colourAt(label, x, y));
        }
      }
      if (same) return {};
    }
  }
  return {"the chosen place's label is not in the middle of the map"};
}

std::vector<std::string> checkOverlay(const Picture& screenshot, int32_t left, int32_t top, const Picture& overlay,
                                      const Picture& alpha, const Picture& ground,
                                      const std::vector<DemoRect>& controls) {
  for (const Picture* picture : {&screenshot, &ground}) {
    std::string unusable = clientAreaProblem(*picture, left, top);
    if (!unusable.empty()) return {unusable};
  }
  if (overlay.width != DEMO_CLIENT_WIDTH || overlay.height != DEMO_CLIENT_HEIGHT || alpha.width != overlay.width ||
      alpha.height != overlay.height) {
    return {"the overlay and its alpha plane are not of the client area's size"};
  }
  Problems problems;
  for (int32_t y = 0; y < DEMO_CLIENT_HEIGHT; ++y) {
    for (int32_t x = 0; x < DEMO_CLIENT_WIDTH; ++x) {
      const uint32_t opacity = demo_art::colourAt(alpha, x, y) & 0xFF;
      if ((opacity != 0 && opacity != 0xFF) || inAny(controls, x, y)) continue;
      const uint32_t shown = demo_art::colourAt(screenshot, left + x, top + y);
      const uint32_t wanted = opacity ? demo_art::colourAt(overlay, x, y) : demo_art::colourAt(ground, left + x, top + y);
      if (!closeColours(shown, wanted)) problems.Pixel(opacity ? "overlay" : "ground", x, y, shown, wanted);
    }
  }
  return problems.Take();
}

std::vector<std::string> checkComposition(const Picture& screenshot, int32_t left, int32_t top, const Picture& ground,
                                          const std::vector<Piece>& pieces, const std::vector<DemoRect>& controls) {
  std::string unusable = clientAreaProblem(screenshot, left, top);
  if (!unusable.empty()) return {unusable};
  if (ground.width < DEMO_CLIENT_WIDTH || ground.height < DEMO_CLIENT_HEIGHT) return {"the ground is smaller than the client area"};
  Problems problems;
  for (int32_t y = 0; y < DEMO_CLIENT_HEIGHT; ++y) {
    for (int32_t x = 0; x < DEMO_CLIENT_WIDTH; ++x) {
      if (inAny(controls, x, y)) continue;
      uint32_t wanted = demo_art::colourAt(ground, x, y);
      const char* what = "ground";
      for (const Piece& piece : pieces) {
        const int32_t px = x - piece.x, py = y - piece.y;
        if (px < 0 || py < 0 || px >= piece.picture->width || py >= piece.picture->height) continue;
        wanted = demo_art::colourAt(*piece.picture, px, py);
        what = "piece";
      }
      const uint32_t shown = demo_art::colourAt(screenshot, left + x, top + y);
      if (!closeColours(shown, wanted)) problems.Pixel(what, x, y, shown, wanted);
    }
  }
  return problems.Take();
}

std::vector<std::string> checkInset(const Picture& screenshot, int32_t left, int32_t top, const Picture& inset,
                                    int32_t x, int32_t y) {
  std::string unusable = clientAreaProblem(screenshot, left, top);
  if (!unusable.empty()) return {unusable};
  if (x < 0 || y < 0 || x + inset.width > DEMO_CLIENT_WIDTH || y + inset.height > DEMO_CLIENT_HEIGHT) {
    return {"the inset does not lie within the client area"};
  }
  Problems problems;
  for (int32_t dy = 0; dy < inset.height; ++dy) {
    for (int32_t dx = 0; dx < inset.width; ++dx) {
      const uint32_t shown = demo_art::colourAt(screenshot, left + x + dx, top + y + dy);
      const uint32_t wanted = demo_art::colourAt(inset, dx, dy);
      if (!closeColours(shown, wanted)) problems.Pixel("inset", x + dx, y + dy, shown, wanted);
    }
  }
  return problems.Take();
}

std::vector<float> decimate(const std::vector<float>& samples, size_t factor) {
  std::vector<float> result(factor ? samples.size() / factor : 0);
  for (size_t i = 0; i < result.size(); ++i) {
    float sum = 0;
    for (size_t j = 0; j < factor; ++j) sum += samples[i * factor + j];
    result[i] = sum / float(factor);
  }
  return result;
}

}  // namespace demo_check
