// A cursor over one Shift-JIS text in memory, with the default space and separator tables.
// Characters are one or two bytes wide: a byte of 0x80-0x9F or 0xE0-0xFF leads a two-byte
// character whose code is lead * 256 + trail. This holds what the command line of the host
// needs: characters, space skipping, tokens and enclosed text.
#pragma once

#include <cstdint>
#include <string>

class StringStream {
 public:
  // A stream over a copy of `length` bytes of `text`.
  static StringStream* Create(const char* text, int32_t length);
  virtual ~StringStream() = default;
  StringStream(const StringStream&) = delete;
  StringStream& operator=(const StringStream&) = delete;

  const char* GetBuffer() const { return text_.c_str(); }
  int32_t GetLength() const { return static_cast<int32_t>(text_.size()); }
  int32_t GetIndex() const { return index_; }
  int32_t GetLastIndex() const { return lastIndex_; }
  void SetIndex(int32_t index) { index_ = index; }
  bool IsOverflowIndex() const { return GetLength() <= index_; }

  // The code under the cursor, and moves past it; 0 at the end.
  uint32_t GetChar();
  uint32_t GetCurrentChar() const;
  // Skips space codes: false on the first other character, true when the text ended.
  bool DisableSpace();
  // The next token after any spaces, up to the next separator. With `move` the cursor stands
  // on the separator, otherwise back at the token's start.
  StringStream* GetString(bool move);
  // With the cursor behind an opening code: the text up to the matching `close`, nesting on
  // `open` (`close` is tested first); the cursor ends behind the closing code.
  StringStream* GetEnclosedString(uint32_t open, uint32_t close);
  uint8_t IsSeparatorCode(uint32_t code) const;

 private:
  explicit StringStream(std::string text) : text_(std::move(text)) {}
  bool AtEnd() const { return index_ < 0 || index_ >= GetLength(); }
  StringStream* Slice(int32_t from, int32_t to) const;

  std::string text_;
  int32_t index_ = 0;
  int32_t lastIndex_ = 0;
};
