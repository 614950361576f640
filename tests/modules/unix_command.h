// Reaching the Unix side from a test that runs under Wine: paths as Unix sees them, and Unix
// commands started through its shell.
#pragma once

#include <windows.h>

#include <filesystem>
#include <string>

// The Unix path of a file or folder that a Windows path names (Wine's own conversion).
inline std::string unixPath(const std::filesystem::path& path) {
  using Convert = char*(CDECL*)(const wchar_t*);
  FARPROC found = GetProcAddress(GetModuleHandleA("kernel32"), "wine_get_unix_file_name");
  auto convert = reinterpret_cast<Convert>(reinterpret_cast<void*>(found));
  if (!convert) return {};
  char* converted = convert(path.wstring().c_str());
  std::string text = converted ? converted : "";
  HeapFree(GetProcessHeap(), 0, converted);
  return text;
}

// Starts `command` with /bin/sh -c; it runs on by itself. False when it could not start.
inline bool startUnixCommand(const std::string& command) {
  std::string line = "/bin/sh -c \"" + command + "\"";
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
    return false;
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return true;
}
