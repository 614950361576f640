// UTF-8 to Shift-JIS (code page 932) for the font tests, so that their texts stay readable.
#pragma once

#include <string>

#ifdef _WIN32
#include <windows.h>
#else
#include <iconv.h>
#endif

inline std::string shiftJis(const std::string& utf8) {
  std::string out;
#ifdef _WIN32
  int count = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
  std::wstring wide(static_cast<size_t>(count), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), wide.data(), count);
  int bytes = WideCharToMultiByte(932, 0, wide.data(), count, nullptr, 0, nullptr, nullptr);
  out.resize(static_cast<size_t>(bytes));
  WideCharToMultiByte(932, 0, wide.data(), count, out.data(), bytes, nullptr, nullptr);
#else
  iconv_t converter = iconv_open("CP932", "UTF-8");
  out.resize(utf8.size() * 2);
  char* in = const_cast<char*>(utf8.data());
  char* target = out.data();
  size_t inLeft = utf8.size(), outLeft = out.size();
  iconv(converter, &in, &inLeft, &target, &outLeft);
  iconv_close(converter);
  out.resize(out.size() - outLeft);
#endif
  return out;
}
