#include "debugger/pane_scroll.h"

#include <algorithm>
#include <cctype>

namespace {

constexpr int32_t kPageStep = 10;

}  // namespace

int32_t PaneScroll::Scroll(ScrollRequest request, int32_t thumb) {
  int32_t wanted = position;
  switch (request) {
    case ScrollRequest::LineUp: wanted -= 1; break;
    case ScrollRequest::LineDown: wanted += 1; break;
    case ScrollRequest::PageUp: wanted -= kPageStep; break;
    case ScrollRequest::PageDown: wanted += kPageStep; break;
    case ScrollRequest::ThumbPosition:
    case ScrollRequest::ThumbTrack: wanted = thumb; break;
    case ScrollRequest::Top: wanted = 0; break;
    case ScrollRequest::Bottom: wanted = Last(); break;
  }
  wanted = std::clamp(wanted, 0, Last());
  int32_t moved = wanted - position;
  position = wanted;
  return moved;
}

void PaneScroll::Resize(int32_t pageCells) {
  page = pageCells;
  if (content <= page) position = 0;
}

int32_t findProcedureLine(const std::vector<std::string>& lines, const std::string& name) {
  static const std::string kKeyword = "procedure";
  for (size_t i = 0; i < lines.size(); ++i) {
    const std::string& line = lines[i];
    if (line.find(name) == std::string::npos) continue;
    size_t start = line.find_first_not_of(" \t");
    if (start == std::string::npos || line.size() - start < kKeyword.size()) continue;
    bool keyword = std::equal(kKeyword.begin(), kKeyword.end(), line.begin() + static_cast<std::ptrdiff_t>(start),
                              [](char k, char c) { return k == std::tolower(static_cast<unsigned char>(c)); });
    if (keyword) return static_cast<int32_t>(i);
  }
  return -1;
}

int32_t centredTop(int32_t line, int32_t visibleRows) { return std::max(0, line - visibleRows / 2); }
