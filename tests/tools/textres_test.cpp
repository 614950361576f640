#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "files/file_obj.h"
#include "files/text_resource.h"
#include "tests/temp_dir.h"
#include "tools/textres/text_compiler.h"

namespace {

textres::Compiled compileOk(const std::string& source, textres::Encoding encoding = textres::Encoding::Auto) {
  textres::Compiled compiled;
  std::string error;
  EXPECT_TRUE(textres::compile(source, encoding, &compiled, &error)) << error;
  return compiled;
}

std::string compileError(const std::string& source, textres::Encoding encoding = textres::Encoding::Auto) {
  textres::Compiled compiled;
  std::string error;
  EXPECT_FALSE(textres::compile(source, encoding, &compiled, &error)) << source;
  return error;
}

// Writes the compiled resource and reads it back through the engine's reader.
std::unique_ptr<TextResource> roundTrip(const textres::Compiled& compiled) {
  TempDir dir;
  std::string path = dir.write("t.res", textres::serialize(compiled));
  KRawFile file;
  EXPECT_EQ(file.Open(path.c_str(), FILE_READ), 0u);
  return std::unique_ptr<TextResource>(TextResource::ReadText(&file));
}

std::string lineAt(TextResource& resource, int32_t label) {
  resource.MoveToLabel(label);
  std::unique_ptr<StringStream> line(resource.GetLine(true));
  return std::string(line->GetBuffer(), line->GetLength());
}

TEST(TextResCompilerTest, RoundTripThroughTheReader) {
  textres::Compiled compiled = compileOk(
      "@# scenario of day one\n"
      "@start\n"
      "\xE3\x81\x8A\xE3\x81\xAF\xE3\x82\x88\xE3\x81\x86\r\n"  // おはよう, CR LF kept
      "second line\n"
      "@choice_2\n"
      "@@mail\n"
      "@end  \n");
  ASSERT_EQ(compiled.labels.size(), 3u);
  EXPECT_EQ(compiled.text, "\x82\xA8\x82\xCD\x82\xE6\x82\xA4\r\nsecond line\n@mail\n");
  EXPECT_EQ(compiled.labels[0].sourceLine, 2);
  EXPECT_EQ(compiled.labels[1].sourceLine, 5);

  std::unique_ptr<TextResource> resource = roundTrip(compiled);
  ASSERT_NE(resource, nullptr);
  EXPECT_EQ(resource->GetLabelCount(), 3);
  EXPECT_EQ(std::string(resource->GetBuffer(), resource->GetLength()), compiled.text);
  EXPECT_EQ(lineAt(*resource, 0), "\x82\xA8\x82\xCD\x82\xE6\x82\xA4");
  EXPECT_EQ(lineAt(*resource, 1), "@mail");
  EXPECT_EQ(resource->GetLabelIndex(2), resource->GetLength()) << "a label at the end points at the end";
  EXPECT_EQ(resource->GetLabelIndex(3), -1);
}

TEST(TextResCompilerTest, LayoutCarriesTheSourceLineAsSecondWord) {
  std::string bytes = textres::serialize(compileOk("x\n@a\nyz"));
  EXPECT_EQ(bytes, std::string("\x01\0\0\0" "\x02\0\0\0" "\x02\0\0\0" "\x04\0\0\0" "x\nyz", 20));
  EXPECT_EQ(textres::serialize(compileOk("")), std::string(8, '\0'));
}

TEST(TextResCompilerTest, ShiftJisSourcesPassUnchanged) {
  // 表 is 0x95 0x5C: a trail byte that is a backslash, and '@' (0x40) as a trail byte too.
  std::string source = "@a\n\x95\x5C\x82\x40\n\xB1\n";
  textres::Compiled compiled = compileOk(source);
  EXPECT_EQ(compiled.text, "\x95\x5C\x82\x40\n\xB1\n");
  EXPECT_EQ(compileOk(source, textres::Encoding::ShiftJis).text, compiled.text);
  EXPECT_NE(compileError("\x82\n", textres::Encoding::ShiftJis).find("line 1"), std::string::npos);
  EXPECT_NE(compileError("ok\n\x82", textres::Encoding::ShiftJis).find("line 2"), std::string::npos);
  EXPECT_NE(compileError("\xFD", textres::Encoding::ShiftJis).find("Shift-JIS"), std::string::npos);
}

TEST(TextResCompilerTest, Utf8SourcesAreCheckedAndConverted) {
  EXPECT_EQ(compileOk("\xEF\xBB\xBF" "a\n").text, "a\n") << "the byte order mark is dropped";
  EXPECT_EQ(compileOk("\xEF\xBC\xA1", textres::Encoding::Utf8).text, "\x82\x60");  // Ａ
  EXPECT_NE(compileError("a\nb\n\xF0\x9F\x98\x80\n").find("line 3: a character has no Shift-JIS form"),
            std::string::npos);
  EXPECT_NE(compileError("a\n\x82\xA0", textres::Encoding::Utf8).find("line 2: broken UTF-8"), std::string::npos);
}

TEST(TextResCompilerTest, BadMarkersAreRefusedWithTheirLine) {
  for (const char* bad : {"@\n", "@1abc\n", "@a b\n", "@a-b\n", "@ a\n", "@\xE3\x81\x82\n"}) {
    EXPECT_NE(compileError(std::string("text\n") + bad).find("line 2: a marker is @name"), std::string::npos) << bad;
  }
  EXPECT_NE(compileError("@a\nx\n@b\n@a\n").find("line 4: label \"a\" is already on line 1"), std::string::npos);
}

TEST(TextResCompilerTest, HeaderNumbersTheLabels) {
  std::string header = textres::labelHeader(compileOk("@intro\n@_second\n"), "SCENE_");
  EXPECT_NE(header.find("#define SCENE_intro 0\n#define SCENE__second 1\n"), std::string::npos);
}

}  // namespace
