// Faults under Wine, end to end: a module that writes through a null pointer, divides by zero
// or traps, run by runa1.exe, and the library's own faults in fault_probe.exe. Every box is
// answered by RUNA1_AUTO_ANSWER and seen on stderr; RUNA1_FAULT_LOG says where the log goes.
#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <string>

#include "tests/modules/host_run.h"
#include "tests/temp_dir.h"

namespace {

constexpr DWORD kEnded = 0xFFFFFFFF;
const std::string kBox = "runa1: message box \"VomarKit Message\": ";

size_t countOf(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

// The Windows form of a path of the build, as the host's module name shows it.
std::string windowsPath(const std::string& path) {
  std::wstring wideFull(MAX_PATH, L'\0');
  DWORD length = GetFullPathNameW(wide(path).c_str(), MAX_PATH, wideFull.data(), nullptr);
  wideFull.resize(length);
  int count = WideCharToMultiByte(CP_UTF8, 0, wideFull.c_str(), -1, nullptr, 0, nullptr, nullptr);
  std::string text(static_cast<size_t>(count - 1), '\0');
  WideCharToMultiByte(CP_UTF8, 0, wideFull.c_str(), -1, text.data(), count, nullptr, nullptr);
  return text;
}

// The text behind `label` up to the end of its line.
std::string valueAfter(const std::string& text, const std::string& label) {
  size_t at = text.find(label);
  if (at == std::string::npos) return {};
  at += label.size();
  return text.substr(at, text.find_first_of("\r\n", at) - at);
}

// The lines of `log` between the heading `from` and the next blank line.
std::vector<std::string> section(const std::string& log, const std::string& from) {
  std::vector<std::string> lines;
  size_t at = log.find(from);
  if (at == std::string::npos) return lines;
  at += from.size();
  for (size_t end; (end = log.find("\r\n", at)) != std::string::npos && end > at; at = end + 2)
    lines.push_back(log.substr(at, end - at));
  return lines;
}

Outcome runFault(const char* fault, const TempDir& work, const char* answer, const char* log = nullptr) {
  if (log) return runModuleInWork("fault_module", work, {{"RUNA1_TEST_FAULT", fault}, {"RUNA1_AUTO_ANSWER", answer},
                                                         {"RUNA1_FAULT_LOG", log}});
  return runModuleInWork("fault_module", work, {{"RUNA1_TEST_FAULT", fault}, {"RUNA1_AUTO_ANSWER", answer}});
}

// What a processor exception of the module leaves: its box (twice, since the re-executed
// instruction faults again) and a log with the same head, 32 lines of code and 16 of stack.
void expectExceptionReport(const Outcome& outcome, const std::string& log, const std::string& code,
                           const std::string& name, const std::string& instruction,
                           std::initializer_list<const char*> registers) {
  const std::string& shown = outcome.diagnostics;
  EXPECT_EQ(outcome.exitCode, kEnded) << shown;
  std::string module = "Module : " + windowsPath(RUNA1_EXE) + "\nThe exception error occured on a thread (";
  EXPECT_EQ(countOf(shown, kBox + module), 2u) << shown;
  EXPECT_NE(shown.find("H)!\n\nThe exception error code : " + code + "H\n" + name + " exception.\n\nThe registers ;\n"),
            std::string::npos)
      << shown;
  EXPECT_EQ(countOf(shown, "runa1: file dialog \"The Exception Error Log File To Save\": "), 2u) << shown;
  EXPECT_NE(shown.find("runa1: the fault dialog answers the same way again; the process ends\n"), std::string::npos);

  ASSERT_FALSE(log.empty()) << shown;
  EXPECT_EQ(log.find("Module : " + windowsPath(RUNA1_EXE) + "\r\nThe exception error occured on a thread ("), 0u)
      << log;
  EXPECT_NE(log.find("\r\nThe exception error code : " + code + "H\r\n" + name + " exception.\r\n"), std::string::npos);
  for (const char* registerText : registers) {
    EXPECT_NE(shown.find(registerText), std::string::npos) << registerText;
    EXPECT_NE(log.find(registerText), std::string::npos) << registerText;
  }
  // Box and log show the same thread and instruction pointer.
  EXPECT_EQ(valueAfter(shown, "on a thread ("), valueAfter(log, "on a thread ("));
  std::string eip = valueAfter(log, "CS:EIP = ");
  EXPECT_EQ(eip.size(), 13u) << log;
  EXPECT_EQ(valueAfter(shown, "CS:EIP = "), eip);

  std::vector<std::string> code32 = section(log, "\r\n\r\n\r\nThe code list (Offset EIP) ;\r\n");
  ASSERT_EQ(code32.size(), 32u) << log;
  EXPECT_EQ(code32.front().substr(0, 11), " - 0100H : ");
  EXPECT_EQ(code32[16].substr(0, 11 + instruction.size()), " + 0000H : " + instruction) << log;
  EXPECT_EQ(code32.back().substr(0, 11), " + 00F0H : ");
  std::vector<std::string> stack = section(log, "\r\nThe stack list (Offset ESP) ;\r\n");
  ASSERT_EQ(stack.size(), 16u) << log;
  for (const std::string& line : stack) EXPECT_EQ(line.size(), 46u) << "four words: " << line;
  EXPECT_EQ(stack.back().substr(0, 11), " + 00F0H : ");
  EXPECT_EQ(log.substr(log.size() - 2), "\r\n");
}

TEST(ModuleFaultTest, NullWriteEndsInTheDialogAndTheLogHoldsRegistersCodeAndStack) {
  TempDir work;
  Outcome outcome = runFault("null-write", work, "yes", work.file("crash.log").c_str());
  // movl %eax, 0
  expectExceptionReport(outcome, work.read("crash.log"), "C0000005", "Access violation", "A3 00 00 00 00",
                        {"EAX = 11111111 ,  EBX = ", "ECX = 33333333 ,  EDX = 44444444"});
  EXPECT_EQ(work.read("run.log"), "ok before\n") << "the module never went on";
}

TEST(ModuleFaultTest, DivisionByZeroEndsInTheDialogAndTheLogHoldsRegistersCodeAndStack) {
  TempDir work;
  Outcome outcome = runFault("divide", work, "yes", work.file("crash.log").c_str());
  // divl %ecx
  expectExceptionReport(outcome, work.read("crash.log"), "C0000094", "Divided by zero", "F7 F1",
                        {"EAX = 000004D2 ,  EBX = ", "ECX = 00000000 ,  EDX = 00000000"});
  EXPECT_EQ(work.read("run.log"), "ok before\n");
}

TEST(ModuleFaultTest, NoEndsTheHostAtOnceWithoutALog) {
  TempDir work;
  Outcome outcome = runFault("null-write", work, "no", work.file("crash.log").c_str());
  EXPECT_EQ(outcome.exitCode, kEnded) << outcome.diagnostics;
  EXPECT_EQ(countOf(outcome.diagnostics, "Access violation exception."), 1u) << outcome.diagnostics;
  EXPECT_FALSE(std::filesystem::exists(work.file("crash.log")));
}

TEST(ModuleFaultTest, YesToATrapGoesOnBehindItAndNoEndsTheHostWithItsCode) {
  TempDir work;
  Outcome outcome = runFault("trap", work, "yes");
  EXPECT_EQ(outcome.exitCode, 0u) << outcome.diagnostics;
  EXPECT_NE(outcome.diagnostics.find(kBox + "The break point occur at "), std::string::npos) << outcome.diagnostics;
  EXPECT_NE(outcome.diagnostics.find("H.\nDo you resume the execution?\n"), std::string::npos);
  EXPECT_EQ(work.read("run.log"), "ok before\nok after-trap\n");

  TempDir passed;
  outcome = runFault("trap", passed, "no");
  EXPECT_EQ(outcome.exitCode, 0x80000003u) << outcome.diagnostics;
  EXPECT_NE(outcome.diagnostics.find("runa1: exception 80000003H passed on with nobody to answer; the process ends\n"),
            std::string::npos)
      << outcome.diagnostics;
  EXPECT_EQ(passed.read("run.log"), "ok before\n");
}

Outcome runProbe(const char* fault, const TempDir& work, HostEnvironment environment) {
  return runProgram(FAULT_PROBE_EXE, fault, work, environment);
}

const std::string kReportBox =
    "\nVomarKit Unhandled Error Information\n\n"
    "The invalid address was specified.\nInvalid memory pointer is specified to Reallocation.\n\n"
    "Error-Code : 00000003H, Extra-Code : 00000000H\nSource-File : vkMemory\nLine-Number : ";

TEST(LibraryFaultTest, AFatalReportAsksAndNoLetsTheCallerGoOn) {
  TempDir work;
  Outcome outcome = runProbe("report", work, {{"RUNA1_AUTO_ANSWER", "no"}});
  EXPECT_EQ(outcome.exitCode, 0u) << outcome.diagnostics;
  size_t box = outcome.diagnostics.find(kBox + "Module : " + windowsPath(FAULT_PROBE_EXE) + kReportBox);
  size_t back = outcome.diagnostics.find("probe: vkFree gave 0, code 3\n");
  EXPECT_NE(box, std::string::npos) << outcome.diagnostics;
  EXPECT_LT(box, back) << outcome.diagnostics;
}

TEST(LibraryFaultTest, AFatalReportSavedGoesOnAndCancelEnds) {
  TempDir work;
  Outcome outcome =
      runProbe("report", work, {{"RUNA1_AUTO_ANSWER", "yes"}, {"RUNA1_FAULT_LOG", work.file("error.log").c_str()}});
  EXPECT_EQ(outcome.exitCode, 0u) << outcome.diagnostics;
  EXPECT_NE(outcome.diagnostics.find(kBox + "The saving of log-file is complete.\nDo you resume the execution?\n"),
            std::string::npos)
      << outcome.diagnostics;
  EXPECT_NE(outcome.diagnostics.find("probe: vkFree gave 0, code 3\n"), std::string::npos);
  std::string log = work.read("error.log");
  std::string expected = "Module : " + windowsPath(FAULT_PROBE_EXE) +
                         "\r\nVomarKit Unhandled Error Information\r\n\r\n"
                         "The invalid address was specified.\r\nInvalid memory pointer is specified to Reallocation."
                         "\r\n\r\nError-Code : 00000003H, Extra-Code : 00000000H\r\nSource-File : vkMemory\r\n"
                         "Line-Number : ";
  EXPECT_EQ(log.substr(0, expected.size()), expected) << log;
  EXPECT_EQ(log.substr(log.size() - 2), "\r\n");

  outcome = runProbe("report", work, {{"RUNA1_AUTO_ANSWER", "cancel"}});
  EXPECT_EQ(outcome.exitCode, kEnded) << outcome.diagnostics;
  EXPECT_EQ(outcome.diagnostics.find("probe:"), std::string::npos) << outcome.diagnostics;
}

TEST(LibraryFaultTest, AnAllocationGivenUpEndsInTheAccessViolationDialog) {
  TempDir work;
  Outcome outcome = runProbe("allocation", work, {{"RUNA1_AUTO_ANSWER", "cancel"}});
  EXPECT_EQ(outcome.exitCode, kEnded) << outcome.diagnostics;
  size_t retry = outcome.diagnostics.find(kBox + "The memory allocation failed.\nThe requested size is -268435408 "
                                                 "[bytes].\nYou can close other alplications, and free memory.\n"
                                                 "Do you retry the allocation?\n");
  size_t fault = outcome.diagnostics.find("\nThe exception error code : C0000005H\nAccess violation exception.\n");
  EXPECT_NE(retry, std::string::npos) << outcome.diagnostics;
  EXPECT_LT(retry, fault) << outcome.diagnostics;
  EXPECT_EQ(outcome.diagnostics.find("probe:"), std::string::npos) << outcome.diagnostics;
}

TEST(LibraryFaultTest, ATrapAnsweredYesGoesOn) {
  TempDir work;
  Outcome outcome = runProbe("trap", work, {{"RUNA1_AUTO_ANSWER", "yes"}});
  EXPECT_EQ(outcome.exitCode, 0u) << outcome.diagnostics;
  EXPECT_NE(outcome.diagnostics.find(kBox + "The break point occur at "), std::string::npos) << outcome.diagnostics;
  EXPECT_NE(outcome.diagnostics.find("probe: behind the trap\n"), std::string::npos) << outcome.diagnostics;
}

}  // namespace
