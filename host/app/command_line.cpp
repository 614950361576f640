#include "host/app/command_line.h"

#include <memory>

#include "files/string_stream.h"
#include "host/module/zpk_text.h"

namespace {

constexpr uint32_t kQuote = '"';

char asciiUpper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }

// Compares without regard to ASCII case; the trail byte of a two-byte character is compared
// as it stands.
bool sameName(const std::string& name, const char* keyword) {
  size_t i = 0;
  for (; i < name.size() && keyword[i]; ++i) {
    if (asciiUpper(name[i]) != asciiUpper(keyword[i])) return false;
    if (IsLeadByte(static_cast<uint8_t>(name[i])) && ++i < name.size() && name[i] != keyword[i]) return false;
  }
  return i == name.size() && !keyword[i];
}

std::string textOf(StringStream* stream) {
  std::unique_ptr<StringStream> owned(stream);
  return std::string(owned->GetBuffer(), static_cast<size_t>(owned->GetLength()));
}

// Bare text: from `start` up to the next code of 0x20 or below, where the cursor stays.
std::string bareText(StringStream& stream, int32_t start) {
  while (stream.GetChar() > 0x20) {
  }
  stream.SetIndex(stream.GetLastIndex());
  return std::string(stream.GetBuffer() + start, static_cast<size_t>(stream.GetIndex() - start));
}

// A quoted text (the cursor on the quote) or a bare one.
std::string value(StringStream& stream) {
  if (stream.GetCurrentChar() == kQuote) {
    stream.GetChar();
    return textOf(stream.GetEnclosedString(kQuote, kQuote));
  }
  return bareText(stream, stream.GetIndex());
}

void takeModuleName(CommandLine* line, const std::string& name) {
  if (line->moduleName.empty()) line->moduleName = name;
  else line->debugLines.push_back(std::string(zpk_text::kSecondModuleName) + "\n");
}

// One character after the switch's name, whatever it is: '=', ':' and a blank serve alike.
std::string switchValue(StringStream& stream) {
  stream.GetChar();
  return value(stream);
}

void dispatchSwitch(StringStream& stream, CommandLine* line, bool debugConfiguration) {
  std::string name = textOf(stream.GetString(true));
  bool debug = sameName(name, "DEBUG"), record = sameName(name, "DRT");
  if ((debug || record) && !debugConfiguration) {
    line->debugLines.push_back(std::string(zpk_text::kDebugInRelease) + "\n");
  } else if (debug) {
    line->debug = true;
  } else if (record) {
    line->debugRecord = switchValue(stream);
  } else if (sameName(name, "BASEDIR")) {
    line->baseDirectory = switchValue(stream);
    line->baseDirectoryGiven = !line->baseDirectory.empty();
  } else {
    line->debugLines.push_back(std::string(zpk_text::kBadSwitch) + name + "\n");
  }
}

}  // namespace

CommandLine scanCommandLine(const std::string& text, bool debugConfiguration) {
  CommandLine line;
  std::unique_ptr<StringStream> stream(StringStream::Create(text.c_str(), static_cast<int32_t>(text.size())));
  while (!stream->IsOverflowIndex()) {
    if (stream->DisableSpace()) break;
    int32_t start = stream->GetIndex();
    uint32_t first = stream->GetChar();
    if (first == '-' || first == '/') {
      dispatchSwitch(*stream, &line, debugConfiguration);
    } else if (first == kQuote) {
      takeModuleName(&line, textOf(stream->GetEnclosedString(kQuote, kQuote)));
    } else {
      // A single character at the very end of the line gives an empty name.
      takeModuleName(&line, stream->GetCurrentChar() == 0 ? std::string() : bareText(*stream, start));
    }
  }
  return line;
}
