// The font module under Wine, on the system's own (non-Japanese) code page: its text must come
// out as the native layout lays it out, page for page and cell for cell, with ink in every
// character cell and no two different characters drawn alike (so no empty boxes).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/fonts/layout_page.h"
#include "tests/modules/host_run.h"

namespace {

constexpr uint32_t kInk = 0xFFE060;
constexpr int32_t kPictureHeight = LAYOUT_HEIGHT * LAYOUT_PAGES;

struct Cell {
  int page, left, right, top, bottom;
  std::string bytes;  // hex
};

struct Layout {
  std::vector<std::string> pages;  // "page P result R pen X Y"
  std::vector<Cell> cells;
};

Layout readLayout() {
  std::ifstream in(LAYOUT_EXPECTED);
  Layout layout;
  std::string line;
  while (std::getline(in, line)) {
    std::istringstream fields(line);
    std::string kind;
    fields >> kind;
    if (kind == "page") {
      layout.pages.push_back(line);
    } else {
      Cell cell;
      fields >> cell.page >> cell.left >> cell.right >> cell.top >> cell.bottom >> cell.bytes;
      layout.cells.push_back(cell);
    }
  }
  return layout;
}

// A 24-bit BMP as 0x00RRGGBB pixels, rows top-down.
struct Picture {
  int32_t width = 0, height = 0;
  std::vector<uint32_t> pixels;
  bool ink(int32_t x, int32_t y) const { return pixels[static_cast<size_t>(y * width + x)] == kInk; }
};

Picture readPicture(const std::string& bytes) {
  Picture picture;
  if (bytes.size() < 54) return picture;
  auto field = [&](size_t at) {
    int32_t value;
    std::memcpy(&value, bytes.data() + at, 4);
    return value;
  };
  uint32_t offset = static_cast<uint32_t>(field(10));
  picture.width = field(18);
  picture.height = field(22);
  size_t pitch = (static_cast<size_t>(picture.width) * 3 + 3) & ~size_t{3};
  if (bytes.size() < offset + pitch * static_cast<size_t>(picture.height)) return {};
  for (int32_t y = 0; y < picture.height; ++y) {
    const auto* row = reinterpret_cast<const uint8_t*>(bytes.data()) + offset + (picture.height - 1 - y) * pitch;
    for (int32_t x = 0; x < picture.width; ++x)
      picture.pixels.push_back(uint32_t{row[3 * x + 2]} << 16 | uint32_t{row[3 * x + 1]} << 8 | row[3 * x]);
  }
  return picture;
}

bool blank(const std::string& bytes) { return bytes == "20" || bytes == "8140"; }

TEST(FontRunTest, JapaneseTextShowsInTheWindowAsTheNativeLayoutLaysItOut) {
  Layout layout = readLayout();
  ASSERT_GE(layout.pages.size(), 2u) << "the text spans pages";
  ASSERT_FALSE(layout.cells.empty());

  TempDir work;
  Outcome outcome = runModuleInWork("font_module", work);
  std::string log = work.read("run.log");
  expectAllPassed(log, outcome, {"main-window", "screen", "text", "font", "pages", "shown", "written"});
  EXPECT_EQ(log.find("code page 932\n"), std::string::npos) << "the system's code page is not Japanese: " << log;
  for (const std::string& page : layout.pages) EXPECT_NE(log.find(page + "\n"), std::string::npos) << page << "\n" << log;

  Picture window = readPicture(work.read("window.bmp"));
  ASSERT_EQ(window.width, LAYOUT_WIDTH);
  ASSERT_EQ(window.height, kPictureHeight);
  // Every character cell holds ink, and its ink is its own: different characters differ.
  std::vector<bool> inCell(window.pixels.size(), false);
  std::map<std::vector<bool>, std::string> looks;
  for (const Cell& cell : layout.cells) {
    std::vector<bool> look;
    int32_t top = cell.page * LAYOUT_HEIGHT + cell.top;
    int32_t bottom = cell.page * LAYOUT_HEIGHT + std::min(cell.bottom, LAYOUT_HEIGHT);
    for (int32_t y = top; y < bottom; ++y)
      for (int32_t x = cell.left; x < std::min(cell.right, LAYOUT_WIDTH); ++x) {
        look.push_back(window.ink(x, y));
        inCell[static_cast<size_t>(y * LAYOUT_WIDTH + x)] = true;
      }
    if (blank(cell.bytes)) continue;
    EXPECT_GT(std::count(look.begin(), look.end(), true), 4)
        << "no ink in the cell of " << cell.bytes << " at " << cell.left << "," << top;
    auto [seen, added] = looks.emplace(look, cell.bytes);
    EXPECT_TRUE(added || seen->second == cell.bytes)
        << cell.bytes << " looks like " << seen->second << " at " << cell.left << "," << top;
  }
  // Nothing is drawn where the native layout has no character.
  int stray = 0;
  for (int32_t y = 0; y < kPictureHeight; ++y)
    for (int32_t x = 0; x < LAYOUT_WIDTH; ++x) stray += window.ink(x, y) && !inCell[static_cast<size_t>(y * LAYOUT_WIDTH + x)];
  EXPECT_EQ(stray, 0);
}

}  // namespace
