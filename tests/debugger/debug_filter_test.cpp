// The debug filter on made-up exceptions: a hit is noted and stepped over, the breakpoint comes
// back after the step, a procedure on the stop list waits for Run, and a breakpoint that no
// procedure owns stops and ends the session.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/fault.h"
#include "base/os/os.h"
#include "debugger/debug_filter.h"

namespace {

constexpr uint32_t kImage = 0x10000000;  // where the module's code sees its image

// Notes what the filter asked of the windows, in order.
class RecordingFrame : public DebugFrame {
 public:
  void RegistersChanged() override { ++registerChanges; }
  void HistoryChanged() override { calls.push_back("history"); }
  void ShowSourceOf(const std::string& procedure) override { calls.push_back("source " + procedure); }
  void ShowStop(const char* text) override { calls.push_back("box " + os::shiftJisToUtf8(text)); }
  void Stop() override { calls.push_back("stop"); }
  void WaitForRun() override { calls.push_back("wait"); }
  void ForceEnd() override { calls.push_back("force end"); }

  int registerChanges = 0;
  std::vector<std::string> calls;
};

drt::DebugRecord record() {
  drt::DebugRecord r;
  r.imageSize = 0x100;
  r.codeEnd = 0x80;
  r.procedures = {{"Begin", 0x10, drt::kNoSource}, {"StartingProc", 0x20, drt::kNoSource}};
  return r;
}

class DebugFilterTest : public testing::Test {
 protected:
  DebugFilterTest() { session.SetBreakpoints(); }

  // An exception of `code` with the instruction pointer at image offset `offset`.
  LONG raise(uint32_t code, uint32_t offset) {
    exception.ExceptionCode = code;
    context.Eip = kImage + offset;
    return filter.Answer(&pointers);
  }

  std::vector<uint8_t> image = std::vector<uint8_t>(0x100, 0x90);
  CZPKDebugSession session{record(), image.data()};
  RecordingFrame frame;
  DebugFilter filter{&session, kImage, &frame};
  EXCEPTION_RECORD exception{};
  CONTEXT context{};
  EXCEPTION_POINTERS pointers{&exception, &context};
};

TEST_F(DebugFilterTest, AHitIsNotedSteppedOverAndArmedAgain) {
  // The trap stands behind the breakpoint byte, as the processor leaves it.
  EXPECT_EQ(raise(VK_EXCEPTION_BREAKPOINT, 0x11), -1);
  EXPECT_EQ(context.Eip, kImage + 0x10) << "back on the entry";
  EXPECT_EQ(image[0x10], 0x90) << "the entry's own instruction runs";
  EXPECT_EQ(context.EFlags & 0x100, 0x100u) << "under a single step";
  EXPECT_EQ(session.HistoryRow(0), 0);
  EXPECT_EQ(frame.calls, std::vector<std::string>{"history"});
  EXPECT_EQ(frame.registerChanges, 1);

  EXPECT_EQ(raise(VK_EXCEPTION_SINGLE_STEP, 0x12), -1);
  EXPECT_EQ(image[0x10], 0xCC) << "the breakpoint is back";
  EXPECT_EQ(context.EFlags & 0x100, 0u);
  EXPECT_EQ(frame.registerChanges, 1) << "a single step leaves the registers shown";
}

TEST_F(DebugFilterTest, AnEntryThatIsHitAgainAtOnceKeepsItsByte) {
  EXPECT_EQ(raise(VK_EXCEPTION_BREAKPOINT, 0x21), -1);
  // The next exception is the same entry's breakpoint: the re-arm is left out.
  image[0x20] = 0xCC;
  EXPECT_EQ(raise(VK_EXCEPTION_BREAKPOINT, 0x21), -1);
  EXPECT_EQ(image[0x20], 0x90);
  EXPECT_EQ(session.HistoryRow(0), 1);
  EXPECT_EQ(session.HistoryRow(1), 1);
}

TEST_F(DebugFilterTest, AProcedureOnTheStopListStopsUntilRun) {
  session.AddStop("StartingProc");
  EXPECT_EQ(raise(VK_EXCEPTION_BREAKPOINT, 0x21), -1);
  EXPECT_EQ(frame.calls, (std::vector<std::string>{"history", "source StartingProc",
                                                   "box StartingProc 関数で停止しました。", "stop", "wait"}));
  EXPECT_EQ(image[0x20], 0x90) << "after Run the entry runs and is stepped over";
}

TEST_F(DebugFilterTest, ABreakpointOutsideTheTableStopsAndEndsTheSession) {
  image[0x40] = 0xCC;
  EXPECT_EQ(raise(VK_EXCEPTION_BREAKPOINT, 0x41), 0);
  EXPECT_EQ(frame.calls, (std::vector<std::string>{"box 外部関数で停止しました。", "stop", "wait", "force end"}));
  EXPECT_EQ(session.HistoryRow(0), -1);
}

TEST_F(DebugFilterTest, OtherExceptionsGoOnToTheSystem) {
  EXPECT_EQ(raise(0xC0000005, 0x50), 0);
  EXPECT_TRUE(frame.calls.empty());
  EXPECT_EQ(frame.registerChanges, 1);
  EXPECT_EQ(session.Context().Eip, kImage + 0x50) << "the registers of the fault are shown";
}

}  // namespace
