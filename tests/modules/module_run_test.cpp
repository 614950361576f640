// Runs runa1.exe on the test modules, with every box answered automatically, and checks the
// exit code, what the modules reported and what the host wrote to its diagnostics.
#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "base/os/os.h"
#include "tests/modules/host_run.h"
#include "tests/temp_dir.h"

namespace {

TEST(ModuleRunTest, MainModuleRunsInitialiserStartingProcAndFinaliserInOrder) {
  TempDir work;
  TempDir base;
  std::filesystem::copy_file(modulePath("second_module"), base.file("second.zpe"));
  std::filesystem::copy_file(std::string(MODULE_SOURCE_DIR) + "/outside.txt", base.file("outside.txt"));
  Outcome outcome = runHost("/BASEDIR=" + inQuotes(base.path().string()) + " " + inQuotes(modulePath("host_module")), work);
  EXPECT_EQ(outcome.exitCode, 0u) << outcome.diagnostics;
  // The initialiser opened the log before BASEDIR changed the working directory; the
  // module found second.zpe and outside.txt in the base directory afterwards.
  EXPECT_EQ(work.read("run.log"),
            "ok init\n"
            "ok own-thread\n"
            "ok handle\n"
            "ok variable\n"
            "ok missing-procedure\n"
            "ok base-directory\n"
            "ok resource-length\n"
            "ok resource-embedded\n"
            "ok resource-external\n"
            "ok resource-missing\n"
            "ok load-missing-module\n"
            "ok load-second-module\n"
            "ok second-initialised\n"
            "ok call-stdcall\n"
            "ok call-cdecl\n"
            "ok call-thiscall\n"
            "ok call-wrong-convention\n"
            "ok call-no-arguments\n"
            "ok delete-second-module\n"
            "ok fini-on-main-thread\n")
      << outcome.diagnostics;
}

TEST(ModuleRunTest, LoadFailuresShowTheModulesMessageAndExitWithZero) {
  TempDir work;
  std::string bad = work.write("bad.zpe", "Vomar, not a module");
  const std::string caption = "runa1: message box \"Z.P.K.モジュールローダ\": ";
  struct Case {
    std::string argument;
    std::string message;
  } cases[] = {
      {inQuotes(bad), "ファイルのフォーマットが不正です。"},
      {"nothing-here.zpe", "nothing-here.zpeをオープンできません。"},
      {inQuotes(modulePath("missing_library_module")), "NOSUCH.dll をロードできませんでした。"},
      {inQuotes(modulePath("missing_import_module")), "_NoSuchExport@4 関数が見つかりません。"},
  };
  for (const Case& c : cases) {
    Outcome outcome = runHost(c.argument, work);
    EXPECT_EQ(outcome.exitCode, 0u) << c.argument;
    EXPECT_NE(outcome.diagnostics.find(caption + c.message + "\n"), std::string::npos)
        << c.argument << ": " << outcome.diagnostics;
  }
}

TEST(ModuleRunTest, WithoutAModuleTheChooserIsCancelled) {
  TempDir work;
  Outcome outcome = runHost("", work);
  EXPECT_EQ(outcome.exitCode, 0u);
  EXPECT_NE(outcome.diagnostics.find("file dialog \"Z.P.K.Module (*.zpe)|*.zpe|All Files (*.*)|*.*||\": cancel"),
            std::string::npos)
      << outcome.diagnostics;
}

TEST(ModuleRunTest, CommandLineMessagesGoToTheDebugOutputOnly) {
  TempDir work;
  std::filesystem::copy_file(modulePath("quick_module"), work.file("quick.zpe"));
  // A relative module name is found from the directory the process started in.
  Outcome outcome = runHost("-debug /Drt /WHAT quick.zpe other.zpe", work);
  EXPECT_EQ(outcome.exitCode, 0u);
  const std::string& text = outcome.diagnostics;
  size_t first = text.find("リリース版でデバッグ指定されています。\n");
  ASSERT_NE(first, std::string::npos) << text;
  EXPECT_NE(text.find("リリース版でデバッグ指定されています。\n", first + 1), std::string::npos) << text;
  EXPECT_NE(text.find("スイッチの指定が不正です。WHAT\n"), std::string::npos) << text;
  EXPECT_NE(text.find("Z.P.K.モジュールファイル名が２つ以上指定されています。\n"), std::string::npos) << text;
  EXPECT_EQ(text.find("message box"), std::string::npos) << "the first name is loaded: " << text;
}

// One run of window_module serves the checks of its window, its threads and its numbers.
class WindowModuleTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    work_ = new TempDir;
    outcome_ = new Outcome(runModuleInWork("window_module", *work_));
    log_ = new std::string(work_->read("run.log"));
  }
  static void TearDownTestSuite() {
    delete log_;
    delete outcome_;
    delete work_;
  }
  static void expectPassed(std::initializer_list<const char*> checks) {
    for (const char* check : checks)
      EXPECT_NE(log_->find(std::string("ok ") + check + "\n"), std::string::npos)
          << check << ": " << *log_ << outcome_->diagnostics;
  }

  static TempDir* work_;
  static Outcome* outcome_;
  static std::string* log_;
};

TempDir* WindowModuleTest::work_ = nullptr;
Outcome* WindowModuleTest::outcome_ = nullptr;
std::string* WindowModuleTest::log_ = nullptr;

TEST_F(WindowModuleTest, InitializeSystemGivesAFullScreenWindowAfterRefusingAMissingMode) {
  EXPECT_EQ(outcome_->exitCode, 0u) << outcome_->diagnostics;
  EXPECT_EQ(log_->find("FAIL"), std::string::npos) << *log_ << outcome_->diagnostics;
  expectPassed({"mode-missing", "system-no-mode", "no-window-yet", "mode-present", "system", "window-found",
                "window-visible", "window-title", "window-owned-by-main-thread", "window-rectangle", "full-screen-style",
                "client-size",
                "cursor-hidden", "system-again"});
}

TEST_F(WindowModuleTest, ServiceThreadsAreAttachedAndKnowTheirIdentity) {
  expectPassed({"thread-begun", "thread-ended", "thread-result", "thread-id", "thread-called-exports", "thread-null"});
}

TEST_F(WindowModuleTest, NumericExportsGiveTheirBitPatternsToModuleCode) {
  expectPassed({"float-add", "float-idiv-by-zero", "float-com-nan", "float-round-even", "float-int", "float-scale",
                "double-add", "double-scale"});
}

TEST(ModuleRunTest, InitializeMainWindowUsesTheStoredClassAndTheGivenRectangle) {
  TempDir work;
  Outcome outcome = runModuleInWork("main_window_module", work);
  EXPECT_EQ(outcome.exitCode, 0u) << outcome.diagnostics;
  EXPECT_EQ(work.read("run.log"),
            "ok default-class\n"
            "ok store-class\n"
            "ok main-window\n"
            "ok window-of-class\n"
            "ok window-rectangle\n"
            "ok window-visible\n"
            "ok window-refuses-close\n"
            "ok cursor-hidden\n")
      << outcome.diagnostics;
}

TEST(ModuleRunTest, HooksHearTheFrameInOrderAndTheStoppedLoopGivesTheModuleTheWindow) {
  TempDir work;
  Outcome outcome = runModuleInWork("frame_module", work);
  expectAllPassed(work.read("run.log"), outcome,
                  {"no-window-yet", "main-window", "hook-order", "answer-of-the-frame", "timer-reaches-hooks",
                   "close-answered", "close-seen-by-hooks", "close-keeps-window", "close-other-context",
                   "close-own-context", "message-procedure-removed", "change-refused-while-running",
                   "clip-refused-while-running", "restore-refused-while-running", "stopped-holds-messages",
                   "stopped-answers-sends", "stopped-sends-reach-no-hook", "answered-sends-stay-answered",
                   "clip-was-on", "clip-is-client-area", "clip-off", "change", "full-screen", "restore", "windowed",
                   "nested-stop-holds", "restart-delivers", "full-screen-again", "other-window-in-front",
                   "stopped-deactivation-waits", "restart-brings-deactivation", "background-gives-desktop-back"});
}

TEST(ModuleRunTest, TheWindowShowsTheCompositionOfTheScreens) {
  TempDir work;
  Outcome outcome = runModuleInWork("paint_module", work);
  expectAllPassed(work.read("run.log"), outcome,
                  {"main-window", "attach-back", "attach-front", "composed", "changed-image-repainted"});
}

TEST(ModuleRunTest, AnEmulatedModeShowsThePictureScaledOverTheWholeMonitor) {
  TempDir work;
  Outcome outcome = runModuleInWork("paint_module", work, {{"RUNA1_EMULATE_DISPLAY", "1"}});
  std::string log = work.read("run.log");
  expectAllPassed(log, outcome,
                  {"emulated-mode-present", "system", "covers-monitor", "borderless", "scaled-picture",
                   "scaled-change-repainted", "mouse-in-picture-pixels"});
  EXPECT_NE(log.find("factor 2\n"), std::string::npos) << "400x300 on 1024x768: " << log;
}

// The number behind `label` in `log`, or -1.
long valueAfter(const std::string& log, const std::string& label) {
  size_t at = log.find(label);
  return at == std::string::npos ? -1 : std::stol(log.substr(at + label.size()));
}

TEST(ModuleRunTest, ProfileValuesSurviveFromOneRunToTheNext) {
  TempDir work;
  Outcome first = runModuleInWork("profile_module", work);
  std::string firstLog = work.read("run.log");
  Outcome second = runModuleInWork("profile_module", work);
  std::string secondLog = work.read("run.log");
  EXPECT_EQ(first.exitCode, 0u);
  EXPECT_EQ(second.exitCode, 0u);
  long runs = valueAfter(firstLog, "runs ");
  ASSERT_GE(runs, 0) << firstLog;
  EXPECT_EQ(valueAfter(secondLog, "runs "), runs + 1) << secondLog;
  EXPECT_NE(secondLog.find("last run " + std::to_string(runs) + "\n"), std::string::npos) << secondLog;
  EXPECT_EQ(secondLog.find("FAIL"), std::string::npos) << secondLog;
}

}  // namespace
