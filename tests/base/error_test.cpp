#include <gtest/gtest.h>

#include <string>

#include "base/error.h"
#include "base/os/os.h"
#include "tests/test_support.h"

namespace {

TEST(ErrorRecordTest, ReportFillsTheRecordAndSuccessClearsIt) {
  VKERRORRECORD* record = vkGetErrorRecord();
  uint32_t attachCount = record->attachCount;
  EXPECT_EQ(vkSetError(VK_ERROR_FILE, 7, "unit", 42, "text"), VK_ERROR_FILE);
  EXPECT_EQ(record->code, VK_ERROR_FILE);
  EXPECT_EQ(record->extra, 7u);
  EXPECT_STREQ(record->source, "unit");
  EXPECT_EQ(record->line, 42);
  EXPECT_STREQ(record->message, "text");
  EXPECT_EQ(vkGetLastError(), VK_ERROR_FILE);

  EXPECT_EQ(vkSucceed(), 0u);
  EXPECT_EQ(record->code, 0u);
  EXPECT_EQ(record->extra, 0u);
  EXPECT_EQ(record->source, nullptr);
  EXPECT_EQ(record->line, -1);
  EXPECT_EQ(record->message, nullptr);
  EXPECT_EQ(record->attachCount, attachCount) << "the attach count is not part of the report";
  EXPECT_EQ(vkGetErrorRecord(), record);
}

TEST(ErrorRecordTest, FatalCodesRaiseTheErrorExceptionAfterRecording) {
  runa1_test::ErrorExceptionCounter raised;
  for (uint32_t code : {1u, 2u, 3u, 4u, 5u, 0x20000u, 0x30000u, 0x20001u, 0x2345u}) {
    uint32_t before = raised.count();
    EXPECT_EQ(vkSetError(code, 0, "unit", 1, "fatal"), code);
    EXPECT_EQ(raised.count(), before + 1) << "code " << std::hex << code;
    EXPECT_EQ(raised.lastCode(), code) << "the record is written before the raise";
  }
  for (uint32_t code : {0u, 0x10000u, 0x10001u, 0x10002u, 0x10003u, 0x10004u, 0x10005u, 0x1FFFFu}) {
    uint32_t before = raised.count();
    EXPECT_EQ(vkSetError(code, 0, "unit", 1, "handled"), code);
    EXPECT_EQ(raised.count(), before) << "code " << std::hex << code;
  }
  vkSucceed();
}

TEST(ErrorRecordTest, ModeWithoutTheRaiseFlagRecordsFatalCodesOnly) {
  runa1_test::ErrorExceptionCounter raised;
  vkSetErrorMode(0);
  EXPECT_EQ(vkSetError(VK_ERROR_ALLOCATION, 0, "unit", 1, "quiet"), VK_ERROR_ALLOCATION);
  EXPECT_EQ(vkGetLastError(), VK_ERROR_ALLOCATION);
  vkSetErrorMode(VK_MODE_RAISE_FATAL);
  EXPECT_EQ(raised.count(), 0u);
  EXPECT_EQ(vkGetLastError(), 0u) << "setting the mode ends well and clears the record";
}

TEST(ErrorRecordTest, ShowAllModeShowsEachErrorInABox) {
  runa1_test::AutoAnswer answer("ok");
  vkSetErrorMode(VK_MODE_SHOW_ALL);
  testing::internal::CaptureStderr();
  vkSetError(VK_ERROR_SOUND, 0x12, "WavSound", 321, "Failed open wave device.");
  vkSetError(VK_ERROR_MIDI, 0, nullptr, -1, nullptr);
  vkSucceed();
  std::string shown = testing::internal::GetCapturedStderr();
  vkSetErrorMode(VK_MODE_RAISE_FATAL);
  EXPECT_EQ(shown,
            "runa1: message box \"VomarKit Message\": VomarKit Error Information\n\n"
            "The error about sound operation\nFailed open wave device.\n\n"
            "Error-Code : 00010002H, Extra-Code : 00000012H\nSource-File : WavSound\nLine-Number : 321\n"
            "runa1: message box \"VomarKit Message\": VomarKit Error Information\n\n"
            "The error about MIDI operation\n\n\n"
            "Error-Code : 00010003H, Extra-Code : 00000000H\nSource-File : \nLine-Number : -1\n");
}

TEST(ErrorTextTest, EveryCodeHasItsTextAndUnknownCodesShareOne) {
  EXPECT_STREQ(vkGetErrorText(0), "The function was successfull.");
  EXPECT_STREQ(vkGetErrorText(1), "The allocation for memory failed.");
  EXPECT_STREQ(vkGetErrorText(2), "The invalid value was specified.");
  EXPECT_STREQ(vkGetErrorText(3), "The invalid address was specified.");
  EXPECT_STREQ(vkGetErrorText(4), "The specified function is not supported.");
  EXPECT_STREQ(vkGetErrorText(5), "The overflow of internal memory occured.");
  EXPECT_STREQ(vkGetErrorText(0x10000), "The other errors.");
  EXPECT_STREQ(vkGetErrorText(0x10001), "The error about file operation");
  EXPECT_STREQ(vkGetErrorText(0x10002), "The error about sound operation");
  EXPECT_STREQ(vkGetErrorText(0x10003), "The error about MIDI operation");
  EXPECT_STREQ(vkGetErrorText(0x10004), "The error about image operation");
  EXPECT_STREQ(vkGetErrorText(0x10005), "The error about movie operation");
  for (uint32_t unknown : {6u, 0x10006u, 0x20000u, 0x30002u, 0xFFFFFFFEu, 0xFFFFFFFFu})
    EXPECT_STREQ(vkGetErrorText(unknown), "The unknown error.") << std::hex << unknown;
}

TEST(ErrorTextTest, DrawingStatusTextsAreShiftJisAndClampAtTheLastRow) {
  const char* expected[] = {
      "関数が成功しました。",
      "デフォルトエラーです。",
      "メモリが不足しています。",
      "指定の機能はサポートされていません。",
      "無効なパラメータを指定しています。",
      "無効なアドレスを指定しています。",
      "無効なエラーコードです。",
  };
  for (uint32_t index = 0; index < 7; ++index)
    EXPECT_EQ(os::shiftJisToUtf8(vkGetDrawingErrorText(index)), expected[index]) << index;
  EXPECT_STREQ(vkGetDrawingErrorText(1000), vkGetDrawingErrorText(6));
  EXPECT_STREQ(vkGetDrawingErrorText(0xFFFFFFFF), vkGetDrawingErrorText(6));
}

TEST(MessageBoxTest, FormatsTheTextAndGivesTheAnswer) {
  runa1_test::AutoAnswer answer("no");
  testing::internal::CaptureStderr();
  int pressed = vkMessageBox("Writing the file (%s) failed. %d %04X", MB_YESNO | MB_SETFOREGROUND, "a.log", -3, 0xBEEF);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "runa1: message box \"VomarKit Message\": Writing the file (a.log) failed. -3 BEEF\n");
  EXPECT_EQ(pressed, IDNO);
}

TEST(MessageBoxTest, TextBeyondTheBufferTrapsAndIsCutAtTheBuffer) {
  runa1_test::AutoAnswer answer("ok");
  runa1_test::TrapCounter traps;
  const std::string fits(0x3FFF, 'a');
  testing::internal::CaptureStderr();
  vkMessageBox("%s", MB_OK, fits.c_str());
  std::string shown = testing::internal::GetCapturedStderr();
  EXPECT_EQ(traps.count(), 0u);
  EXPECT_EQ(shown.size(), std::string("runa1: message box \"VomarKit Message\": \n").size() + 0x3FFF);

  const std::string tooLong(0x4000, 'b');
  testing::internal::CaptureStderr();
  vkMessageBox("%sc", MB_OK, tooLong.c_str());
  shown = testing::internal::GetCapturedStderr();
  EXPECT_EQ(traps.count(), 1u);
  EXPECT_EQ(shown, "runa1: message box \"VomarKit Message\": " + tooLong.substr(0, 0x3FFF) + "\n");
}

}  // namespace
