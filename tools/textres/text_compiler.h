// The text-resource compiler: turns a source text with label markers into the binary layout
// that TextResource reads (see files/text_resource.h).
//
// Source format, line by line (a line ends at LF; a CR before it belongs to the line end):
//   @name      a label; it points at the start of the next text line. Names are letters,
//              digits and underscores, not starting with a digit, and unique. Labels are
//              numbered 0, 1, 2, ... in the order they appear.
//   @@text     a text line that starts with "@text" (one @ dropped)
//   @#text     a comment, dropped
//   other      a text line, kept byte for byte with its line end
// Marker lines are dropped with their line ends. The text is written in Shift-JIS; the second
// word of each label entry is the label's line number in the source.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace textres {

enum class Encoding { Auto, Utf8, ShiftJis };

struct Label {
  std::string name;
  int32_t textIndex;
  int32_t sourceLine;
};

struct Compiled {
  std::vector<Label> labels;
  std::string text;  // Shift-JIS
};

// Compiles `source`. False on bad input, with `*error` naming the line and the fault.
bool compile(std::string_view source, Encoding encoding, Compiled* out, std::string* error);
// The binary layout of a compiled resource.
std::string serialize(const Compiled& compiled);
// A C header with one "#define <prefix><name> <number>" per label.
std::string labelHeader(const Compiled& compiled, std::string_view prefix);

}  // namespace textres
