// A cursor over one Shift-JIS text in memory. Characters are one or two bytes wide: a byte of
// 0x80-0x9F or 0xE0-0xFF leads a two-byte character whose code is lead * 256 + trail. Every
// operation moves in whole characters. Tokens end at separators and skipping passes over spaces;
// both are tables of 256 entries that apply to single-byte codes only.
//
// The text always has a NUL behind its last byte, so a lead byte in the last position reads that
// NUL as its trail and nothing reads outside the block. The index may be set anywhere; an index
// outside the text (negative or at or past its length) reads as the end.
#pragma once

#include <cstdint>

class KFileObj;

// Whether `byte` leads a two-byte character.
inline bool IsLeadByte(uint8_t byte) { return (byte >= 0x80 && byte <= 0x9F) || byte >= 0xE0; }

class StringStream {
 public:
  // A stream over a copy of `length` bytes of `text`, NULs included; null when `length` is
  // negative or the memory can't be had. The streams that the getters return are made so.
  static StringStream* Create(const char* text, int32_t length);
  // A stream over GetLength() bytes of `file`, read from its current position (what a short
  // read leaves stays NUL); null when the memory can't be had.
  static StringStream* LoadText(KFileObj* file);
  virtual ~StringStream();
  StringStream(const StringStream&) = delete;
  StringStream& operator=(const StringStream&) = delete;

  const char* GetBuffer() const { return text_; }
  int32_t GetLength() const { return length_; }
  int32_t GetIndex() const { return index_; }
  int32_t GetLastIndex() const { return lastIndex_; }
  void SetIndex(int32_t index) { index_ = index; }
  bool IsOverflowIndex() const { return length_ <= index_; }

  // The code under the cursor, and moves past it; 0 at the end. The last index becomes the
  // position the read began at.
  uint32_t GetChar();
  // The code under the cursor, without moving; 0 at the end.
  uint32_t GetCurrentChar() const;
  // Skips space codes. False with the cursor on the first other character; true when the text
  // ended first.
  bool DisableSpace();
  // The next token after any spaces, up to (not including) the next separator. With `move` the
  // cursor stands on that separator, otherwise it returns to the token's start. Empty when the
  // text ended; null only when memory fails.
  StringStream* GetString(bool move);
  // The rest of the line from the cursor, without skipping, up to code 10, 13 or 0. One line end
  // is CR, LF, or any pair of them: CR LF, LF CR, LF LF, CR CR. With `move` the cursor stands
  // behind the line end, otherwise it stays.
  StringStream* GetLine(bool move);
  // With the cursor behind an opening code: the text up to its matching `close`, nesting on
  // `open` (`close` wins when both are equal). The cursor stands behind the close; at the end
  // of the text the result is all that was left.
  StringStream* GetEnclosedString(uint32_t open, uint32_t close);

  // A plain decimal number in ASCII: optional sign (blanks may follow it), digits, '.' and
  // digits; no exponent. 0 when no number stands next, with the cursor on what does.
  float GetValue();
  // 0, or the radix (16, 8, 2 or 10) of the integer that stands next, by its suffix: H, O, or a
  // last digit B, in ASCII or full width. The cursor and the last index stay.
  uint32_t IsNumberString();
  // The integer that stands next, in the radix IsNumberString finds, wrapping in 32 bits; its
  // suffix (B, O, T, H in either case and width) is consumed. 0 when none stands next.
  int32_t GetInteger();

  // Rebuilds the space table: codes 0-31 and each byte of `codes`.
  void SetSpaceCode(const char* codes);
  // Rebuilds the separator table: a copy of the space table now, plus each byte of `codes`. A
  // later change of the spaces reaches the separators only through this call.
  void SetSeparateCode(const char* codes);
  // The separator table's entry, 0 for a two-byte code.
  uint8_t IsSeparatorCode(uint32_t code) const { return code < 256 ? separators_[code] : 0; }
  uint8_t IsSeparator() const { return IsSeparatorCode(GetCurrentChar()); }

 protected:
  // Takes `text`, a block of at least length + 1 bytes with a NUL at `length`.
  StringStream(char* text, int32_t length);
  // A zero-filled heap block for a text of `length` bytes and its NUL, at least 256 bytes;
  // null when memory fails.
  static char* AllocateText(int32_t length);
  // A new stream over the bytes from `from` up to `to`, cut to the text; empty when that is
  // nothing.
  StringStream* Slice(int32_t from, int32_t to) const;

 private:
  // A new stream that owns `text`; frees it and gives null when memory fails.
  static StringStream* Adopt(char* text, int32_t length);
  bool AtEnd() const { return static_cast<uint32_t>(index_) >= static_cast<uint32_t>(length_); }
  bool IsSpaceCode(uint32_t code) const { return code < 256 && spaces_[code]; }
  // Skips spaces and reads a character; past a sign (either width) skips spaces again and
  // reads the next. Gives that character and whether the sign was a minus.
  uint32_t ReadSignedStart(bool* negative);

  char* text_;
  int32_t index_ = 0;
  int32_t lastIndex_ = 0;
  int32_t length_;
  uint8_t spaces_[256];
  uint8_t separators_[256];
};
