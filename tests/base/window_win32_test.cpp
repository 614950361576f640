// The USER32 window system on any system code page: the frame's logic and the module's class
// procedure get characters in Shift-JIS, as a window of code page 932 does, and paths that
// Shift-JIS cannot hold come back refused, never changed.
#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <utility>
#include <vector>

#include "base/os/os.h"
#include "base/os/window.h"
#include "tests/temp_dir.h"

namespace {

using Heard = std::vector<std::pair<uint32_t, uintptr_t>>;

constexpr wchar_t kSo = L'\u30BD';     // ソ: 0x83 0x5C
constexpr wchar_t kOmote = L'\u8868';  // 表: 0x95 0x5C

bool isCharacter(uint32_t message) { return message == WM_CHAR || message == WM_IME_CHAR; }

// The frame's logic: notes the characters, and hands every message to the base handling.
class RecordingClient : public os::FrameClient {
 public:
  Heard heard;
  intptr_t frameMessage(HWND frame, uint32_t message, uintptr_t wParam, intptr_t lParam) override {
    if (isCharacter(message)) heard.emplace_back(message, wParam);
    return os::windowSystem().defaultMessage(frame, message, wParam, lParam);
  }
};

Heard classHeard;
LRESULT CALLBACK classProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (isCharacter(message)) classHeard.emplace_back(message, wParam);
  return DefWindowProcA(window, message, wParam, lParam);
}

class WindowCharactersTest : public ::testing::Test {
 protected:
  void TearDown() override {
    if (frame_) os::windowSystem().destroyFrame(frame_);
  }
  HWND Create(const char* className) {
    frame_ = os::windowSystem().createFrame(&client_, className, "\x95\x5C", WS_OVERLAPPEDWINDOW, 0,
                                            RECT{0, 0, 200, 100});
    return frame_;
  }
  void Pump() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
  }

  RecordingClient client_;
  HWND frame_ = nullptr;
};

TEST_F(WindowCharactersTest, TheModulesClassProcedureAndTheLogicGetShiftJisBytes) {
  WNDCLASSA moduleClass{};
  moduleClass.lpfnWndProc = classProcedure;
  moduleClass.lpszClassName = "CharacterTestClass";
  ASSERT_TRUE(os::windowSystem().registerClass(moduleClass));
  HWND frame = Create("CharacterTestClass");
  ASSERT_NE(frame, nullptr);
  classHeard.clear();

  SendMessageW(frame, WM_CHAR, kOmote, 1);
  SendMessageW(frame, WM_CHAR, L'a', 1);
  SendMessageW(frame, WM_IME_CHAR, kSo, 1);
  const Heard expected = {{WM_CHAR, 0x95}, {WM_CHAR, 0x5C}, {WM_CHAR, 'a'}, {WM_IME_CHAR, 0x835C}};
  EXPECT_EQ(client_.heard, expected) << "a double-byte WM_CHAR comes as its two bytes, lead first";
  EXPECT_EQ(classHeard, expected) << "not through the system code page";
}

TEST_F(WindowCharactersTest, TheDefaultHandlingOfAnImeCharacterBringsItsTwoBytes) {
  HWND frame = Create(nullptr);
  ASSERT_NE(frame, nullptr);
  SendMessageW(frame, WM_IME_CHAR, kSo, 1);
  Pump();
  EXPECT_EQ(client_.heard, (Heard{{WM_IME_CHAR, 0x835C}, {WM_CHAR, 0x83}, {WM_CHAR, 0x5C}}));
}

TEST(SystemTextTest, PathsThatShiftJisCannotHoldAreRefusedNeverChanged) {
  TempDir work;
  std::filesystem::path accented = work.path() / L"caf\u00E9";
  std::filesystem::create_directory(accented);
  std::filesystem::path old = std::filesystem::current_path();
  std::filesystem::current_path(accented);
  os::SystemText directory = os::currentDirectory(0x3FF);
  char full[512];
  uint32_t length = os::fullPathName("game.zpe", sizeof full, full, nullptr);
  std::filesystem::current_path(work.path());
  os::SystemText plain = os::currentDirectory(0x3FF);
  std::filesystem::current_path(old);

  EXPECT_FALSE(directory.complete);
  EXPECT_NE(directory.text.find("caf<U+00E9>"), std::string::npos) << directory.text;
  EXPECT_EQ(length, 0u) << "no full path rather than a changed one";
  EXPECT_TRUE(plain.complete);
  EXPECT_EQ(plain.text.find('<'), std::string::npos);
}

}  // namespace
