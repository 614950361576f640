#include "tools/textres/text_compiler.h"

#include <cstring>
#include <limits>
#include <unordered_map>

#include "base/os/os.h"

namespace textres {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

std::string lineError(size_t line, const std::string& what) { return "line " + std::to_string(line) + ": " + what; }

// 0 when `text` is well-formed UTF-8, else the 1-based line of the first fault.
size_t firstBadUtf8Line(std::string_view text) {
  size_t line = 1;
  for (size_t i = 0; i < text.size();) {
    uint8_t byte = static_cast<uint8_t>(text[i]);
    if (byte == '\n') ++line;
    size_t extra = byte < 0x80 ? 0 : (byte & 0xE0) == 0xC0 ? 1 : (byte & 0xF0) == 0xE0 ? 2 : (byte & 0xF8) == 0xF0 ? 3 : 4;
    if (extra == 4 || (extra > 0 && byte < 0xC2) || i + extra >= text.size()) return line;
    for (size_t k = 1; k <= extra; ++k) {
      if ((static_cast<uint8_t>(text[i + k]) & 0xC0) != 0x80) return line;
    }
    i += extra + 1;
  }
  return 0;
}

// 0 when `text` is well-formed Shift-JIS, else the 1-based line of the first fault.
size_t firstBadShiftJisLine(std::string_view text) {
  size_t line = 1;
  for (size_t i = 0; i < text.size(); ++i) {
    uint8_t byte = static_cast<uint8_t>(text[i]);
    if (byte == '\n') ++line;
    if (byte < 0x80 || (byte >= 0xA1 && byte <= 0xDF)) continue;
    bool lead = (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
    if (!lead || i + 1 == text.size()) return line;
    uint8_t trail = static_cast<uint8_t>(text[++i]);
    if (trail < 0x40 || trail == 0x7F || trail > 0xFC) return line;
  }
  return 0;
}

// The source in Shift-JIS.
bool toShiftJis(std::string_view source, Encoding encoding, std::string* out, std::string* error) {
  if (source.starts_with(kUtf8Mark)) {
    source.remove_prefix(kUtf8Mark.size());
    if (encoding == Encoding::Auto) encoding = Encoding::Utf8;
  }
  if (encoding == Encoding::Auto) encoding = firstBadUtf8Line(source) == 0 ? Encoding::Utf8 : Encoding::ShiftJis;
  if (encoding == Encoding::ShiftJis) {
    if (size_t line = firstBadShiftJisLine(source)) {
      *error = lineError(line, "broken Shift-JIS (is the file UTF-8 with a fault?)");
      return false;
    }
    *out = source;
    return true;
  }
  if (size_t line = firstBadUtf8Line(source)) {
    *error = lineError(line, "broken UTF-8");
    return false;
  }
  if (os::utf8ToShiftJis(source, out)) return true;
  // Find the line that holds a character Shift-JIS lacks.
  size_t line = 1;
  std::string ignored;
  for (size_t start = 0; start <= source.size(); ++line) {
    size_t end = std::min(source.find('\n', start), source.size());
    if (!os::utf8ToShiftJis(source.substr(start, end - start), &ignored)) break;
    start = end + 1;
  }
  *error = lineError(line, "a character has no Shift-JIS form");
  return false;
}

bool isNameStart(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_'; }
bool isNameChar(char c) { return isNameStart(c) || (c >= '0' && c <= '9'); }

// The label name of a marker line "@name" with optional trailing blanks; empty when malformed.
std::string_view markerName(std::string_view marker) {
  marker.remove_prefix(1);
  while (!marker.empty() && (marker.back() == ' ' || marker.back() == '\t')) marker.remove_suffix(1);
  if (marker.empty() || !isNameStart(marker[0])) return {};
  for (char c : marker) {
    if (!isNameChar(c)) return {};
  }
  return marker;
}

void appendInt32(std::string* bytes, int32_t value) {
  uint32_t bits = static_cast<uint32_t>(value);
  for (int shift = 0; shift < 32; shift += 8) bytes->push_back(static_cast<char>(bits >> shift));
}

}  // namespace

bool compile(std::string_view source, Encoding encoding, Compiled* out, std::string* error) {
  std::string text;
  if (!toShiftJis(source, encoding, &text, error)) return false;
  Compiled compiled;
  std::unordered_map<std::string, int32_t> lineOfName;
  int32_t lineNumber = 1;
  for (size_t start = 0; start < text.size(); ++lineNumber) {
    size_t end = text.find('\n', start);
    end = end == std::string::npos ? text.size() : end + 1;
    std::string_view line(text.data() + start, end - start);
    start = end;
    std::string_view content = line.substr(0, line.find_first_of("\r\n"));
    if (!content.starts_with('@')) {
      compiled.text += line;
    } else if (content.starts_with("@@")) {
      compiled.text += line.substr(1);
    } else if (!content.starts_with("@#")) {
      std::string name(markerName(content));
      if (name.empty()) {
        *error = lineError(lineNumber, "a marker is @name (letters, digits, _), @@ for a text line starting with @, or @# for a comment");
        return false;
      }
      auto [known, fresh] = lineOfName.emplace(name, lineNumber);
      if (!fresh) {
        *error = lineError(lineNumber, "label \"" + name + "\" is already on line " + std::to_string(known->second));
        return false;
      }
      compiled.labels.push_back({name, static_cast<int32_t>(compiled.text.size()), lineNumber});
    }
    if (compiled.text.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
      *error = "the text is larger than 2 GB";
      return false;
    }
  }
  *out = std::move(compiled);
  return true;
}

std::string serialize(const Compiled& compiled) {
  std::string bytes;
  appendInt32(&bytes, static_cast<int32_t>(compiled.labels.size()));
  for (const Label& label : compiled.labels) {
    appendInt32(&bytes, label.textIndex);
    appendInt32(&bytes, label.sourceLine);
  }
  appendInt32(&bytes, static_cast<int32_t>(compiled.text.size()));
  return bytes + compiled.text;
}

std::string labelHeader(const Compiled& compiled, std::string_view prefix) {
  std::string header = "/* Label numbers of a text resource, written by textres. */\n#pragma once\n\n";
  for (size_t i = 0; i < compiled.labels.size(); ++i) {
    header += "#define " + std::string(prefix) + compiled.labels[i].name + " " + std::to_string(i) + "\n";
  }
  return header;
}

}  // namespace textres
