// How the debug panes scroll, in rows or characters: the same rules in every pane and in the
// source text view.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The scroll requests of a scroll bar (SB_* values).
enum class ScrollRequest : uint32_t {
  LineUp = 0,
  LineDown = 1,
  PageUp = 2,
  PageDown = 3,
  ThumbPosition = 4,
  ThumbTrack = 5,
  Top = 6,
  Bottom = 7,
};

struct PaneScroll {
  int32_t position = 0;
  int32_t content = 0;  // the content's size: the range
  int32_t page = 0;     // the client area's size in cells

  // Line moves by 1, page by 10, the thumb sets the position, top and bottom go to the range's
  // ends; the position stays where the last page still fills the window. Gives the distance
  // moved, by which the client area scrolls.
  int32_t Scroll(ScrollRequest request, int32_t thumb);
  // A new client size: a content that fits puts the position back to 0.
  void Resize(int32_t pageCells);
  int32_t Last() const { return content > page ? content - page : 0; }
};

// The source text view's search: the first line that holds `name` and, with its leading blanks
// removed, begins with "Procedure" in any case; -1 when none does.
int32_t findProcedureLine(const std::vector<std::string>& lines, const std::string& name);
// The top row that brings `line` to the middle of a window of `visibleRows`.
int32_t centredTop(int32_t line, int32_t visibleRows);
