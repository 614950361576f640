// Runs runa1.exe on a test module under Wine and collects what it said: shared by every
// end-to-end test. The including test defines RUNA1_EXE (the host) and MODULE_DIR (where its
// modules are built).
#pragma once

#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "tests/modules/unix_command.h"
#include "tests/temp_dir.h"

struct Outcome {
  DWORD exitCode = 0xFFFFFFFF;
  std::string diagnostics;  // the host's stderr, UTF-8
};

// Environment variables set for one run of the host, as name and value (UTF-8).
using HostEnvironment = std::initializer_list<std::pair<const char*, const char*>>;

inline std::wstring wide(const std::string& utf8) {
  int count = MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, nullptr, 0);
  std::wstring text(static_cast<size_t>(count), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, text.data(), count);
  text.resize(static_cast<size_t>(count - 1));
  return text;
}

inline std::string modulePath(const std::string& name) { return std::string(MODULE_DIR) + "/" + name + ".zpe"; }

inline std::string inQuotes(const std::string& text) { return "\"" + text + "\""; }

// Starts `program` with `arguments` (UTF-8) in `directory`, every box answered "ok" unless
// `environment` says otherwise, and waits for its end. A program that runs longer than
// `timeoutMs` is ended with exit code 0xDEAD, so that the test fails instead of waiting forever.
inline Outcome runProgram(const std::string& program, const std::string& arguments, const TempDir& directory,
                          HostEnvironment environment = {}, DWORD timeoutMs = 60000) {
  std::vector<std::pair<std::wstring, std::wstring>> saved;
  auto set = [&](const std::wstring& name, const std::wstring& value) {
    wchar_t old[4096];
    DWORD length = GetEnvironmentVariableW(name.c_str(), old, 4096);
    saved.emplace_back(name, length ? std::wstring(old, length) : std::wstring(1, L'\0'));
    SetEnvironmentVariableW(name.c_str(), value.c_str());
  };
  set(L"RUNA1_AUTO_ANSWER", L"ok");
  for (const auto& [name, value] : environment) set(wide(name), wide(value));

  std::string errorPath = directory.file("stderr.txt");
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  HANDLE error = CreateFileW(wide(errorPath).c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit, CREATE_ALWAYS,
                             FILE_ATTRIBUTE_NORMAL, nullptr);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdError = error;
  startup.hStdOutput = error;
  startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  std::wstring line = L"\"" + wide(program) + L"\" " + wide(arguments);
  PROCESS_INFORMATION process{};
  Outcome outcome;
  if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                     wide(directory.path().string()).c_str(), &startup, &process)) {
    if (WaitForSingleObject(process.hProcess, timeoutMs) != WAIT_OBJECT_0) TerminateProcess(process.hProcess, 0xDEAD);
    GetExitCodeProcess(process.hProcess, &outcome.exitCode);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
  }
  CloseHandle(error);
  // A saved value of one NUL stands for a variable that was not set.
  for (auto it = saved.rbegin(); it != saved.rend(); ++it)
    SetEnvironmentVariableW(it->first.c_str(), it->second == std::wstring(1, L'\0') ? nullptr : it->second.c_str());
  outcome.diagnostics = directory.read("stderr.txt");
  return outcome;
}

// Runs runa1.exe, as runProgram does.
inline Outcome runHost(const std::string& arguments, const TempDir& directory, HostEnvironment environment = {},
                       DWORD timeoutMs = 60000) {
  return runProgram(RUNA1_EXE, arguments, directory, environment, timeoutMs);
}

// Runs the module `name`, copied into `work`, so that its log lands there.
inline Outcome runModuleInWork(const std::string& name, const TempDir& work, HostEnvironment environment = {},
                               DWORD timeoutMs = 60000) {
  std::filesystem::copy_file(modulePath(name), work.file(name + ".zpe"),
                             std::filesystem::copy_options::overwrite_existing);
  return runHost(name + ".zpe", work, environment, timeoutMs);
}

// Every check of `log` passed, and each of `checks` is among them.
inline void expectAllPassed(const std::string& log, const Outcome& outcome,
                            std::initializer_list<const char*> checks) {
  EXPECT_EQ(outcome.exitCode, 0u) << outcome.diagnostics;
  EXPECT_EQ(log.find("FAIL"), std::string::npos) << log << outcome.diagnostics;
  for (const char* check : checks)
    EXPECT_NE(log.find(std::string("ok ") + check + "\n"), std::string::npos) << check << ": " << log;
}
