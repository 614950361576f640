#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "base/os/os.h"

namespace {

TEST(MessageBoxTest, AutomaticAnswerTakesTheNamedButtonWhenTheBoxHasIt) {
  EXPECT_EQ(os::automaticAnswer(MB_ABORTRETRYIGNORE, "retry"), IDRETRY);
  EXPECT_EQ(os::automaticAnswer(MB_ABORTRETRYIGNORE, "IGNORE"), IDIGNORE);
  EXPECT_EQ(os::automaticAnswer(MB_YESNO | MB_ICONQUESTION, "no"), IDNO);
  EXPECT_EQ(os::automaticAnswer(MB_RETRYCANCEL, "cancel"), IDCANCEL);
  EXPECT_EQ(os::automaticAnswer(MB_OK, "ok"), IDOK);
}

TEST(MessageBoxTest, OtherwiseTheDefaultButtonAnswers) {
  EXPECT_EQ(os::automaticAnswer(MB_YESNO, "retry"), IDYES);
  EXPECT_EQ(os::automaticAnswer(MB_YESNO | MB_DEFBUTTON2, "ok"), IDNO);
  EXPECT_EQ(os::automaticAnswer(MB_YESNOCANCEL | MB_DEFBUTTON3, nullptr), IDCANCEL);
  EXPECT_EQ(os::automaticAnswer(MB_OK, "cancel"), IDOK);
  EXPECT_EQ(os::automaticAnswer(MB_OKCANCEL | MB_DEFBUTTON4, "bogus"), IDOK) << "a default beyond the buttons";
}

TEST(MessageBoxTest, AutoAnsweredBoxShowsNothingAndReturnsTheButton) {
#ifdef _WIN32
  _putenv_s("RUNA1_AUTO_ANSWER", "abort");
#else
  setenv("RUNA1_AUTO_ANSWER", "abort", 1);
#endif
  EXPECT_EQ(os::messageBox("text", "caption", MB_ABORTRETRYIGNORE), IDABORT);
  EXPECT_EQ(os::messageBox("text", "caption", MB_OKCANCEL | MB_DEFBUTTON2), IDCANCEL);
}

TEST(TextConversionTest, ShiftJisAndUtf8RoundTrip) {
  const std::string shiftJis = "\x93\xfa\x96\x7b\x8c\xea abc \x83\x5c";  // 日本語 abc ソ
  const std::string utf8 = "\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e abc \xe3\x82\xbd";
  EXPECT_EQ(os::shiftJisToUtf8(shiftJis), utf8);
  std::string back;
  ASSERT_TRUE(os::utf8ToShiftJis(utf8, &back));
  EXPECT_EQ(back, shiftJis);
  EXPECT_TRUE(os::utf8ToShiftJis("", &back));
  EXPECT_EQ(back, "");
}

TEST(TextConversionTest, Utf8WithoutAShiftJisFormIsRefused) {
  std::string out;
  EXPECT_FALSE(os::utf8ToShiftJis("\xf0\x9f\x98\x80", &out)) << "an emoji has no Shift-JIS form";
  EXPECT_FALSE(os::utf8ToShiftJis("\xc3\x28", &out)) << "invalid UTF-8";
}

}  // namespace
