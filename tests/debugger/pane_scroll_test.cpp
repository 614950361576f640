// The pane scrolling rules and the source text view's search for a procedure.
#include <gtest/gtest.h>

#include "debugger/pane_scroll.h"

namespace {

TEST(PaneScrollTest, MovesAreClampedToTheLastFullPage) {
  PaneScroll scroll{0, 256, 20};  // the call history in a window of 20 rows
  EXPECT_EQ(scroll.Scroll(ScrollRequest::LineUp, 0), 0);
  EXPECT_EQ(scroll.Scroll(ScrollRequest::LineDown, 0), 1);
  EXPECT_EQ(scroll.Scroll(ScrollRequest::PageDown, 0), 10);
  EXPECT_EQ(scroll.position, 11);
  EXPECT_EQ(scroll.Scroll(ScrollRequest::PageUp, 0), -10);
  EXPECT_EQ(scroll.Scroll(ScrollRequest::ThumbTrack, 200), 199);
  EXPECT_EQ(scroll.position, 200);
  EXPECT_EQ(scroll.Scroll(ScrollRequest::ThumbPosition, 250), 36) << "no further than the last page";
  EXPECT_EQ(scroll.Scroll(ScrollRequest::Top, 0), -236);
  EXPECT_EQ(scroll.Scroll(ScrollRequest::Bottom, 0), 236);
  EXPECT_EQ(scroll.Scroll(ScrollRequest::PageDown, 0), 0);
}

TEST(PaneScrollTest, AContentThatFitsGoesBackToTheTop) {
  PaneScroll scroll{0, 30, 10};
  scroll.Scroll(ScrollRequest::Bottom, 0);
  scroll.Resize(20);
  EXPECT_EQ(scroll.position, 20) << "still larger than the window";
  scroll.Resize(40);
  EXPECT_EQ(scroll.position, 0);
  EXPECT_EQ(scroll.Scroll(ScrollRequest::LineDown, 0), 0);
}

TEST(SourceSearchTest, TheLineBeginsWithProcedureInAnyCaseAndHoldsTheName) {
  std::vector<std::string> lines = {
      "// StartingProc is the game",          // the name, but no keyword
      "procedure Begin;",                      // the keyword, another name
      "  \tPROCEDURE StartingProc(module)",   // both, behind blanks
      "Procedure StartingProc again",
      "Proc StartingProc",
  };
  EXPECT_EQ(findProcedureLine(lines, "StartingProc"), 2);
  EXPECT_EQ(findProcedureLine(lines, "Begin"), 1);
  EXPECT_EQ(findProcedureLine(lines, "Missing"), -1);
  EXPECT_EQ(findProcedureLine({"Procedur"}, "Procedur"), -1);
  EXPECT_EQ(centredTop(40, 20), 30);
  EXPECT_EQ(centredTop(3, 20), 0);
}

}  // namespace
