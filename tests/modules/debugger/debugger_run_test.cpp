// The module debugger end to end: runa1d.exe runs the debuggee with DEBUG and its record, and
// the test works the debug frame as a user would, with commands and dialog buttons sent to its
// windows; the release host with the same switches shows no debugger. The module checks what
// it can see from inside (its entries, the history pane's pixels); the test checks the rest.
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <future>

#include "tests/modules/host_run.h"

namespace {

constexpr UINT kVariables = 0x8004;
constexpr UINT kStop = 0x8005;
constexpr UINT kForceEnd = 0x8007;
constexpr UINT kStopList = 0x8008;
constexpr UINT kRun = 0x800D;
// The stop list dialog's list box and Add button, and the name dialog's edit.
constexpr int kStopNames = 100;
constexpr int kAdd = 101;
constexpr int kNameEdit = 103;
constexpr char kWithoutDebugger[] = "the module runs without the debugger";

// Waits up to `milliseconds` for `found` to give a window.
HWND waitForWindow(const std::function<HWND()>& found, DWORD milliseconds = 30000) {
  for (DWORD waited = 0; waited < milliseconds; waited += 50) {
    if (HWND window = found()) return window;
    Sleep(50);
  }
  return nullptr;
}

HWND debugFrame() { return FindWindowW(L"Runa1DebugFrame", nullptr); }

// The MDI child of the debug frame whose title ends with `title`.
HWND debugChild(const std::wstring& title) {
  HWND client = FindWindowExW(debugFrame(), nullptr, L"MDICLIENT", nullptr);
  for (HWND child = FindWindowExW(client, nullptr, nullptr, nullptr); child;
       child = FindWindowExW(client, child, nullptr, nullptr)) {
    wchar_t text[512];
    std::wstring shown(text, size_t(GetWindowTextW(child, text, 512)));
    if (shown.size() >= title.size() && shown.compare(shown.size() - title.size(), title.size(), title) == 0) return child;
  }
  return nullptr;
}

// The debug frame, once its last pane stands.
HWND waitForDebugger() {
  return waitForWindow([] { return debugChild(L"メモリ") ? debugFrame() : nullptr; });
}

// The module runs once its window stands: its thread has met the debugger.
void waitForTheModulesWindow() {
  ASSERT_NE(waitForWindow([] { return FindWindowW(nullptr, L"Debuggee"); }), nullptr);
  Sleep(300);
}

// A number of the host's profile, as the debugger keeps its window state; false when missing.
constexpr wchar_t kProfile[] = L"Software\\Orvik Soft\\runa1\\";
bool profileNumber(const std::wstring& section, const wchar_t* entry, DWORD* value) {
  DWORD bytes = sizeof *value;
  return RegGetValueW(HKEY_CURRENT_USER, (kProfile + section).c_str(), entry, RRF_RT_DWORD, nullptr, value, &bytes) ==
         ERROR_SUCCESS;
}

HWND dialogTitled(const wchar_t* title) { return FindWindowW(L"#32770", title); }

void click(HWND dialog, int button) { PostMessageW(dialog, WM_COMMAND, MAKEWPARAM(button, BN_CLICKED), 0); }

// Adds `name` through the stop list dialog's Add button and the name dialog.
void addStop(HWND stopList, const wchar_t* name) {
  click(stopList, kAdd);
  HWND nameDialog = waitForWindow([] { return dialogTitled(L"関数名入力"); });
  ASSERT_NE(nameDialog, nullptr);
  SendMessageW(GetDlgItem(nameDialog, kNameEdit), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(name));
  click(nameDialog, IDOK);
  ASSERT_NE(waitForWindow([] { return dialogTitled(L"関数名入力") ? nullptr : HWND(1); }), nullptr);
}

class DebuggerRunTest : public testing::Test {
 protected:
  // The debuggee and its record in the work folder; `record` names the record's copy.
  void CopyModule(const std::string& record = "debuggee_module.drt") {
    std::filesystem::copy_file(modulePath("debuggee_module"), work.file("debuggee_module.zpe"));
    std::filesystem::copy_file(std::string(MODULE_DIR) + "/debuggee_module.drt", work.file(record));
  }
  // Runs the debug host on its own thread, so that the test can work its windows meanwhile.
  std::future<Outcome> StartDebugHost(const char* scenario, const std::string& arguments = "/DEBUG debuggee_module.zpe") {
    return std::async(std::launch::async, [this, scenario, arguments] {
      return runProgram(RUNA1D_EXE, arguments, work, {{"RUNA1_DEBUGGEE", scenario}});
    });
  }
  Outcome RunDebugHost(const char* scenario, const std::string& arguments = "/DEBUG debuggee_module.zpe") {
    return StartDebugHost(scenario, arguments).get();
  }
  std::string Log() const { return work.read("run.log"); }

  TempDir work;
};

TEST_F(DebuggerRunTest, TheHistoryPaneShowsTheCallsAndTheModuleEndsOnItsOwnBytes) {
  CopyModule();
  Outcome outcome = RunDebugHost("history");
  expectAllPassed(Log(), outcome,
                  {"calls-run", "breakpoints-set", "history-pane", "history-row-0", "history-row-1", "history-row-2",
                   "history-row-3", "history-row-4", "history-row-5", "history-differs", "fini-entries-own",
                   "fini-calls-run"});
  EXPECT_EQ(outcome.diagnostics.find(kWithoutDebugger), std::string::npos) << outcome.diagnostics;
}

TEST_F(DebuggerRunTest, DrtNamesTheRecord) {
  CopyModule("elsewhere.drt");
  Outcome outcome = RunDebugHost("history", "/DEBUG /DRT=elsewhere.drt debuggee_module.zpe");
  expectAllPassed(Log(), outcome, {"breakpoints-set", "history-row-0", "fini-entries-own"});
}

TEST_F(DebuggerRunTest, AProcedureOnTheStopListStopsTheModuleUntilRun) {
  CopyModule();
  std::future<Outcome> host = StartDebugHost("stop");
  HWND frame = waitForDebugger();
  ASSERT_NE(frame, nullptr) << "no debug frame";
  for (const wchar_t* title : {L"関数呼び出し履歴(過去256回)", L"変数", L"レジスタ", L"スタック", L"メモリ"})
    EXPECT_NE(debugChild(title), nullptr) << "pane " << testing::PrintToString(std::wstring(title));

  HWND variables = debugChild(L"変数");
  ASSERT_NE(variables, nullptr);
  SendMessageW(frame, WM_COMMAND, kVariables, 0);
  EXPECT_FALSE(IsWindowVisible(variables)) << "the command hides a visible pane";
  SendMessageW(frame, WM_COMMAND, kVariables, 0);
  EXPECT_TRUE(IsWindowVisible(variables)) << "and shows a hidden one";

  PostMessageW(frame, WM_COMMAND, kStopList, 0);
  HWND stopList = waitForWindow([] { return dialogTitled(L"ﾌﾞﾚｲｸﾎﾟｲﾝﾄ設定"); });
  ASSERT_NE(stopList, nullptr);
  addStop(stopList, L"Watched");
  addStop(stopList, L"Watched");
  addStop(stopList, L"Nothing");
  EXPECT_EQ(SendMessageW(GetDlgItem(stopList, kStopNames), LB_GETCOUNT, 0, 0), 2)
      << "a name added twice shows twice, an unknown one not at all";
  click(stopList, IDOK);
  work.write("go.txt", "go");

  HWND source = waitForWindow([] { return debugChild(L"debuggee_module.c"); });
  EXPECT_NE(source, nullptr) << "the source text opens at the stop";
  EXPECT_EQ(host.wait_for(std::chrono::seconds(2)), std::future_status::timeout) << "the module waits at Watched";
  PostMessageW(frame, WM_COMMAND, kRun, 0);
  ASSERT_EQ(host.wait_for(std::chrono::seconds(60)), std::future_status::ready) << "Run lets the module go on";
  Outcome outcome = host.get();
  expectAllPassed(Log(), outcome, {"waiting", "go", "watched", "fini-entries-own", "fini-calls-run"});
  EXPECT_NE(outcome.diagnostics.find("Nothing 関数は定義されていません。"), std::string::npos) << outcome.diagnostics;
  EXPECT_NE(outcome.diagnostics.find("\"停止\": Watched 関数で停止しました。"), std::string::npos) << outcome.diagnostics;
  size_t stop = outcome.diagnostics.find("Watched 関数で停止しました。");
  EXPECT_EQ(outcome.diagnostics.find("Watched 関数で停止しました。", stop + 1), std::string::npos) << "one stop";
}

TEST_F(DebuggerRunTest, ForceEndEndsTheStoppedModule) {
  CopyModule();
  std::future<Outcome> host = StartDebugHost("spin");
  HWND frame = waitForDebugger();
  ASSERT_NE(frame, nullptr);
  waitForTheModulesWindow();
  PostMessageW(frame, WM_COMMAND, kStop, 0);
  PostMessageW(frame, WM_COMMAND, kForceEnd, 0);
  ASSERT_EQ(host.wait_for(std::chrono::seconds(60)), std::future_status::ready) << "Force end ends the host";
  Outcome outcome = host.get();
  std::string log = Log();
  expectAllPassed(log, outcome, {"spinning", "fini-entries-own", "fini-calls-run"});
  EXPECT_EQ(log.find("end\n"), std::string::npos) << "StartingProc never returned: " << log;
}

TEST_F(DebuggerRunTest, ForceEndBeforeTheModulesWindowEndsTheProcess) {
  CopyModule();
  std::future<Outcome> host = StartDebugHost("stop");
  HWND frame = waitForDebugger();
  ASSERT_NE(frame, nullptr);
  Sleep(500);  // the module waits for go.txt, which never comes
  PostMessageW(frame, WM_COMMAND, kForceEnd, 0);
  ASSERT_EQ(host.wait_for(std::chrono::seconds(60)), std::future_status::ready) << "Force end ends the host";
  Outcome outcome = host.get();
  std::string log = Log();
  EXPECT_EQ(outcome.exitCode, 0u) << outcome.diagnostics;
  EXPECT_NE(log.find("ok waiting\n"), std::string::npos) << log;
  EXPECT_EQ(log.find("go"), std::string::npos) << log;
  EXPECT_NE(outcome.diagnostics.find("force end before the module's window"), std::string::npos) << outcome.diagnostics;
}

TEST_F(DebuggerRunTest, ABreakpointThatNoProcedureOwnsStopsAndEndsTheSession) {
  CopyModule();
  std::future<Outcome> host = StartDebugHost("trap");
  HWND frame = waitForDebugger();
  ASSERT_NE(frame, nullptr);
  // Run does nothing until the stop has come; after it, the session ends with the host.
  for (int turn = 0; turn < 300 && host.wait_for(std::chrono::milliseconds(100)) != std::future_status::ready; ++turn)
    PostMessageW(frame, WM_COMMAND, kRun, 0);
  ASSERT_EQ(host.wait_for(std::chrono::seconds(30)), std::future_status::ready);
  Outcome outcome = host.get();
  std::string log = Log();
  expectAllPassed(log, outcome, {"window", "fini-entries-own", "fini-calls-run"});
  EXPECT_NE(outcome.diagnostics.find("\"停止\": 外部関数で停止しました。"), std::string::npos) << outcome.diagnostics;
  EXPECT_EQ(log.find("after-trap"), std::string::npos) << log;
}

TEST_F(DebuggerRunTest, ClosingTheFrameLetsTheModuleRunOnWithoutTheDebugger) {
  CopyModule();
  RegDeleteKeyW(HKEY_CURRENT_USER, (std::wstring(kProfile) + L"MDI Frame Window").c_str());
  std::future<Outcome> host = StartDebugHost("spin");
  HWND frame = waitForDebugger();
  ASSERT_NE(frame, nullptr);
  waitForTheModulesWindow();
  PostMessageW(frame, WM_CLOSE, 0, 0);
  Outcome outcome = host.get();
  expectAllPassed(Log(), outcome, {"spinning", "frame-gone", "entries-own", "calls-run", "fini-entries-own"});
  EXPECT_NE(outcome.diagnostics.find("\"強制終了\": Z.P.K.プログラムが終了していません。強制終了しますか？"),
            std::string::npos)
      << outcome.diagnostics;

  // The close kept the windows' places.
  DWORD left, top, right, bottom, zoom, visible;
  ASSERT_TRUE(profileNumber(L"MDI Frame Window", L"Left", &left) && profileNumber(L"MDI Frame Window", L"Top", &top) &&
              profileNumber(L"MDI Frame Window", L"Right", &right) &&
              profileNumber(L"MDI Frame Window", L"Bottom", &bottom) &&
              profileNumber(L"MDI Frame Window", L"Zoom", &zoom));
  EXPECT_GT(LONG(right), LONG(left));
  EXPECT_GT(LONG(bottom), LONG(top));
  EXPECT_EQ(zoom, 0u);
  ASSERT_TRUE(profileNumber(L"関数呼び出し履歴ウィンドウ", L"Visible", &visible));
  EXPECT_EQ(visible, 1u);
  EXPECT_TRUE(profileNumber(L"メモリウィンドウ", L"Address", &visible));
}

TEST_F(DebuggerRunTest, TheReleaseHostShowsNoDebugger) {
  CopyModule();
  Outcome outcome = runProgram(RUNA1_EXE, "/DEBUG /DRT debuggee_module.zpe", work, {{"RUNA1_DEBUGGEE", "plain"}});
  expectAllPassed(Log(), outcome, {"no-frame", "entries-own", "calls-run", "fini-entries-own"});
  std::string line = "リリース版でデバッグ指定されています。";
  size_t first = outcome.diagnostics.find(line);
  ASSERT_NE(first, std::string::npos) << outcome.diagnostics;
  EXPECT_NE(outcome.diagnostics.find(line, first + 1), std::string::npos) << "one line for each switch";
}

TEST_F(DebuggerRunTest, AMissingShortOrLyingRecordLeavesTheModuleWithoutTheDebugger) {
  std::string record;
  {
    std::ifstream in(std::string(MODULE_DIR) + "/debuggee_module.drt", std::ios::binary);
    record.assign(std::istreambuf_iterator<char>(in), {});
  }
  ASSERT_GT(record.size(), 40u);
  std::string otherSize = record;
  otherSize[8] = char(otherSize[8] + 4);  // the image size
  std::string badEntry = record;
  size_t firstEntry = 32 + 4 * size_t(uint8_t(record[16])) + 4;  // behind the source files' names
  badEntry[firstEntry] = char(badEntry[firstEntry] + 1);
  struct Case {
    const char* what;
    const std::string* bytes;  // null: no record at all
    const char* reason;
  };
  std::string shortRecord = record.substr(0, 20);
  for (const Case& c : {Case{"missing", nullptr, "cannot be opened"}, Case{"short", &shortRecord, "shorter than its header"},
                        Case{"other image", &otherSize, "image of another size"},
                        Case{"other entry", &badEntry, "is not the module's"}}) {
    TempDir folder;
    std::filesystem::copy_file(modulePath("debuggee_module"), folder.file("debuggee_module.zpe"));
    if (c.bytes) folder.write("debuggee_module.drt", *c.bytes);
    Outcome outcome = runProgram(RUNA1D_EXE, "/DEBUG debuggee_module.zpe", folder, {{"RUNA1_DEBUGGEE", "plain"}});
    expectAllPassed(folder.read("run.log"), outcome, {"no-frame", "entries-own", "calls-run", "fini-entries-own"});
    EXPECT_NE(outcome.diagnostics.find(kWithoutDebugger), std::string::npos) << c.what << ": " << outcome.diagnostics;
    EXPECT_NE(outcome.diagnostics.find(c.reason), std::string::npos) << c.what << ": " << outcome.diagnostics;
  }
}

}  // namespace
