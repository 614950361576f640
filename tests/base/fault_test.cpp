// The fault filter's decisions, boxes and logs, on exceptions made up with their contexts. The
// contexts point into pages below 4 GiB whose first and last pages cannot be read.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "base/error.h"
#include "base/fault.h"
#include "base/library.h"
#include "base/os/os.h"
#include "tests/temp_dir.h"
#include "tests/test_support.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#endif

namespace {

constexpr uint32_t kPage = 4096;

// Four pages at a 32-bit address: 0 and 3 unreadable, 1 and 2 readable and writable.
class LowPages {
 public:
  LowPages() {
#ifdef _WIN32
    base_ = static_cast<uint8_t*>(VirtualAlloc(nullptr, 4 * kPage, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
    DWORD old;
    VirtualProtect(base_, kPage, PAGE_NOACCESS, &old);
    VirtualProtect(base_ + 3 * kPage, kPage, PAGE_NOACCESS, &old);
#else
    void* map = mmap(nullptr, 4 * kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_32BIT, -1, 0);
    base_ = map == MAP_FAILED ? nullptr : static_cast<uint8_t*>(map);
    if (base_) {
      mprotect(base_, kPage, PROT_NONE);
      mprotect(base_ + 3 * kPage, kPage, PROT_NONE);
    }
#endif
  }
  ~LowPages() {
#ifdef _WIN32
    VirtualFree(base_, 0, MEM_RELEASE);
#else
    if (base_) munmap(base_, 4 * kPage);
#endif
  }
  LowPages(const LowPages&) = delete;
  LowPages& operator=(const LowPages&) = delete;

  bool valid() const { return base_ && reinterpret_cast<uintptr_t>(base_) + 4 * kPage <= 0xFFFFFFFFu; }
  uint8_t* at(uint32_t offset) { return base_ + offset; }
  uint32_t address(uint32_t offset) const { return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(base_) + offset); }

 private:
  uint8_t* base_;
};

// An exception as the system hands it to the filter.
struct Fault {
  EXCEPTION_RECORD record{};
  CONTEXT context{};
  EXCEPTION_POINTERS pointers{&record, &context};

  Fault(uint32_t code, uint32_t eip) {
    record.ExceptionCode = code;
    record.ExceptionAddress = reinterpret_cast<void*>(static_cast<uintptr_t>(eip));
    context.Eip = eip;
  }
  FaultOutcome answer() { return vkAnswerException(&pointers); }
};

// Sets RUNA1_FAULT_LOG for its life.
class FaultLog {
 public:
  explicit FaultLog(const std::string& path) { runa1_test::setEnvironment("RUNA1_FAULT_LOG", path.c_str()); }
  ~FaultLog() { runa1_test::setEnvironment("RUNA1_FAULT_LOG", nullptr); }
  FaultLog(const FaultLog&) = delete;
  FaultLog& operator=(const FaultLog&) = delete;
};

const std::string kBox = "runa1: message box \"VomarKit Message\": ";

std::string module() { return os::shiftJisToUtf8(os::executablePath(0x3FF)); }

std::string hex8(uint32_t value) {
  char text[9];
  std::snprintf(text, sizeof text, "%08X", value);
  return text;
}

size_t countOf(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

// This thread's record as a report leaves it, without raising anything.
void recordReport(uint32_t code, uint32_t extra, const char* source, int32_t line, const char* message) {
  VKERRORRECORD* record = vkGetErrorRecord();
  record->code = code;
  record->extra = extra;
  record->source = source;
  record->line = line;
  record->message = message;
}

LONG WINAPI otherFilter(EXCEPTION_POINTERS*) { return 0; }

TEST(ExceptionNameTest, ListedCodesHaveTheirNamesAndOthersAreUndefined) {
  EXPECT_STREQ(vkGetExceptionName(0xC0000005), "Access violation");
  EXPECT_STREQ(vkGetExceptionName(0x80000002), "Data-type miss-alignment");
  EXPECT_STREQ(vkGetExceptionName(0xC000008C), "Array bounds exceeded");
  EXPECT_STREQ(vkGetExceptionName(0xC000008D), "FPU Denormal operand");
  EXPECT_STREQ(vkGetExceptionName(0xC000008E), "FPU Divided by zero");
  EXPECT_STREQ(vkGetExceptionName(0xC000008F), "FPU Inexact result");
  EXPECT_STREQ(vkGetExceptionName(0xC0000090), "FPU Invalid operation");
  EXPECT_STREQ(vkGetExceptionName(0xC0000091), "FPU Overflow");
  EXPECT_STREQ(vkGetExceptionName(0xC0000092), "FPU Stack check");
  EXPECT_STREQ(vkGetExceptionName(0xC0000093), "FPU Underflow");
  EXPECT_STREQ(vkGetExceptionName(0xC0000094), "Divided by zero");
  EXPECT_STREQ(vkGetExceptionName(0xC0000095), "Overflow");
  EXPECT_STREQ(vkGetExceptionName(0xC0000096), "Privileged instruction");
  EXPECT_STREQ(vkGetExceptionName(0xC0000006), "Page error");
  EXPECT_STREQ(vkGetExceptionName(0xC000001D), "Illegal instruction");
  EXPECT_STREQ(vkGetExceptionName(0xC00000FD), "Stack overflow");
  EXPECT_STREQ(vkGetExceptionName(0xC0000026), "Invalid disposition");
  EXPECT_STREQ(vkGetExceptionName(0x80000001), "Guard page violation");
  for (uint32_t other : {0xE06D7363u, 0x80000003u, 0u, 0xFFFFFFFFu})
    EXPECT_STREQ(vkGetExceptionName(other), "Undefined exception") << std::hex << other;
}

TEST(ErrorExceptionTest, NoGoesOnAndTheCallerGetsItsCode) {
  runa1_test::AutoAnswer answer("no");
  testing::internal::CaptureStderr();
  // Raised for real: the filter is the process's (natively the raise hands it over).
  EXPECT_EQ(vkSetError(VK_ERROR_INVALID_ADDRESS, 7, "vkMemory", 42, "Invalid memory pointer is specified to Reallocation."),
            VK_ERROR_INVALID_ADDRESS);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            kBox + "Module : " + module() +
                "\nVomarKit Unhandled Error Information\n\n"
                "The invalid address was specified.\nInvalid memory pointer is specified to Reallocation.\n\n"
                "Error-Code : 00000003H, Extra-Code : 00000007H\nSource-File : vkMemory\nLine-Number : 42\n\n"
                "Do you save the error log-file?\n"
                "If you want to continue the execution, click the 'No' button.\n"
                "Or if you want to terminate the application, click the 'Cancel' button.\n"
                "You can send me a log file, and you may be received a debuged software.\n");
  EXPECT_EQ(vkGetLastError(), VK_ERROR_INVALID_ADDRESS);
  vkSucceed();
}

TEST(ErrorExceptionTest, CancelEnds) {
  runa1_test::AutoAnswer answer("cancel");
  recordReport(VK_ERROR_ALLOCATION, 0, nullptr, -1, nullptr);
  Fault fault(VK_ERROR_EXCEPTION, 0);
  testing::internal::CaptureStderr();
  EXPECT_EQ(fault.answer(), FaultOutcome::End);
  std::string shown = testing::internal::GetCapturedStderr();
  EXPECT_NE(shown.find("\n\nThe allocation for memory failed.\n\n\nError-Code : 00000001H, Extra-Code : 00000000H\n"
                       "Source-File : \nLine-Number : -1\n\n"),
            std::string::npos)
      << "null message and source show as empty texts: " << shown;
  vkSucceed();
}

TEST(ErrorExceptionTest, YesSavesTheErrorLogAndAsksWhetherToGoOn) {
  runa1_test::AutoAnswer answer("yes");
  TempDir directory;
  FaultLog log(directory.file("error.log"));
  recordReport(0x20000, 0x12, "KFileObj", 321, "Failed to open file.");
  Fault fault(VK_ERROR_EXCEPTION, 0);
  testing::internal::CaptureStderr();
  EXPECT_EQ(fault.answer(), FaultOutcome::Resume);
  std::string shown = testing::internal::GetCapturedStderr();
  EXPECT_EQ(directory.read("error.log"),
            "Module : " + os::executablePath(0x3FF) +
                "\r\nVomarKit Unhandled Error Information\r\n\r\n"
                "The unknown error.\r\nFailed to open file.\r\n\r\n"
                "Error-Code : 00020000H, Extra-Code : 00000012H\r\nSource-File : KFileObj\r\nLine-Number : 321\r\n");
  size_t box = shown.find("Do you save the error log-file?");
  size_t dialog = shown.find("runa1: file dialog \"The Vomar Error Log File To Save\": " +
                             directory.file("error.log") + " (RUNA1_FAULT_LOG)\n");
  size_t done = shown.find(kBox + "The saving of log-file is complete.\nDo you resume the execution?\n");
  EXPECT_LT(box, dialog) << shown;
  EXPECT_LT(dialog, done) << shown;
  EXPECT_NE(done, std::string::npos) << shown;
  vkSucceed();
}

TEST(ErrorExceptionTest, ACancelledSaveOrAFileThatCannotBeMadeAsksAgain) {
  runa1_test::AutoAnswer answer("yes");
  recordReport(VK_ERROR_OVERFLOW, 0, "unit", 1, "full");
  {
    Fault fault(VK_ERROR_EXCEPTION, 0);
    testing::internal::CaptureStderr();
    // Without a person the loop would never end: the third round ends the process.
    EXPECT_EQ(fault.answer(), FaultOutcome::End);
    std::string shown = testing::internal::GetCapturedStderr();
    EXPECT_EQ(countOf(shown, "Do you save the error log-file?"), 2u) << shown;
    EXPECT_EQ(countOf(shown, "runa1: file dialog \"The Vomar Error Log File To Save\": cancel\n"), 2u) << shown;
    EXPECT_NE(shown.find("runa1: the fault dialog answers the same way again; the process ends\n"), std::string::npos);
  }
  TempDir directory;
  FaultLog log(directory.file("missing/error.log"));
  Fault fault(VK_ERROR_EXCEPTION, 0);
  testing::internal::CaptureStderr();
  EXPECT_EQ(fault.answer(), FaultOutcome::End);
  std::string shown = testing::internal::GetCapturedStderr();
  EXPECT_EQ(countOf(shown, kBox + "Writing the file (error.log) failed.\n"), 2u) << shown;
  EXPECT_EQ(countOf(shown, "Do you save the error log-file?"), 2u) << shown;
  vkSucceed();
}

TEST(TrapTest, SingleStepClearsTheTraceFlagSilently) {
  Fault fault(VK_EXCEPTION_SINGLE_STEP, 0x401000);
  fault.context.EFlags = 0x346;
  testing::internal::CaptureStderr();
  EXPECT_EQ(fault.answer(), FaultOutcome::Resume);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(fault.context.EFlags, 0x246u);
  EXPECT_EQ(fault.context.Eip, 0x401000u);
}

TEST(TrapTest, YesStepsOverTheTrapInstructionAndNoPassesOn) {
  LowPages pages;
  ASSERT_TRUE(pages.valid());
  pages.at(kPage)[0] = 0xCC;
  pages.at(kPage)[1] = 0x90;
  {
    runa1_test::AutoAnswer answer("yes");
    Fault fault(VK_EXCEPTION_BREAKPOINT, pages.address(kPage));
    testing::internal::CaptureStderr();
    EXPECT_EQ(fault.answer(), FaultOutcome::Resume);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              kBox + "The break point occur at " + hex8(pages.address(kPage)) + "H.\nDo you resume the execution?\n");
    EXPECT_EQ(fault.context.Eip, pages.address(kPage) + 1);
    // A trap whose byte has been put back: Yes resumes at the address itself.
    Fault restored(VK_EXCEPTION_BREAKPOINT, pages.address(kPage + 1));
    testing::internal::CaptureStderr();
    EXPECT_EQ(restored.answer(), FaultOutcome::Resume);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(restored.context.Eip, pages.address(kPage + 1));
  }
  runa1_test::AutoAnswer answer("no");
  Fault fault(VK_EXCEPTION_BREAKPOINT, pages.address(kPage));
  testing::internal::CaptureStderr();
  EXPECT_EQ(fault.answer(), FaultOutcome::PassOn);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(fault.context.Eip, pages.address(kPage));
}

TEST(MissingInstructionTest, PrefixesAreSkippedAndTwoFpuInstructionsSteppedOver) {
  LowPages pages;
  ASSERT_TRUE(pages.valid());
  struct Case {
    std::vector<uint8_t> bytes;
    uint32_t resumeAt;  // offset from the instruction
  } cases[] = {
      {{0x0F, 0x0F, 0xDF, 0xE0}, 4}, {{0xDB, 0xE3}, 2},       {{0x0F, 0xDB, 0xE3}, 3},
      {{0x0F, 0x0B}, 1},             {{0x0F, 0x0F, 0x90}, 2}, {{0xFF, 0xFF}, 0},
  };
  for (uint32_t code : {VK_EXCEPTION_ILLEGAL_INSTRUCTION, VK_EXCEPTION_FLT_INVALID_OPERATION}) {
    for (const Case& c : cases) {
      std::memcpy(pages.at(kPage), c.bytes.data(), c.bytes.size());
      Fault fault(code, pages.address(kPage));
      testing::internal::CaptureStderr();
      EXPECT_EQ(fault.answer(), FaultOutcome::Resume) << int(c.bytes[0]);
      EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "no dialog";
      EXPECT_EQ(fault.context.Eip, pages.address(kPage) + c.resumeAt) << std::hex << code << " " << int(c.bytes[0]);
    }
  }
}

TEST(MissingInstructionTest, OtherFpuInstructionsAndUnreadableCodeGoToTheReport) {
  LowPages pages;
  ASSERT_TRUE(pages.valid());
  runa1_test::AutoAnswer answer("no");
  const uint8_t otherFpu[] = {0x0F, 0xD9, 0xC0};
  std::memcpy(pages.at(kPage), otherFpu, sizeof otherFpu);
  pages.at(3 * kPage - 2)[0] = 0x0F;
  pages.at(3 * kPage - 1)[0] = 0x0F;
  // Another FPU instruction; code that cannot be read; prefixes that run into such code.
  for (uint32_t eip : {pages.address(kPage), pages.address(16), pages.address(3 * kPage - 2)}) {
    Fault fault(VK_EXCEPTION_ILLEGAL_INSTRUCTION, eip);
    testing::internal::CaptureStderr();
    EXPECT_EQ(fault.answer(), FaultOutcome::End);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("Illegal instruction exception."), std::string::npos);
    EXPECT_EQ(fault.context.Eip, eip);
  }
}

class GeneralReportTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(pages.valid());
    for (uint32_t i = 0; i < 2 * kPage; ++i) pages.at(kPage)[i] = static_cast<uint8_t>(i);
    CONTEXT& c = fault.context;
    c.Eip = pages.address(kPage + 0x20);  // the code list's first lines lie on the unreadable page
    c.Esp = pages.address(3 * kPage - 0x80);  // the stack list's last lines run off the pages
    c.SegCs = 0x23, c.SegDs = 0x2B, c.SegEs = 0x2B, c.SegFs = 0x53, c.SegGs = 0x2B, c.SegSs = 0x2B;
    c.Eax = 0x11111111, c.Ebx = 0x22222222, c.Ecx = 0x33333333, c.Edx = 0x44444444;
    c.Esi = 0x55555555, c.Edi = 0x66666666, c.Ebp = 0x77777777;
  }

  // The registers as both the box and the log show them, with `end` behind each line.
  std::string registers(const std::string& end) const {
    return "The registers ;" + end + "CS:EIP = 0023:" + hex8(fault.context.Eip) + end +
           "EAX = 11111111 ,  EBX = 22222222" + end + "ECX = 33333333 ,  EDX = 44444444" + end +
           "ESI = 55555555 ,  EDI = 66666666" + end + "EBP = 77777777 ,  ESP = " + hex8(fault.context.Esp) + end +
           "DS = 002B , ES = 002B , FS = 0053 , GS = 002B , SS = 002B" + end + end;
  }

  std::string head(const std::string& end) const {
    return "Module : " + os::executablePath(0x3FF) + end + "The exception error occured on a thread (" +
           hex8(os::currentThreadId()) + "H)!" + end + end + "The exception error code : C0000005H" + end +
           "Access violation exception." + end + end + registers(end);
  }

  // Answers the fault, expecting `outcome`, and gives what the boxes showed.
  std::string answerShown(FaultOutcome outcome) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(fault.answer(), outcome);
    return testing::internal::GetCapturedStderr();
  }

  // Any other exception in between: the next fault is not one that came straight back.
  void TearDown() override { Fault(VK_EXCEPTION_SINGLE_STEP, 0).answer(); }

  LowPages pages;
  Fault fault{0xC0000005, 0};
};

TEST_F(GeneralReportTest, TheBoxShowsTheRegistersAndNoEnds) {
  runa1_test::AutoAnswer answer("no");
  EXPECT_EQ(answerShown(FaultOutcome::End),
            kBox + os::shiftJisToUtf8(head("\n")) +
                "Do you save more usefull information to debug?\n"
                "You can send me a log file, and you may be received a debuged software.\n"
                "If you don't need the information to debug, click the 'No' button, and terminate this "
                "application.\n");
}

TEST_F(GeneralReportTest, TheLogListsCodeAndStackWithDashesWhereMemoryCannotBeRead) {
  runa1_test::AutoAnswer answer("yes");
  TempDir directory;
  FaultLog log(directory.file("crash.log"));
  std::string shown = answerShown(FaultOutcome::Resume);
  EXPECT_NE(shown.find("runa1: file dialog \"The Exception Error Log File To Save\": "), std::string::npos);
  EXPECT_NE(shown.find(kBox + "The saving of log-file is complete.\nDo you resume the execution?\n"), std::string::npos);

  std::string expected = head("\r\n") + "\r\nThe code list (Offset EIP) ;\r\n";
  for (int line = 0; line < 14; ++line) {
    char text[80];
    std::snprintf(text, sizeof text, " - %04XH : -- -- -- -- -- -- -- --  -- -- -- -- -- -- -- --\r\n", 0x100 - 16 * line);
    expected += text;
  }
  // From EIP - 0x20 on, the bytes of the second page, which count up from its start.
  expected += " - 0020H : 00 01 02 03 04 05 06 07  08 09 0A 0B 0C 0D 0E 0F\r\n";
  expected += " - 0010H : 10 11 12 13 14 15 16 17  18 19 1A 1B 1C 1D 1E 1F\r\n";
  expected += " + 0000H : 20 21 22 23 24 25 26 27  28 29 2A 2B 2C 2D 2E 2F\r\n";
  std::string written = directory.read("crash.log");
  ASSERT_EQ(written.substr(0, expected.size()), expected);
  std::string rest = written.substr(expected.size());
  EXPECT_EQ(countOf(rest, "\r\n"), 15u + 2 + 16);
  EXPECT_EQ(rest.substr(0, rest.find("\r\n") + 2), " + 0010H : 30 31 32 33 34 35 36 37  38 39 3A 3B 3C 3D 3E 3F\r\n");
  // The stack: 0x80 bytes before the unreadable page, words of the counting bytes.
  size_t stack = rest.find("\r\nThe stack list (Offset ESP) ;\r\n");
  ASSERT_NE(stack, std::string::npos);
  EXPECT_EQ(rest.substr(stack + 33),
            " + 0000H : 83828180 87868584 8B8A8988 8F8E8D8C\r\n"
            " + 0010H : 93929190 97969594 9B9A9998 9F9E9D9C\r\n"
            " + 0020H : A3A2A1A0 A7A6A5A4 ABAAA9A8 AFAEADAC\r\n"
            " + 0030H : B3B2B1B0 B7B6B5B4 BBBAB9B8 BFBEBDBC\r\n"
            " + 0040H : C3C2C1C0 C7C6C5C4 CBCAC9C8 CFCECDCC\r\n"
            " + 0050H : D3D2D1D0 D7D6D5D4 DBDAD9D8 DFDEDDDC\r\n"
            " + 0060H : E3E2E1E0 E7E6E5E4 EBEAE9E8 EFEEEDEC\r\n"
            " + 0070H : F3F2F1F0 F7F6F5F4 FBFAF9F8 FFFEFDFC\r\n"
            " + 0080H : -------- ------- -------- -------\r\n"
            " + 0090H : -------- ------- -------- -------\r\n"
            " + 00A0H : -------- ------- -------- -------\r\n"
            " + 00B0H : -------- ------- -------- -------\r\n"
            " + 00C0H : -------- ------- -------- -------\r\n"
            " + 00D0H : -------- ------- -------- -------\r\n"
            " + 00E0H : -------- ------- -------- -------\r\n"
            " + 00F0H : -------- ------- -------- -------\r\n");
}

TEST_F(GeneralReportTest, AResumedFaultThatComesBackEndsOnItsThirdRoundWithoutAPerson) {
  runa1_test::AutoAnswer answer("yes");
  TempDir directory;
  FaultLog log(directory.file("crash.log"));
  std::string shown = answerShown(FaultOutcome::Resume);
  testing::internal::CaptureStderr();
  Fault again(0xC0000005, fault.context.Eip);
  again.context = fault.context;
  EXPECT_EQ(again.answer(), FaultOutcome::Resume) << "the box comes again";
  EXPECT_EQ(again.answer(), FaultOutcome::End);
  shown += testing::internal::GetCapturedStderr();
  EXPECT_EQ(countOf(shown, "Access violation exception."), 2u) << shown;
  EXPECT_NE(shown.find("runa1: the fault dialog answers the same way again; the process ends\n"), std::string::npos);
  // Another fault starts its count afresh.
  Fault other(0xC0000094, fault.context.Eip);
  other.context = fault.context;
  testing::internal::CaptureStderr();
  EXPECT_EQ(other.answer(), FaultOutcome::Resume);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("Divided by zero exception."), std::string::npos);
}

TEST(SaveLogDialogTest, TheTitleNamesTheKindAndCancelGivesNull) {
  runa1_test::AutoAnswer answer("ok");
  testing::internal::CaptureStderr();
  EXPECT_EQ(vkSaveLogDialog(VK_LOG_ERROR), nullptr);
  EXPECT_EQ(vkSaveLogDialog(VK_LOG_EXCEPTION), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "runa1: file dialog \"The Vomar Error Log File To Save\": cancel\n"
            "runa1: file dialog \"The Exception Error Log File To Save\": cancel\n");
  FaultLog log("C:\\logs\\run.log");
  testing::internal::CaptureStderr();
  char* name = vkSaveLogDialog(VK_LOG_EXCEPTION);
  testing::internal::GetCapturedStderr();
  ASSERT_NE(name, nullptr);
  EXPECT_STREQ(name, "C:\\logs\\run.log");
}

TEST(FilterInstallTest, EachAttachPutsTheFilterBack) {
  EXPECT_EQ(os::setFaultFilter(otherFilter), &vkFilterException) << "installed at the library's start";
  vkAttachThread();
  EXPECT_EQ(os::setFaultFilter(vkFilterException), &vkFilterException);
  vkDetachThread();
}

}  // namespace

namespace {

int debugFilterCalls;
LONG WINAPI resumingDebugFilter(EXCEPTION_POINTERS*) {
  ++debugFilterCalls;
  return -1;
}
LONG WINAPI passingDebugFilter(EXCEPTION_POINTERS*) {
  ++debugFilterCalls;
  return 0;
}

TEST(DebugFilterHookTest, TheDebuggersFilterIsAskedFirst) {
  debugFilterCalls = 0;
  vkSetDebugFilter(resumingDebugFilter);
  Fault trap(VK_EXCEPTION_BREAKPOINT, 0x401000);
  testing::internal::CaptureStderr();
  EXPECT_EQ(vkFilterException(&trap.pointers), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "the debugger's answer: no dialog";
  EXPECT_EQ(debugFilterCalls, 1);

  vkSetDebugFilter(passingDebugFilter);
  Fault step(VK_EXCEPTION_SINGLE_STEP, 0x401000);
  step.context.EFlags = 0x100;
  EXPECT_EQ(vkFilterException(&step.pointers), -1);
  EXPECT_EQ(step.context.EFlags, 0u) << "passed on, the fault filter's own answer follows";
  EXPECT_EQ(debugFilterCalls, 2);

  vkSetDebugFilter(nullptr);
  Fault again(VK_EXCEPTION_SINGLE_STEP, 0x401000);
  EXPECT_EQ(vkFilterException(&again.pointers), -1);
  EXPECT_EQ(debugFilterCalls, 2) << "none after the session";
}

}  // namespace
