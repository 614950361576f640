#include "files/string_stream.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "base/os/os.h"
#include "files/file_obj.h"

namespace {

constexpr char kDefaultSpaces[] = " ";
constexpr char kDefaultSeparators[] = " !\"#$%&'()*+,-./:;<=>?@[\\]^{|}~";
constexpr size_t kTableSize = 256;
constexpr int32_t kMinimumBlock = 256;

// Space table: codes 0-31 and each byte of `codes`.
constexpr void FillSpaceTable(uint8_t* spaces, const char* codes) {
  for (size_t code = 0; code < kTableSize; ++code) spaces[code] = code < 32 ? 255 : 0;
  for (const char* at = codes ? codes : ""; *at; ++at) spaces[static_cast<uint8_t>(*at)] = 255;
}

// Separator table: the spaces and each byte of `codes`.
constexpr void FillSeparatorTable(uint8_t* separators, const uint8_t* spaces, const char* codes) {
  for (size_t code = 0; code < kTableSize; ++code) separators[code] = spaces[code];
  for (const char* at = codes ? codes : ""; *at; ++at) separators[static_cast<uint8_t>(*at)] = 255;
}

// The default tables, made at compile time: every token a scan takes is a new stream that
// starts with them.
struct Tables {
  uint8_t spaces[kTableSize];
  uint8_t separators[kTableSize];
};

constexpr Tables MakeDefaultTables() {
  Tables tables{};
  FillSpaceTable(tables.spaces, kDefaultSpaces);
  FillSeparatorTable(tables.separators, tables.spaces, kDefaultSeparators);
  return tables;
}

constexpr Tables kDefaultTables = MakeDefaultTables();

// Code and width of the character at `text[at]`; the NUL behind the text serves as the trail
// of a lead byte in the last position.
uint32_t CodeAt(const char* text, int32_t at, int32_t* width) {
  uint8_t lead = static_cast<uint8_t>(text[at]);
  if (!IsLeadByte(lead)) {
    *width = 1;
    return lead;
  }
  *width = 2;
  return static_cast<uint32_t>(lead) << 8 | static_cast<uint8_t>(text[at + 1]);
}

// Full-width forms: digits 0x824F-0x8258, capitals 0x8260-0x8279, small letters 0x8281-0x829A.
constexpr uint32_t kWideZero = 0x824F;
constexpr uint32_t kWideCapitalA = 0x8260;
constexpr uint32_t kWideSmallA = 0x8281;
constexpr uint32_t kWidePlus = 0x817B;
constexpr uint32_t kWideMinus = 0x817C;

// The letter `capital` in either case and either width.
bool IsLetter(uint32_t code, char capital) {
  uint32_t offset = static_cast<uint32_t>(capital - 'A');
  return code == static_cast<uint32_t>(capital) || code == static_cast<uint32_t>(capital - 'A' + 'a') ||
         code == kWideCapitalA + offset || code == kWideSmallA + offset;
}

bool IsDecimalDigit(uint32_t code) {
  return (code >= '0' && code <= '9') || (code >= kWideZero && code <= kWideZero + 9);
}

// 0-15 for a decimal digit or a letter A-F, in either case and width; 16 for anything else.
uint32_t DigitValue(uint32_t code) {
  if (code >= '0' && code <= '9') return code - '0';
  if (code >= kWideZero && code <= kWideZero + 9) return code - kWideZero;
  for (char letter = 'A'; letter <= 'F'; ++letter) {
    if (IsLetter(code, letter)) return static_cast<uint32_t>(letter - 'A' + 10);
  }
  return 16;
}

}  // namespace

StringStream::StringStream(char* text, int32_t length) : text_(text), length_(length) {
  std::memcpy(spaces_, kDefaultTables.spaces, sizeof spaces_);
  std::memcpy(separators_, kDefaultTables.separators, sizeof separators_);
}

StringStream::~StringStream() { os::heapFree(text_); }

char* StringStream::AllocateText(int32_t length) {
  size_t bytes = std::max<size_t>(static_cast<size_t>(length) + 1, kMinimumBlock);
  return static_cast<char*>(os::heapAlloc(bytes, true));
}

StringStream* StringStream::Create(const char* text, int32_t length) {
  if (length < 0) return nullptr;
  char* block = AllocateText(length);
  if (!block) return nullptr;
  if (length > 0) std::memcpy(block, text, static_cast<size_t>(length));
  return Adopt(block, length);
}

StringStream* StringStream::Adopt(char* text, int32_t length) {
  StringStream* stream = new (std::nothrow) StringStream(text, length);
  if (!stream) os::heapFree(text);
  return stream;
}

StringStream* StringStream::LoadText(KFileObj* file) {
  uint32_t length = file->GetLength();
  if (length > static_cast<uint32_t>(INT32_MAX - 1)) return nullptr;
  char* block = static_cast<char*>(os::heapAlloc(length + 1, true));
  if (!block) return nullptr;
  file->Read(block, length);
  return Adopt(block, static_cast<int32_t>(length));
}

StringStream* StringStream::Slice(int32_t from, int32_t to) const {
  to = std::min(to, length_);
  if (from < 0 || to <= from) return Create("", 0);
  return Create(text_ + from, to - from);
}

uint32_t StringStream::GetChar() {
  lastIndex_ = index_;
  if (AtEnd()) return 0;
  int32_t width;
  uint32_t code = CodeAt(text_, index_, &width);
  index_ += width;
  return code;
}

uint32_t StringStream::GetCurrentChar() const {
  if (AtEnd()) return 0;
  int32_t width;
  return CodeAt(text_, index_, &width);
}

bool StringStream::DisableSpace() {
  int32_t start = index_;
  lastIndex_ = index_;
  for (;;) {
    if (AtEnd()) return true;
    if (!IsSpaceCode(GetChar())) {
      index_ = lastIndex_;
      lastIndex_ = start;
      return false;
    }
  }
}

StringStream* StringStream::GetString(bool move) {
  if (DisableSpace()) return Create("", 0);
  int32_t start = index_;
  // The separator table always marks NUL, which is what the reads give at the end.
  while (!IsSeparatorCode(GetChar())) {
  }
  StringStream* token = Slice(start, lastIndex_);
  index_ = move ? lastIndex_ : start;
  lastIndex_ = start;
  return token;
}

void StringStream::SetSpaceCode(const char* codes) { FillSpaceTable(spaces_, codes); }

void StringStream::SetSeparateCode(const char* codes) { FillSeparatorTable(separators_, spaces_, codes); }

StringStream* StringStream::GetLine(bool move) {
  int32_t start = index_;
  uint32_t code;
  do {
    code = GetChar();
  } while (code != '\n' && code != '\r' && code != 0);
  StringStream* line = Slice(start, lastIndex_);
  if (code != 0) {
    uint32_t next = GetCurrentChar();
    if (next == '\n' || next == '\r') GetChar();
  }
  if (!move) index_ = start;
  lastIndex_ = start;
  return line;
}

StringStream* StringStream::GetEnclosedString(uint32_t open, uint32_t close) {
  int32_t start = index_;
  int32_t depth = 1;
  for (uint32_t code = GetChar(); code != 0; code = GetChar()) {
    if (code == close) {
      if (--depth == 0) break;
    } else if (code == open) {
      ++depth;
    }
  }
  return Slice(start, lastIndex_);
}

float StringStream::GetValue() {
  if (DisableSpace()) return 0.0f;
  int32_t start = index_;
  uint32_t code = GetCurrentChar();
  if (code != '+' && code != '-' && code != '.' && !(code >= '0' && code <= '9')) return 0.0f;
  double sign = 1.0;
  if (code == '+' || code == '-') {
    GetChar();
    if (code == '-') sign = -1.0;
    DisableSpace();
  }
  double value = 0.0;
  for (code = GetCurrentChar(); code >= '0' && code <= '9'; code = GetCurrentChar()) {
    value = value * 10.0 + (code - '0');
    GetChar();
  }
  if (code == '.') {
    GetChar();
    double weight = 1.0;
    for (code = GetCurrentChar(); code >= '0' && code <= '9'; code = GetCurrentChar()) {
      weight *= 0.1;
      value += (code - '0') * weight;
      GetChar();
    }
  }
  lastIndex_ = start;
  return static_cast<float>(sign * value);
}

uint32_t StringStream::ReadSignedStart(bool* negative) {
  DisableSpace();
  uint32_t code = GetChar();
  *negative = code == '-' || code == kWideMinus;
  if (*negative || code == '+' || code == kWidePlus) {
    DisableSpace();
    code = GetChar();
  }
  return code;
}

uint32_t StringStream::IsNumberString() {
  int32_t index = index_;
  int32_t lastIndex = lastIndex_;
  bool negative;
  uint32_t radix = 0;
  uint32_t last = ReadSignedStart(&negative);
  if (IsDecimalDigit(last)) {
    uint32_t code = GetChar();
    for (; DigitValue(code) < 16; code = GetChar()) last = code;
    if (IsLetter(code, 'H')) radix = 16;
    else if (IsLetter(code, 'O')) radix = 8;
    else if (IsLetter(last, 'B')) radix = 2;
    else radix = 10;
  }
  index_ = index;
  lastIndex_ = lastIndex;
  return radix;
}

int32_t StringStream::GetInteger() {
  uint32_t radix = IsNumberString();
  if (radix == 0) return 0;
  DisableSpace();
  int32_t start = index_;
  bool negative;
  uint32_t value = DigitValue(ReadSignedStart(&negative));
  uint32_t code = GetChar();
  for (; DigitValue(code) < radix; code = GetChar()) value = value * radix + DigitValue(code);
  bool suffix = IsLetter(code, 'B') || IsLetter(code, 'O') || IsLetter(code, 'T') || IsLetter(code, 'H');
  if (!suffix) index_ = lastIndex_;
  lastIndex_ = start;
  return static_cast<int32_t>(negative ? 0u - value : value);
}
