#include "base/fault.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "base/error.h"
#include "base/internal.h"
#include "base/os/os.h"

namespace {

constexpr vk_internal::CodeText kExceptionNames[] = {
    {0xC0000005, "Access violation"},
    {0x80000002, "Data-type miss-alignment"},
    {0xC000008C, "Array bounds exceeded"},
    {0xC000008D, "FPU Denormal operand"},
    {0xC000008E, "FPU Divided by zero"},
    {0xC000008F, "FPU Inexact result"},
    {0xC0000090, "FPU Invalid operation"},
    {0xC0000091, "FPU Overflow"},
    {0xC0000092, "FPU Stack check"},
    {0xC0000093, "FPU Underflow"},
    {0xC0000094, "Divided by zero"},
    {0xC0000095, "Overflow"},
    {0xC0000096, "Privileged instruction"},
    {0xC0000006, "Page error"},
    {0xC000001D, "Illegal instruction"},
    {0xC00000FD, "Stack overflow"},
    {0xC0000026, "Invalid disposition"},
    {0x80000001, "Guard page violation"},
    {0xFFFFFFFF, "Undefined exception"},
};

constexpr size_t kTextBytes = 0x400;
constexpr uint32_t kModuleNameLength = 0x3FF;
constexpr uint32_t kEndCode = 0xFFFFFFFF;
constexpr uint32_t kTraceFlag = 0x100;
constexpr LONG kContinueExecution = -1;
constexpr LONG kContinueSearch = 0;

constexpr const char* kLogFilter = "Error Log File (*.LOG)|*.LOG|All Files (*.*)|*.*||";
constexpr const char* kLogTitles[] = {"The Vomar Error Log File To Save", "The Exception Error Log File To Save"};

constexpr const char* kErrorBox =
    "Module : %s\nVomarKit Unhandled Error Information\n\n%s\n%s\n\n"
    "Error-Code : %08XH, Extra-Code : %08XH\nSource-File : %s\nLine-Number : %d\n\n"
    "Do you save the error log-file?\n"
    "If you want to continue the execution, click the 'No' button.\n"
    "Or if you want to terminate the application, click the 'Cancel' button.\n"
    "You can send me a log file, and you may be received a debuged software.";
constexpr const char* kErrorLog =
    "Module : %s\r\nVomarKit Unhandled Error Information\r\n\r\n%s\r\n%s\r\n\r\n"
    "Error-Code : %08XH, Extra-Code : %08XH\r\nSource-File : %s\r\nLine-Number : %d\r\n";
constexpr const char* kExceptionBox =
    "Module : %s\nThe exception error occured on a thread (%08XH)!\n\n"
    "The exception error code : %08XH\n%s exception.\n\n"
    "The registers ;\nCS:EIP = %04X:%08X\nEAX = %08X ,  EBX = %08X\nECX = %08X ,  EDX = %08X\n"
    "ESI = %08X ,  EDI = %08X\nEBP = %08X ,  ESP = %08X\n"
    "DS = %04X , ES = %04X , FS = %04X , GS = %04X , SS = %04X\n\n"
    "Do you save more usefull information to debug?\n"
    "You can send me a log file, and you may be received a debuged software.\n"
    "If you don't need the information to debug, click the 'No' button, and terminate this application.";
constexpr const char* kExceptionLogHead =
    "Module : %s\r\nThe exception error occured on a thread (%08XH)!\r\n\r\n"
    "The exception error code : %08XH\r\n%s exception.\r\n\r\n"
    "The registers ;\r\nCS:EIP = %04X:%08X\r\nEAX = %08X ,  EBX = %08X\r\nECX = %08X ,  EDX = %08X\r\n"
    "ESI = %08X ,  EDI = %08X\r\nEBP = %08X ,  ESP = %08X\r\n"
    "DS = %04X , ES = %04X , FS = %04X , GS = %04X , SS = %04X\r\n\r\n";

const char* orEmpty(const char* text) { return text ? text : ""; }

// A text of the filter: a zero-filled block of global memory, taken with the retry dialog.
class TextBlock {
 public:
  TextBlock()
      : text_(static_cast<char*>(
            vk_internal::allocateWithRetry(kTextBytes, [] { return os::globalAlloc(kTextBytes, true); }))) {}
  ~TextBlock() {
    if (text_) os::globalFree(text_);
  }
  TextBlock(const TextBlock&) = delete;
  TextBlock& operator=(const TextBlock&) = delete;

  const char* text() const { return text_ ? text_ : ""; }

  // Formats into the block; a longer text is cut at its end.
  const char* format(const char* format, ...) __attribute__((format(printf, 2, 3))) {
    if (!text_) return "";
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text_, kTextBytes, format, arguments);
    va_end(arguments);
    return text_;
  }

 private:
  char* text_;
};

int ask(const char* text, uint32_t flags) { return vkMessageBox("%s", flags | MB_SETFOREGROUND, text); }

// Without a person the boxes give the same answers each time, so a dialog loop would go
// round forever: a third round for one fault ends the process instead.
constexpr int kRoundsWithoutAPerson = 2;

bool mayGoRound(int* rounds) {
  if (++*rounds <= kRoundsWithoutAPerson || !os::answersAutomatically()) return true;
  os::writeDiagnostic("runa1: the fault dialog answers the same way again; the process ends\n");
  return false;
}

// The fault that this thread last resumed by re-executing it, and the rounds it has had: when
// it comes straight back, its dialog goes on counting.
struct ResumedFault {
  uint32_t code;
  uint32_t address;
  int rounds;
};
thread_local ResumedFault lastResumed{0, 0, 0};
std::atomic<VkDebugFilter> debugFilter{nullptr};

// One fault's report: its box, the log behind Yes, and the outcome of No.
struct Report {
  const char* box;
  uint32_t buttons;
  FaultOutcome onNo;
  uint32_t logKind;
  // Writes the log to the open file.
  void (*writeLog)(os::FileHandle file, const void* context);
  const void* context;
};

const char* namePart(const char* path) {
  const char* name = path;
  for (const char* at = path; *at; ++at)
    if (*at == '\\' || *at == '/') name = at + 1;
  return name;
}

// The dialog loop of a report: ask; No and Cancel decide; Yes saves the log wherever the user
// says, and asks whether to go on. A cancelled save or a file that cannot be made asks again.
FaultOutcome runReport(const Report& report, int* rounds) {
  for (;;) {
    if (!mayGoRound(rounds)) return FaultOutcome::End;
    int answer = ask(report.box, report.buttons | MB_ICONQUESTION);
    if (answer == IDNO) return report.onNo;
    if (answer == IDCANCEL) return FaultOutcome::End;
    char* name = vkSaveLogDialog(report.logKind);
    if (!name) continue;
    os::FileHandle file = os::openFile(name, os::kAccessWrite, 0, os::Creation::CreateAlways);
    if (file == os::invalidFile()) {
      TextBlock failure;
      ask(failure.format("Writing the file (%s) failed.", namePart(name)), MB_ICONINFORMATION);
      continue;
    }
    report.writeLog(file, report.context);
    os::closeFile(file);
    return ask("The saving of log-file is complete.\nDo you resume the execution?", MB_YESNO | MB_ICONQUESTION) ==
                   IDYES
               ? FaultOutcome::Resume
               : FaultOutcome::End;
  }
}

void writeText(os::FileHandle file, const char* text) {
  os::writeFile(file, text, static_cast<uint32_t>(std::strlen(text)));
}

// The report of this thread's error record, as the library's error exception brings it.
struct ErrorReport {
  std::string module;
  VKERRORRECORD record;
};

void writeErrorLog(os::FileHandle file, const void* context) {
  const ErrorReport& report = *static_cast<const ErrorReport*>(context);
  const VKERRORRECORD& r = report.record;
  TextBlock log;
  writeText(file, log.format(kErrorLog, report.module.c_str(), vkGetErrorText(r.code), orEmpty(r.message), r.code,
                             r.extra, orEmpty(r.source), r.line));
}

FaultOutcome answerErrorException() {
  ErrorReport report{os::executablePath(kModuleNameLength), *vkGetErrorRecord()};
  const VKERRORRECORD& r = report.record;
  TextBlock box;
  box.format(kErrorBox, report.module.c_str(), vkGetErrorText(r.code), orEmpty(r.message), r.code, r.extra,
             orEmpty(r.source), r.line);
  int rounds = 0;
  return runReport({box.text(), MB_YESNOCANCEL, FaultOutcome::Resume, VK_LOG_ERROR, writeErrorLog, &report},
                   &rounds);
}

// The fault of the general report: where and on which thread it happened, and the registers.
struct ExceptionReport {
  std::string module;
  uint32_t thread;
  uint32_t code;
  const CONTEXT* context;
};

const char* formatHead(TextBlock& text, const char* format, const ExceptionReport& report) {
  const CONTEXT& c = *report.context;
  return text.format(format, report.module.c_str(), report.thread, report.code, vkGetExceptionName(report.code),
                     c.SegCs, c.Eip, c.Eax, c.Ebx, c.Ecx, c.Edx, c.Esi, c.Edi, c.Ebp, c.Esp, c.SegDs, c.SegEs,
                     c.SegFs, c.SegGs, c.SegSs);
}

// The head with the registers, 32 lines of code around the instruction pointer and 16 lines of
// stack; each line is read and written on its own, so that damaged memory still gives a
// complete log.
void writeExceptionLog(os::FileHandle file, const void* context) {
  const ExceptionReport& report = *static_cast<const ExceptionReport*>(context);
  TextBlock line;
  writeText(file, formatHead(line, kExceptionLogHead, report));
  writeText(file, "\r\nThe code list (Offset EIP) ;\r\n");
  for (int32_t offset = -0x100; offset <= 0xF0; offset += 0x10) {
    char sign = offset < 0 ? '-' : '+';
    uint32_t amount = static_cast<uint32_t>(offset < 0 ? -offset : offset);
    uint8_t b[16];
    if (os::readMemory(static_cast<uint32_t>(report.context->Eip + offset), b, sizeof b)) {
      line.format(" %c %04XH : %02X %02X %02X %02X %02X %02X %02X %02X  %02X %02X %02X %02X %02X %02X %02X %02X\r\n",
                  sign, amount, b[0], b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12],
                  b[13], b[14], b[15]);
    } else {
      line.format(" %c %04XH : -- -- -- -- -- -- -- --  -- -- -- -- -- -- -- --\r\n", sign, amount);
    }
    writeText(file, line.text());
  }
  writeText(file, "\r\nThe stack list (Offset ESP) ;\r\n");
  for (uint32_t offset = 0; offset <= 0xF0; offset += 0x10) {
    uint32_t w[4];
    if (os::readMemory(static_cast<uint32_t>(report.context->Esp + offset), w, sizeof w)) {
      line.format(" + %04XH : %08X %08X %08X %08X\r\n", offset, w[0], w[1], w[2], w[3]);
    } else {
      line.format(" + %04XH : -------- ------- -------- -------\r\n", offset);
    }
    writeText(file, line.text());
  }
}

FaultOutcome answerGeneralReport(uint32_t code, CONTEXT* context) {
  ExceptionReport report{os::executablePath(kModuleNameLength), os::currentThreadId(), code, context};
  TextBlock box;
  formatHead(box, kExceptionBox, report);
  // A fault that was resumed and came straight back goes on with its count of rounds.
  bool again = lastResumed.code == code && lastResumed.address == context->Eip;
  int rounds = again ? lastResumed.rounds : 0;
  FaultOutcome outcome =
      runReport({box.text(), MB_YESNO, FaultOutcome::End, VK_LOG_EXCEPTION, writeExceptionLog, &report}, &rounds);
  lastResumed = outcome == FaultOutcome::Resume ? ResumedFault{code, context->Eip, rounds} : ResumedFault{0, 0, 0};
  return outcome;
}

FaultOutcome answerBreakpoint(EXCEPTION_POINTERS* pointers) {
  CONTEXT* context = pointers->ContextRecord;
  TextBlock box;
  box.format("The break point occur at %08XH.\nDo you resume the execution?",
             static_cast<uint32_t>(reinterpret_cast<uintptr_t>(pointers->ExceptionRecord->ExceptionAddress)));
  if (ask(box.text(), MB_YESNO | MB_ICONQUESTION) != IDYES) return FaultOutcome::PassOn;
  uint8_t instruction = 0;
  if (os::readMemory(context->Eip, &instruction, 1) && instruction == 0xCC) ++context->Eip;
  return FaultOutcome::Resume;
}

bool isFpuEscape(uint8_t byte) { return byte >= 0xD8 && byte <= 0xDF; }

// For processors without an FPU: 0x0F bytes are skipped, fnstsw ax and fninit are stepped
// over, and anything but another FPU instruction resumes where the skipping stopped. False
// sends the fault to the general report.
bool stepOverMissingInstruction(CONTEXT* context) {
  uint32_t at = context->Eip;
  uint8_t bytes[2];
  if (!os::readMemory(at, bytes, 1)) return false;
  while (bytes[0] == 0x0F)
    if (!os::readMemory(++at, bytes, 1)) return false;
  if (isFpuEscape(bytes[0])) {
    if (!os::readMemory(at, bytes, 2)) return false;
    bool skipped = (bytes[0] == 0xDF && bytes[1] == 0xE0) || (bytes[0] == 0xDB && bytes[1] == 0xE3);
    if (!skipped) return false;
    at += 2;
  }
  context->Eip = at;
  return true;
}

// The exceptions that have answers of their own: true with the outcome, false for those that
// go to the general report.
bool answerApart(uint32_t code, EXCEPTION_POINTERS* pointers, FaultOutcome* outcome) {
  CONTEXT* context = pointers->ContextRecord;
  switch (code) {
    case VK_ERROR_EXCEPTION: *outcome = answerErrorException(); return true;
    case VK_EXCEPTION_SINGLE_STEP:
      context->EFlags &= ~kTraceFlag;
      *outcome = FaultOutcome::Resume;
      return true;
    case VK_EXCEPTION_BREAKPOINT: *outcome = answerBreakpoint(pointers); return true;
    case VK_EXCEPTION_ILLEGAL_INSTRUCTION:
    case VK_EXCEPTION_FLT_INVALID_OPERATION:
      *outcome = FaultOutcome::Resume;
      return stepOverMissingInstruction(context);
    default: return false;
  }
}

}  // namespace

const char* vkGetExceptionName(uint32_t code) {
  return vk_internal::textOfCode(kExceptionNames, code);
}

char* vkSaveLogDialog(uint32_t kind) {
  const char* title = kLogTitles[kind == VK_LOG_ERROR ? 0 : 1];
  char* name = static_cast<char*>(
      vk_internal::allocateWithRetry(kTextBytes, [] { return os::globalAlloc(kTextBytes, true); }));
  std::string chosen = os::environmentVariable("RUNA1_FAULT_LOG");
  if (!chosen.empty()) {
    os::writeDiagnostic("runa1: file dialog \"" + os::shiftJisToUtf8(title) + "\": " + os::shiftJisToUtf8(chosen) +
                        " (RUNA1_FAULT_LOG)\n");
  } else if (!os::chooseFileToSave(kLogFilter, title, OFN_OVERWRITEPROMPT | OFN_HIDEREADONLY | OFN_PATHMUSTEXIST,
                                   kTextBytes - 1, &chosen)) {
    os::globalFree(name);
    return nullptr;
  }
  std::memcpy(name, chosen.c_str(), std::min(chosen.size(), kTextBytes - 1));
  return name;
}

FaultOutcome vkAnswerException(EXCEPTION_POINTERS* pointers) {
  uint32_t code = pointers->ExceptionRecord->ExceptionCode;
  CONTEXT* context = pointers->ContextRecord;
  FaultOutcome outcome;
  if (answerApart(code, pointers, &outcome)) {
    lastResumed = {0, 0, 0};  // whatever was resumed did not come straight back
    return outcome;
  }
  return answerGeneralReport(code, context);
}

void vkSetDebugFilter(VkDebugFilter filter) { debugFilter.store(filter); }

LONG WINAPI vkFilterException(EXCEPTION_POINTERS* pointers) {
  VkDebugFilter debugger = debugFilter.load();
  if (debugger && debugger(pointers) == kContinueExecution) return kContinueExecution;
  switch (vkAnswerException(pointers)) {
    case FaultOutcome::Resume: return kContinueExecution;
    case FaultOutcome::End: os::exitProcess(kEndCode);
    case FaultOutcome::PassOn: break;
  }
  if (!os::answersAutomatically()) return kContinueSearch;
  uint32_t code = pointers->ExceptionRecord->ExceptionCode;
  char line[96];
  std::snprintf(line, sizeof line, "runa1: exception %08XH passed on with nobody to answer; the process ends\n", code);
  os::writeDiagnostic(line);
  os::exitProcess(code);
}
