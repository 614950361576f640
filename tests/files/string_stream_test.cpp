#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "files/string_stream.h"

namespace {

using Stream = std::unique_ptr<StringStream>;

Stream make(const std::string& text) {
  return Stream(StringStream::Create(text.data(), static_cast<int32_t>(text.size())));
}

std::string textOf(const Stream& stream) {
  EXPECT_NE(stream, nullptr);
  return stream ? std::string(stream->GetBuffer(), stream->GetLength()) : std::string();
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

}  // namespace
