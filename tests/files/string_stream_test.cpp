#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "files/string_stream.h"
#include "host/exports/file.h"
#include "host/exports/string_stream.h"
#include "tests/temp_dir.h"

namespace {

using Stream = std::unique_ptr<StringStream>;

Stream make(const std::string& text) {
  return Stream(StringStream::Create(text.data(), static_cast<int32_t>(text.size())));
}

std::string textOf(const Stream& stream) {
  EXPECT_NE(stream, nullptr);
  return stream ? std::string(stream->GetBuffer(), stream->GetLength()) : std::string();
}

// The full-width Shift-JIS form of ASCII digits, letters and signs; other bytes stay.
std::string wide(const std::string& ascii) {
  std::string out;
  for (char c : ascii) {
    uint32_t code = c >= '0' && c <= '9'   ? 0x824F + (c - '0')
                    : c >= 'A' && c <= 'Z' ? 0x8260 + (c - 'A')
                    : c >= 'a' && c <= 'z' ? 0x8281 + (c - 'a')
                    : c == '+'             ? 0x817B
                    : c == '-'             ? 0x817C
                                           : static_cast<uint8_t>(c);
    if (code > 0xFF) out += static_cast<char>(code >> 8);
    out += static_cast<char>(code & 0xFF);
  }
  return out;
}

TEST(StringStreamTest, CreateCopiesAllBytesBehindANul) {
  std::string text("ab\0cd", 5);
  Stream stream = make(text);
  ASSERT_NE(stream, nullptr);
  EXPECT_NE(stream->GetBuffer(), text.data());
  EXPECT_EQ(textOf(stream), text);
  EXPECT_EQ(stream->GetBuffer()[5], '\0');
  EXPECT_EQ(stream->GetIndex(), 0);
  EXPECT_EQ(stream->GetLastIndex(), 0);
  EXPECT_EQ(StringStream::Create("x", -1), nullptr);
  Stream empty(StringStream::Create(nullptr, 0));
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(empty->GetLength(), 0);
  EXPECT_EQ(empty->GetChar(), 0u);
}

TEST(StringStreamTest, DefaultTablesMarkControlCodesBlankAndPunctuation) {
  Stream stream = make("");
  for (uint32_t code = 0; code < 256; ++code) {
    bool separator = code <= 32 || (code < 128 && std::string("!\"#$%&'()*+,-./:;<=>?@[\\]^{|}~").find(
                                                      static_cast<char>(code)) != std::string::npos);
    EXPECT_EQ(stream->IsSeparatorCode(code) != 0, separator) << code;
  }
  EXPECT_EQ(stream->IsSeparatorCode('_'), 0u);
  EXPECT_EQ(stream->IsSeparatorCode('`'), 0u);
  EXPECT_EQ(stream->IsSeparatorCode(0x8140), 0u) << "a two-byte code is never a separator";
  EXPECT_EQ(stream->IsSeparatorCode(0x20 + 0x100), 0u);
}

TEST(StringStreamTest, SeparatorsFollowTheSpacesOnlyWhenRebuilt) {
  Stream stream = make("a;b");
  stream->SetSpaceCode(";");
  EXPECT_EQ(stream->IsSeparatorCode(';'), 255u) << "still the old table's entry";
  EXPECT_EQ(stream->IsSeparatorCode('!'), 255u);
  stream->SetSeparateCode("x");
  EXPECT_EQ(stream->IsSeparatorCode(';'), 255u) << "copied from the spaces";
  EXPECT_EQ(stream->IsSeparatorCode('x'), 255u);
  EXPECT_EQ(stream->IsSeparatorCode('!'), 0u);
  EXPECT_EQ(stream->IsSeparatorCode(' '), 0u) << "the blank is no longer a space";
  EXPECT_EQ(stream->IsSeparatorCode(31), 255u) << "codes 0-31 always stay spaces";

  // Now the blank is part of a token and the semicolon is skipped as a space.
  stream->SetIndex(1);
  EXPECT_EQ(textOf(Stream(stream->GetString(true))), "b");
}

TEST(StringStreamTest, GetCharReadsShiftJisPairs) {
  Stream stream = make("a\x82\xA0z\xE0\x40");
  EXPECT_EQ(stream->GetCurrentChar(), 'a');
  EXPECT_EQ(stream->GetIndex(), 0);
  EXPECT_EQ(stream->GetChar(), 'a');
  EXPECT_EQ(stream->GetChar(), 0x82A0u);
  EXPECT_EQ(stream->GetLastIndex(), 1);
  EXPECT_EQ(stream->GetIndex(), 3);
  EXPECT_EQ(stream->GetChar(), 'z');
  EXPECT_EQ(stream->GetChar(), 0xE040u);
  EXPECT_EQ(stream->GetChar(), 0u);
  EXPECT_EQ(stream->GetLastIndex(), 6);
  EXPECT_TRUE(stream->IsOverflowIndex());
}

TEST(StringStreamTest, LeadByteInTheLastPositionTakesTheNul) {
  Stream stream = make("a\x81");
  stream->GetChar();
  EXPECT_EQ(stream->GetCurrentChar(), 0x8100u);
  EXPECT_EQ(stream->GetChar(), 0x8100u);
  EXPECT_EQ(stream->GetIndex(), 3) << "two bytes, past the end";
  EXPECT_EQ(stream->GetChar(), 0u);
  stream->SetIndex(0);
  EXPECT_EQ(textOf(Stream(stream->GetString(true))), std::string("a\x81")) << "the token stops at the text";
}

TEST(StringStreamTest, IndexOutsideTheTextReadsAsTheEnd) {
  Stream stream = make("abc");
  stream->SetIndex(10);
  EXPECT_EQ(stream->GetChar(), 0u);
  EXPECT_EQ(stream->GetIndex(), 10);
  EXPECT_TRUE(stream->IsOverflowIndex());
  stream->SetIndex(3);
  EXPECT_TRUE(stream->IsOverflowIndex());
  stream->SetIndex(-1);
  EXPECT_FALSE(stream->IsOverflowIndex());
  EXPECT_EQ(stream->GetChar(), 0u);
  EXPECT_EQ(stream->GetCurrentChar(), 0u);
  EXPECT_TRUE(stream->DisableSpace());
  EXPECT_EQ(textOf(Stream(stream->GetString(true))), "");
}

TEST(StringStreamTest, DisableSpaceStopsOnTheFirstOtherCharacter) {
  Stream stream = make(" \t\r\n x  ");
  EXPECT_FALSE(stream->DisableSpace());
  EXPECT_EQ(stream->GetIndex(), 5);
  EXPECT_EQ(stream->GetLastIndex(), 0);
  EXPECT_FALSE(stream->DisableSpace()) << "nothing to skip";
  EXPECT_EQ(stream->GetIndex(), 5);
  stream->GetChar();
  EXPECT_TRUE(stream->DisableSpace());
  EXPECT_EQ(stream->GetIndex(), 8);

  Stream wide = make("\x81\x40x");  // the full-width blank is a two-byte code: no space
  EXPECT_FALSE(wide->DisableSpace());
  EXPECT_EQ(wide->GetIndex(), 0);
}

TEST(StringStreamTest, GetStringTakesTokensUpToTheNextSeparator) {
  Stream stream = make("  alpha,beta \x93\xFA\x96\x7B_x(y)");
  Stream token(stream->GetString(false));
  EXPECT_EQ(textOf(token), "alpha");
  EXPECT_EQ(stream->GetIndex(), 2) << "without move the cursor returns to the token";
  EXPECT_EQ(stream->GetLastIndex(), 2);
  token.reset(stream->GetString(true));
  EXPECT_EQ(textOf(token), "alpha");
  EXPECT_EQ(stream->GetIndex(), 7) << "on the separator, which is not consumed";
  EXPECT_EQ(stream->GetLastIndex(), 2);
  token.reset(stream->GetString(true));
  EXPECT_EQ(textOf(token), "") << "a separator at once gives an empty token";
  EXPECT_EQ(stream->GetIndex(), 7);
  stream->GetChar();
  EXPECT_EQ(textOf(Stream(stream->GetString(true))), "beta");
  EXPECT_EQ(textOf(Stream(stream->GetString(true))), "\x93\xFA\x96\x7B_x") << "two-byte codes never separate";
  EXPECT_EQ(stream->GetCurrentChar(), '(');
  stream->SetIndex(stream->GetLength());
  EXPECT_EQ(textOf(Stream(stream->GetString(true))), "");
}

TEST(StringStreamTest, GetStringStopsAtAnEmbeddedNul) {
  Stream stream = make(std::string("ab\0cd", 5));
  EXPECT_EQ(textOf(Stream(stream->GetString(true))), "ab");
  EXPECT_EQ(stream->GetIndex(), 2);
  EXPECT_EQ(textOf(Stream(stream->GetString(true))), "cd") << "NUL is a space code and is skipped";
}

TEST(StringStreamTest, TokenStreamsHaveDefaultTables) {
  Stream stream = make("a-b c");
  stream->SetSeparateCode("");
  Stream token(stream->GetString(true));
  EXPECT_EQ(textOf(token), "a-b");
  EXPECT_EQ(token->IsSeparatorCode('-'), 255u);
  EXPECT_EQ(textOf(Stream(token->GetString(true))), "a");
}

TEST(StringStreamTest, GetLineTakesEveryKindOfLineEndAsOne) {
  Stream stream = make("one\r\ntwo\n\rthree\n\nfour\r\rfive\r\n\r\nsix");
  for (const char* expected : {"one", "two", "three", "four", "five", "", "six", ""}) {
    int32_t start = stream->GetIndex();
    EXPECT_EQ(textOf(Stream(stream->GetLine(true))), expected);
    EXPECT_EQ(stream->GetLastIndex(), start);
  }
  EXPECT_EQ(stream->GetIndex(), stream->GetLength());

  Stream spaced = make("  a b\nc");
  EXPECT_EQ(textOf(Stream(spaced->GetLine(false))), "  a b") << "no skipping";
  EXPECT_EQ(spaced->GetIndex(), 0);
  EXPECT_EQ(textOf(Stream(spaced->GetLine(true))), "  a b");
  EXPECT_EQ(spaced->GetIndex(), 6);

  Stream nul = make(std::string("ab\0cd\n", 6));
  EXPECT_EQ(textOf(Stream(nul->GetLine(true))), "ab");
  EXPECT_EQ(nul->GetIndex(), 3) << "the NUL ends the line and is consumed, nothing more";

  Stream sjis = make("\x82\x0D\x82\x0Ax\r");  // trail bytes 0x0D and 0x0A end nothing
  EXPECT_EQ(textOf(Stream(sjis->GetLine(true))), "\x82\x0D\x82\x0Ax");
}

TEST(StringStreamTest, GetEnclosedStringMatchesNestedPairs) {
  Stream stream = make("a(b)c)d");
  EXPECT_EQ(textOf(Stream(stream->GetEnclosedString('(', ')'))), "a(b)c");
  EXPECT_EQ(stream->GetCurrentChar(), 'd');

  Stream quoted = make("say \"hi\" more\"");
  quoted->SetIndex(5);
  EXPECT_EQ(textOf(Stream(quoted->GetEnclosedString('"', '"'))), "hi") << "equal codes: the first one closes";
  EXPECT_EQ(quoted->GetIndex(), 8);

  Stream open = make("x{y{z}");
  EXPECT_EQ(textOf(Stream(open->GetEnclosedString('{', '}'))), "x{y{z}") << "unclosed: all that was left";
  EXPECT_TRUE(open->IsOverflowIndex());

  Stream wide = make("\x81\x75\x81\x76\x81\x76!");  // full-width brackets as two-byte codes
  EXPECT_EQ(textOf(Stream(wide->GetEnclosedString(0x8175, 0x8176))), "\x81\x75\x81\x76");
  EXPECT_EQ(wide->GetCurrentChar(), '!');
}

TEST(StringStreamTest, GetValueReadsPlainDecimals) {
  struct Case {
    const char* text;
    float value;
    int32_t indexAfter;
  };
  for (const Case& c : {Case{"  12.5x", 12.5f, 6}, Case{"-0.25", -0.25f, 5}, Case{"+ 3", 3.0f, 3},
                        Case{".5", 0.5f, 2}, Case{"7.", 7.0f, 2}, Case{"1e5", 1.0f, 1},
                        Case{"x1", 0.0f, 0}, Case{" ", 0.0f, 1}, Case{"\x82\x50", 0.0f, 0},
                        Case{"3.14159265", 3.14159265f, 10}}) {
    Stream stream = make(c.text);
    EXPECT_FLOAT_EQ(stream->GetValue(), c.value) << c.text;
    EXPECT_EQ(stream->GetIndex(), c.indexAfter) << c.text;
  }
  Stream stream = make("  -4");
  stream->GetValue();
  EXPECT_EQ(stream->GetLastIndex(), 2) << "the position before the sign";
  Stream tail = make("-x");
  EXPECT_EQ(tail->GetValue(), 0.0f);
  EXPECT_EQ(tail->GetCurrentChar(), 'x');
}

TEST(StringStreamTest, IntegersTakeTheirRadixFromTheSuffix) {
  struct Case {
    std::string text;
    uint32_t radix;
    int32_t value;
    size_t indexAfter;
  };
  const Case cases[] = {
      {"1FH", 16, 31, 3},      {"1fh", 16, 31, 3},  {"777O", 8, 511, 4},  {"777o ", 8, 511, 4},
      {"101B", 2, 5, 4},       {"101b", 2, 5, 4},   {"12", 10, 12, 2},    {"12T", 10, 12, 3},
      {"0x10", 10, 0, 1},      {"- 5", 10, -5, 3},  {"+7,", 10, 7, 2},    {"1AB", 2, 1, 1},
      {"0FFFFFFFFH", 16, -1, 10}, {"4294967297", 10, 1, 10}, {"x", 0, 0, 0}, {"-", 0, 0, 0},
      {"", 0, 0, 0},           {"  42 ", 10, 42, 4}, {"9B", 2, 9, 2},
  };
  for (const Case& c : cases) {
    Stream stream = make(c.text);
    EXPECT_EQ(stream->IsNumberString(), c.radix) << c.text;
    EXPECT_EQ(stream->GetIndex(), 0) << "IsNumberString leaves the cursor: " << c.text;
    EXPECT_EQ(stream->GetInteger(), c.value) << c.text;
    EXPECT_EQ(stream->GetIndex(), static_cast<int32_t>(c.indexAfter)) << c.text;

    Stream full = make(wide(c.text));
    EXPECT_EQ(full->IsNumberString(), c.radix) << "full width " << c.text;
    EXPECT_EQ(full->GetInteger(), c.value) << "full width " << c.text;
    EXPECT_EQ(full->GetIndex(), static_cast<int32_t>(wide(c.text.substr(0, c.indexAfter)).size()))
        << "full width " << c.text;
  }
  Stream mixed = make(wide("1") + "f" + wide("H") + "x");
  EXPECT_EQ(mixed->GetInteger(), 31);
  EXPECT_EQ(mixed->GetCurrentChar(), 'x');
  Stream signs = make("  -12");
  EXPECT_EQ(signs->GetInteger(), -12);
  EXPECT_EQ(signs->GetLastIndex(), 2) << "the position before the sign";
}

TEST(StringStreamTest, LoadTextReadsTheWholeFileFromItsPosition) {
  TempDir dir;
  std::string path = dir.write("t.txt", "key = value\r\nnext");
  KRawFile* file = File_OpenFile(path.c_str(), FILE_READ);
  ASSERT_NE(file, nullptr);
  Stream stream(StringStream::LoadText(file));
  EXPECT_EQ(textOf(stream), "key = value\r\nnext");
  EXPECT_EQ(textOf(Stream(stream->GetString(true))), "key");

  File_Seek(file, 4, 0);
  Stream rest(StringStream::LoadText(file));
  EXPECT_EQ(rest->GetLength(), 17) << "the file's length, whatever the position";
  EXPECT_EQ(std::string(rest->GetBuffer()), "= value\r\nnext");
  File_CloseFile(file);
}

TEST(StringStreamExportsTest, CreateMeasuresAZeroLengthAndValuesComeAsBits) {
  StringStream* stream = strmstr_Create("3.5 12H", 0);
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(strmstr_GetLength(stream), 7);
  EXPECT_EQ(strmstr_GetValue(stream), 0x40600000u);
  EXPECT_EQ(strmstr_IsNumberString(stream), 16u);
  EXPECT_EQ(strmstr_GetInteger(stream), 18);
  EXPECT_EQ(strmstr_IsOverflowIndex(stream), 1u);
  strmstr_SetIndex(stream, 3);
  EXPECT_EQ(strmstr_IsSeparator(stream), 255u);
  EXPECT_EQ(strmstr_DisableSpace(stream), 0u);
  EXPECT_EQ(strmstr_GetIndex(stream), 4);
  EXPECT_EQ(strmstr_Delete(stream), 0u);
  EXPECT_EQ(strmstr_Delete(nullptr), 0u);

  StringStream* cut = strmstr_Create("abcdef", 3);
  EXPECT_STREQ(strmstr_GetBuffer(cut), "abc");
  strmstr_Delete(cut);
}

}  // namespace
