// The debug session's tables, ring and stop list, and the texts of the panes, on an image in
// memory.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "base/os/os.h"
#include "debugger/debug_session.h"
#include "debugger/pane_text.h"

namespace {

drt::DebugRecord sampleRecord() {
  drt::DebugRecord record;
  record.imageSize = 0x100;
  record.codeEnd = 0x80;
  record.sourceFiles = {"/src/main.c"};
  record.procedures = {{"Begin", 0x10, 0}, {"StartingProc", 0x20, 0}, {"helper", 0x30, drt::kNoSource}};
  record.variables = {{"table", 0xA0}, {"score", 0x80}, {"name", 0x90}};
  return record;
}

class DebugSessionTest : public testing::Test {
 protected:
  DebugSessionTest() {
    for (size_t i = 0; i < image.size(); ++i) image[i] = static_cast<uint8_t>(i + 1);
  }
  std::vector<uint8_t> image = std::vector<uint8_t>(0x100);
};

TEST_F(DebugSessionTest, BreakpointsGoOnEveryEntryAndTheOriginalBytesComeBack) {
  std::vector<uint8_t> original = image;
  {
    CZPKDebugSession session(sampleRecord(), image.data());
    session.SetBreakpoints();
    for (uint32_t entry : {0x10u, 0x20u, 0x30u}) EXPECT_EQ(image[entry], 0xCC) << entry;
    EXPECT_EQ(image[0x11], original[0x11]);
    EXPECT_EQ(session.ProcedureAtEntry(0x20), 1);
    EXPECT_EQ(session.ProcedureAtEntry(0x21), -1) << "only entries are breakpoints";
    session.DisarmBreakpoint(1);
    EXPECT_EQ(image[0x20], original[0x20]) << "the entry runs its own instruction";
    session.ArmBreakpoint(1);
    EXPECT_EQ(image[0x20], 0xCC);
  }
  EXPECT_EQ(image, original) << "the module goes on without the debugger";
}

TEST_F(DebugSessionTest, SourcesAreFoundByProcedureName) {
  CZPKDebugSession session(sampleRecord(), image.data());
  ASSERT_NE(session.SourceFileOf("Begin"), nullptr);
  EXPECT_EQ(*session.SourceFileOf("Begin"), "/src/main.c");
  EXPECT_EQ(session.SourceFileOf("helper"), nullptr);
  EXPECT_EQ(session.SourceFileOf("missing"), nullptr);
}

TEST_F(DebugSessionTest, TheHistoryIsARingOf256CallsNewestFirst) {
  CZPKDebugSession session(sampleRecord(), image.data());
  const std::string none = os::shiftJisToUtf8(pane_text::historyRow(session, 0));
  EXPECT_EQ(none, "履歴はありません");
  session.NoteCall(0);
  session.NoteCall(2);
  EXPECT_EQ(pane_text::historyRow(session, 0), "helper");
  EXPECT_EQ(pane_text::historyRow(session, 1), "Begin");
  for (uint32_t row = 2; row < 256; ++row)
    EXPECT_EQ(os::shiftJisToUtf8(pane_text::historyRow(session, row)), none) << row;
  for (int call = 2; call < 256; ++call) session.NoteCall(1);
  EXPECT_EQ(session.NextHistoryPosition(), 0u);
  EXPECT_EQ(session.HistoryRow(255), 0) << "the oldest place still holds the first call";
  session.NoteCall(2);  // the 257th call
  EXPECT_EQ(session.HistoryRow(0), 2);
  EXPECT_EQ(session.HistoryRow(255), 2) << "the first call is gone; the second is the oldest";
  EXPECT_EQ(session.NextHistoryPosition(), 1u);
}

TEST_F(DebugSessionTest, TheStopListKeepsANameOnceAndRefusesUnknownNames) {
  CZPKDebugSession session(sampleRecord(), image.data());
  using Add = CZPKDebugSession::AddResult;
  EXPECT_EQ(session.AddStop("StartingProc"), Add::Added);
  EXPECT_EQ(session.AddStop("StartingProc"), Add::AlreadyListed);
  EXPECT_EQ(session.AddStop("Nothing"), Add::NotDefined);
  EXPECT_EQ(session.StopCount(), 1u);
  EXPECT_TRUE(session.StopsAt(1));
  EXPECT_FALSE(session.StopsAt(0));
  session.RemoveStop("StartingProc");
  EXPECT_FALSE(session.StopsAt(1));
  EXPECT_EQ(session.StopCount(), 0u);
}

TEST_F(DebugSessionTest, VariablesReachToTheNextOneAndTheLastToTheImagesEnd) {
  CZPKDebugSession session(sampleRecord(), image.data());
  const auto& variables = session.Variables();
  ASSERT_EQ(variables.size(), 3u);
  EXPECT_EQ(*variables[0].name, "score");
  EXPECT_EQ(variables[0].size, 0x10u);
  EXPECT_EQ(*variables[1].name, "name");
  EXPECT_EQ(*variables[2].name, "table");
  EXPECT_EQ(variables[2].size, 0x60u);
}

TEST(PaneTextTest, RegistersInTheirFourRows) {
  CONTEXT c{};
  c.SegCs = 0x1B, c.Eip = 0x00401234, c.EFlags = 0x246;
  c.Eax = 1, c.Ebx = 2, c.Ecx = 3, c.Edx = 4, c.Esi = 5, c.Edi = 6, c.Ebp = 7, c.Esp = 0x0012FF00;
  c.SegDs = 0x23, c.SegEs = 0x23, c.SegFs = 0x3B, c.SegGs = 0;
  auto rows = pane_text::registerRows(c);
  EXPECT_EQ(rows[0], " CS:EIP = 001B:00401234 , EFLAGS = 00000246");
  EXPECT_EQ(rows[1], " EAX = 00000001 , EBX = 00000002 , ECX = 00000003 , EDX = 00000004");
  EXPECT_EQ(rows[2], " ESI = 00000005 , EDI = 00000006 , EBP = 00000007 , ESP = 0012FF00");
  EXPECT_EQ(rows[3], " DS = 0023 , ES = 0023 , FS = 003B , GS = 0000");
}

// Memory of 0x1000 to 0x1017 counting up from 0x70; the rest cannot be read.
bool fakeMemory(uint32_t address, void* out, size_t bytes) {
  if (address < 0x1000 || address + bytes > 0x1018) return false;
  for (size_t i = 0; i < bytes; ++i) static_cast<uint8_t*>(out)[i] = static_cast<uint8_t>(0x70 + address - 0x1000 + i);
  return true;
}

TEST(PaneTextTest, StackRowsShowWordsAndDashesWhereTheStackEnds) {
  pane_text::StackRow first = pane_text::stackRow(0x1000, 0, fakeMemory);
  EXPECT_EQ(first.offset, " +00000000 :");
  EXPECT_EQ(first.columns[0], "73727170");
  EXPECT_EQ(first.columns[3], "7F7E7D7C");
  pane_text::StackRow second = pane_text::stackRow(0x1000, 1, fakeMemory);
  EXPECT_EQ(second.offset, " +00000010 :");
  EXPECT_EQ(second.columns[1], "87868584");
  EXPECT_EQ(second.columns[2], "--------");
}

TEST(PaneTextTest, MemoryRowsShowTextWithFullStopsBelow20AndAbove7F) {
  EXPECT_EQ(pane_text::memoryRow(0x1000, fakeMemory),
            "00001000 : 70 71 72 73 74 75 76 77 78 79 7A 7B 7C 7D 7E 7F pqrstuvwxyz{|}~\x7f");
  EXPECT_EQ(pane_text::memoryRow(0x1010, fakeMemory),
            "00001010 : 80 81 82 83 84 85 86 87 -- -- -- -- -- -- -- -- ........        ");
  auto lowBytes = [](uint32_t address, void* out, size_t bytes) {
    std::memset(out, static_cast<int>(address & 0x1F), bytes);
    return true;
  };
  EXPECT_EQ(pane_text::memoryRow(0x1F, lowBytes).substr(59), "................");
}

TEST(PaneTextTest, TheMemoryAddressIsReadInAnyIntegerFormAndShownInHexadecimal) {
  EXPECT_EQ(pane_text::memoryTopRow("402010H"), 0x40201u);
  EXPECT_EQ(pane_text::memoryTopRow("4202511"), 0x40200u) << "decimal, rounded down to its row";
  EXPECT_EQ(pane_text::memoryTopRow("  1010B"), 0u);
  EXPECT_EQ(pane_text::memoryTopRow("0FFFFFFFFH"), 0x0FFFFFFFu);
  EXPECT_EQ(pane_text::memoryTopRow("FFFFH"), 0u) << "a number begins with a digit";
  EXPECT_EQ(pane_text::memoryTopRow("nothing"), 0u);
  EXPECT_EQ(pane_text::memoryAddressText(0x40201), "00402010H");
}

TEST(PaneTextTest, VariableUnitsFollowTheSizeAndTheMaximum) {
  pane_text::VariableFormat automatic;
  pane_text::VariableFormat words{2, false};
  pane_text::VariableFormat bytes{1, false};
  EXPECT_EQ(pane_text::unitWidth(6, automatic), 2u);
  EXPECT_EQ(pane_text::unitWidth(7, automatic), 1u);
  EXPECT_EQ(pane_text::unitWidth(8, automatic), 4u);
  EXPECT_EQ(pane_text::unitWidth(8, words), 2u);
  EXPECT_EQ(pane_text::unitWidth(8, bytes), 1u);
  EXPECT_EQ(pane_text::unitWidth(7, words), 1u) << "a maximum, not a choice";

  const uint8_t value[8] = {0x01, 0x02, 0x03, 0x04, 0xFF, 0xFF, 0xFF, 0xFF};
  EXPECT_EQ(pane_text::variableRows(0x402000, value, 6, automatic), std::vector<std::string>{" : 00402000 :0201 0403 FFFF"});
  EXPECT_EQ(pane_text::variableRows(0x402000, value, 7, automatic),
            std::vector<std::string>{" : 00402000 :01 02 03 04 FF FF FF"});
  EXPECT_EQ(pane_text::variableRows(0x402000, value, 8, automatic),
            std::vector<std::string>{" : 00402000 :04030201 FFFFFFFF"});
  EXPECT_EQ(pane_text::variableRows(0x402000, value, 8, words),
            std::vector<std::string>{" : 00402000 :0201 0403 FFFF FFFF"});
  pane_text::VariableFormat decimal{4, true};
  EXPECT_EQ(pane_text::variableRows(0x402000, value, 8, decimal),
            std::vector<std::string>{" : 00402000 :   67305985,         -1"});
  pane_text::VariableFormat decimalBytes{1, true};
  EXPECT_EQ(pane_text::variableRows(0x402000, value + 3, 2, decimalBytes),
            std::vector<std::string>{" : 00402000 :   4,  -1"});
}

TEST(PaneTextTest, LongVariablesTakeARowPer16BytesAndNamesAlignRight) {
  uint8_t bytes[20] = {};
  std::vector<std::string> rows = pane_text::variableRows(0x10, bytes, 20, {});
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0], " : 00000010 :00000000 00000000 00000000 00000000");
  EXPECT_EQ(rows[1], " : 00000020 :00000000");
  EXPECT_EQ(pane_text::variableNameX(10, 4, 0), 64);
  EXPECT_EQ(pane_text::variableNameX(10, 10, 0), 16);
  EXPECT_EQ(pane_text::variableNameX(10, 4, 3), 40);
  EXPECT_EQ(pane_text::variableRange(10, {}), 10u + 48 + 17);
  EXPECT_EQ(pane_text::variableRange(10, {4, true}), 10u + 64 + 17);
}

}  // namespace
