#include "debugger/windows/debug_frame.h"

#include <commctrl.h>

#include "base/os/os.h"
#include "base/os/win32_text.h"
#include "debugger/windows/debug_panes.h"
#include "debugger/windows/debug_win_thread.h"
#include "debugger/windows/stop_list_dialog.h"
#include "debugger/windows/text_viewer.h"
#include "host/exports/services.h"
#include "host/frame/main_frame.h"

namespace {

constexpr wchar_t kFrameClass[] = L"Runa1DebugFrame";
constexpr wchar_t kFrameTitle[] = L"Z.P.K. Debugger";
constexpr DWORD kFrameStyle = 0x00CF0000 | WS_CLIPCHILDREN;
constexpr char kFrameSection[] = "MDI Frame Window";
constexpr char kToolBarSection[] = "\xba\xdd\xc4\xdb\xb0\xd9\xca\xde\xb0";  // "ｺﾝﾄﾛｰﾙﾊﾞｰ"
constexpr UINT kFirstMdiChild = 0xFF00;
constexpr RECT kSourcePlace = {280, 0, 880, 400};
constexpr UINT kPaneCommands[] = {kCommandHistory, kCommandVariables, kCommandRegisters, kCommandStack,
                                  kCommandMemory};
// "停止", " ファイルが見付かりません。", and the question and caption of the frame's close.
constexpr char kStopCaption[] = "\x92\xe2\x8e~";
constexpr char kFileNotFound[] =
    " \x83t\x83@\x83" "C\x83\x8b\x82\xaa\x8c\xa9\x95t\x82\xa9\x82\xe8\x82\xdc\x82\xb9\x82\xf1\x81" "B";
constexpr char kNotEnded[] =
    "Z.P.K.\x83v\x83\x8d\x83O\x83\x89\x83\x80\x82\xaa\x8fI\x97\xb9\x82\xb5\x82\xc4\x82\xa2\x82\xdc\x82\xb9\x82\xf1\x81"
    "B\x8b\xad\x90\xa7\x8fI\x97\xb9\x82\xb5\x82\xdc\x82\xb7\x82\xa9\x81H";
constexpr char kForceEndCaption[] = "\x8b\xad\x90\xa7\x8fI\x97\xb9";

struct Command {
  UINT id;
  const wchar_t* menu;
  const wchar_t* prompt;  // the status bar's text, then the tool tip's
};
constexpr Command kCommands[] = {
    {kCommandRun, L"実行(&E)", L"実行\n実行"},
    {kCommandStop, L"実行を停止(&S)", L"Z.P.K.メインスレッドを停止します\n停止"},
    {kCommandStopList, L"ﾌﾞﾚｲｸﾎﾟｲﾝﾄを設定(&B)", L"ブレイクポイントを設定します\nﾌﾞﾚｲｸﾎﾟｲﾝﾄ設定"},
    {kCommandForceEnd, L"強制終了(&T)", L"強制終了します\n強制終了"},
    {kCommandHistory, L"関数呼び出し履歴(&F)", L"関数呼び出し履歴を表示\n呼び出し履歴"},
    {kCommandVariables, L"変数(&V)", L"変数を表示\n変数"},
    {kCommandRegisters, L"ﾚｼﾞｽﾀｰ(&R)", L"レジスターを表示\nﾚｼﾞｽﾀｰ"},
    {kCommandStack, L"ｽﾀｯｸ(&C)", L"スタックフレームを表示\nｽﾀｯｸ"},
    {kCommandMemory, L"ﾒﾓﾘ(&M)", L"メモリの状態を表示します\nﾒﾓﾘ"},
};

const Command* commandOf(UINT id) {
  for (const Command& command : kCommands)
    if (command.id == id) return &command;
  return nullptr;
}

// The status bar's part of a prompt, or the tool tip's.
std::wstring promptPart(UINT id, bool tip) {
  const Command* command = commandOf(id);
  if (!command) return L"";
  std::wstring prompt = command->prompt;
  size_t split = prompt.find(L'\n');
  return tip ? prompt.substr(split + 1) : prompt.substr(0, split);
}

HMENU buildMenu(HMENU* windowMenu) {
  HMENU debug = CreatePopupMenu();
  for (UINT id : {kCommandRun, kCommandStop, kCommandStopList}) AppendMenuW(debug, MF_STRING, id, commandOf(id)->menu);
  AppendMenuW(debug, MF_SEPARATOR, 0, nullptr);
  AppendMenuW(debug, MF_STRING, kCommandForceEnd, commandOf(kCommandForceEnd)->menu);
  HMENU view = CreatePopupMenu();
  for (UINT id : kPaneCommands) AppendMenuW(view, MF_STRING, id, commandOf(id)->menu);
  *windowMenu = CreatePopupMenu();
  HMENU bar = CreateMenu();
  AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(debug), L"デバッグ(&D)");
  AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(view), L"表示(&V)");
  AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(*windowMenu), L"ウィンドウ(&W)");
  return bar;
}

}  // namespace

CDbgMDIFrm::CDbgMDIFrm(CDebugWinThread& debugger) : debugger_(debugger) {}

CDbgMDIFrm::~CDbgMDIFrm() {
  source_.reset();
  for (auto& pane : panes_) pane.reset();
  if (window_ && IsWindow(window_)) DestroyWindow(window_);
}

bool CDbgMDIFrm::Create() {
  os::initCommonControls();
  registerDebugClass(kFrameClass, &CDbgMDIFrm::Procedure, COLOR_APPWORKSPACE);
  WindowState state = WindowState::Read(kFrameSection);
  RECT rect = state.placed ? state.rect : RECT{CW_USEDEFAULT, CW_USEDEFAULT, 0, 0};
  int width = state.placed ? rect.right - rect.left : 900, height = state.placed ? rect.bottom - rect.top : 720;
  HMENU windowMenu;
  HMENU menu = buildMenu(&windowMenu);
  window_ = CreateWindowExW(0, kFrameClass, kFrameTitle, kFrameStyle, rect.left, rect.top, width, height, nullptr, menu,
                            GetModuleHandleW(nullptr), this);
  if (!window_) return false;
  CLIENTCREATESTRUCT mdi{windowMenu, kFirstMdiChild};
  client_ = CreateWindowExW(WS_EX_CLIENTEDGE, L"MDICLIENT", nullptr,
                            WS_CHILD | WS_CLIPCHILDREN | WS_VSCROLL | WS_HSCROLL | WS_VISIBLE | MDIS_ALLCHILDSTYLES, 0, 0,
                            0, 0, window_, nullptr, GetModuleHandleW(nullptr), &mdi);
  OnCreate();
  ShowWindow(window_, state.zoom ? SW_SHOWMAXIMIZED : SW_SHOW);
  UpdateWindow(window_);
  return client_ != nullptr;
}

void CDbgMDIFrm::OnCreate() {
  toolBar_ = CreateWindowExW(0, TOOLBARCLASSNAMEW, nullptr,
                             WS_CHILD | TBSTYLE_FLAT | TBSTYLE_LIST | TBSTYLE_TOOLTIPS | CCS_TOP, 0, 0, 0, 0, window_,
                             nullptr, GetModuleHandleW(nullptr), nullptr);
  SendMessageW(toolBar_, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
  SendMessageW(toolBar_, TB_SETBITMAPSIZE, 0, MAKELPARAM(0, 0));
  std::vector<std::wstring> labels;
  for (const Command& command : kCommands) labels.push_back(promptPart(command.id, true));
  std::vector<TBBUTTON> buttons;
  for (size_t i = 0; i < std::size(kCommands); ++i)
    buttons.push_back({I_IMAGENONE, int(kCommands[i].id), TBSTATE_ENABLED, BTNS_AUTOSIZE | BTNS_BUTTON, {},
                       0, reinterpret_cast<INT_PTR>(labels[i].c_str())});
  SendMessageW(toolBar_, TB_ADDBUTTONSW, buttons.size(), reinterpret_cast<LPARAM>(buttons.data()));
  SendMessageW(toolBar_, TB_AUTOSIZE, 0, 0);
  if (ZPK_GetProfileInt(kToolBarSection, "Visible", 1)) ShowWindow(toolBar_, SW_SHOW);
  statusBar_ = CreateWindowExW(0, STATUSCLASSNAMEW, nullptr, WS_CHILD | WS_VISIBLE | SBARS_SIZEGRIP, 0, 0, 0, 0,
                               window_, nullptr, GetModuleHandleW(nullptr), nullptr);

  CZPKDebugSession& session = *debugger_.Session();
  panes_[0] = std::make_unique<CCallHistoryWnd>(session);
  panes_[1] = std::make_unique<CVariableWnd>(session, debugger_.ImageAddress());
  panes_[2] = std::make_unique<CRegisterWnd>(session);
  panes_[3] = std::make_unique<CStackViewWnd>(session);
  panes_[4] = std::make_unique<CMemoryViewWnd>(session);
  OnSize();
  // The first time, the panes stand side by side: the history on the left, the variables and
  // the registers above the stack and the memory.
  const RECT first[] = {{0, 0, 280, 600}, {280, 0, 880, 200}, {280, 200, 880, 300}, {280, 300, 540, 600},
                        {540, 300, 880, 600}};
  for (size_t i = 0; i < panes_.size(); ++i) panes_[i]->Create(client_, first[i]);
}

void CDbgMDIFrm::OnSize() {
  if (!client_) return;
  RECT area;
  GetClientRect(window_, &area);
  int top = 0, bottom = area.bottom;
  if (toolBar_ && IsWindowVisible(toolBar_)) {
    SendMessageW(toolBar_, TB_AUTOSIZE, 0, 0);
    RECT bar;
    GetWindowRect(toolBar_, &bar);
    top = bar.bottom - bar.top;
  }
  if (statusBar_) {
    SendMessageW(statusBar_, WM_SIZE, 0, 0);
    RECT bar;
    GetWindowRect(statusBar_, &bar);
    bottom -= bar.bottom - bar.top;
  }
  MoveWindow(client_, 0, top, area.right, bottom - top, TRUE);
}

DebugPane* CDbgMDIFrm::PaneOf(UINT command) const {
  for (size_t i = 0; i < panes_.size(); ++i)
    if (kPaneCommands[i] == command) return panes_[i].get();
  return nullptr;
}

void CDbgMDIFrm::OnCommand(UINT command) {
  RunControl& runner = debugger_.Runner();
  CZPKDebugSession* session = debugger_.Session();
  switch (command) {
    case kCommandRun:
      if (session) runner.Run();
      return;
    case kCommandStop:
      if (session && debugger_.StopModule(fromFilter_)) panes_[1]->Invalidate();
      return;
    case kCommandForceEnd: {
      OnCommand(kCommandStop);
      CMainFrame* main = CMainFrame::Current();
      bool mainWindow = main && main->GetSafeHwnd();
      if (session && mainWindow) PostMessageW(main->GetSafeHwnd(), WM_QUIT, 0, 0);
      debugger_.Quit(!mainWindow);
      return;
    }
    case kCommandStopList:
      if (session) runStopListDialog(window_, *session);
      return;
    default:
      if (DebugPane* pane = PaneOf(command)) pane->Toggle();
      return;
  }
}

void CDbgMDIFrm::UpdateMenu(HMENU menu) {
  for (UINT command : kPaneCommands) {
    DebugPane* pane = PaneOf(command);
    EnableMenuItem(menu, command, MF_BYCOMMAND | (pane && pane->Window() ? MF_ENABLED : MF_GRAYED));
    CheckMenuItem(menu, command, MF_BYCOMMAND | (pane && pane->IsVisible() ? MF_CHECKED : MF_UNCHECKED));
  }
}

void CDbgMDIFrm::OpenSource(const char* procedure) {
  CZPKDebugSession* session = debugger_.Session();
  const std::string* path = session ? session->SourceFileOf(procedure) : nullptr;
  if (!path) return;
  if (!source_ || source_->Path() != *path || !source_->Window()) {
    auto viewer = std::make_unique<CTextViewer>(*session, *path);
    if (!viewer->Load()) {
      os::messageBox((*path + kFileNotFound).c_str(), kStopCaption, MB_ICONEXCLAMATION);
      return;
    }
    if (source_) source_->Close();
    source_ = std::move(viewer);
    source_->Create(client_, kSourcePlace);
  }
  source_->FindProcedure(procedure);
}

void CDbgMDIFrm::SaveState() {
  ZPK_WriteProfileInt(kToolBarSection, "Visible", IsWindowVisible(toolBar_) ? 1 : 0);
  WindowState::Write(kFrameSection, window_, true);
}

void CDbgMDIFrm::OnClose() {
  if (debugger_.Session() && !debugger_.ModuleThreads().empty() &&
      os::messageBox(kNotEnded, kForceEndCaption, MB_OKCANCEL | MB_ICONQUESTION) != IDOK)
    return;
  for (auto& pane : panes_) SendMessageW(pane->Window(), WM_CLOSE, 0, 0);
  SaveState();
  DestroyWindow(window_);
}

LRESULT CALLBACK CDbgMDIFrm::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_NCCREATE) {
    auto* frame = static_cast<CDbgMDIFrm*>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams);
    frame->window_ = window;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(frame));
  }
  auto* frame = reinterpret_cast<CDbgMDIFrm*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  return frame ? frame->Message(message, wParam, lParam) : DefWindowProcW(window, message, wParam, lParam);
}

LRESULT CDbgMDIFrm::Message(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_SIZE: OnSize(); return 0;
    case WM_COMMAND:
      if (commandOf(LOWORD(wParam))) {
        OnCommand(LOWORD(wParam));
        return 0;
      }
      break;
    case WM_INITMENUPOPUP: UpdateMenu(reinterpret_cast<HMENU>(wParam)); break;
    case WM_MENUSELECT:
      if (statusBar_)
        SendMessageW(statusBar_, SB_SETTEXTW, 0, reinterpret_cast<LPARAM>(promptPart(LOWORD(wParam), false).c_str()));
      break;
    case WM_NOTIFY: {
      auto* header = reinterpret_cast<NMHDR*>(lParam);
      if (header->code == TTN_GETDISPINFOW) {
        static std::wstring tip;
        tip = promptPart(UINT(header->idFrom), true);
        reinterpret_cast<NMTTDISPINFOW*>(lParam)->lpszText = tip.data();
        return 0;
      }
      break;
    }
    case WM_USER: OpenSource(reinterpret_cast<const char*>(wParam)); return 0;
    case WM_CLOSE: OnClose(); return 0;
    case WM_DESTROY:
      window_ = nullptr;
      PostQuitMessage(0);
      return 0;
    default: break;
  }
  return DefFrameProcW(window_, client_, message, wParam, lParam);
}

void CDbgMDIFrm::RegistersChanged() {
  for (size_t i = 1; i < panes_.size(); ++i) panes_[i]->Invalidate();
}

void CDbgMDIFrm::HistoryChanged() { panes_[0]->Invalidate(); }

void CDbgMDIFrm::ShowSourceOf(const std::string& procedure) {
  SendMessageW(window_, WM_USER, reinterpret_cast<WPARAM>(procedure.c_str()), 0);
}

void CDbgMDIFrm::ShowStop(const char* text) { os::messageBox(text, kStopCaption, MB_OK); }

void CDbgMDIFrm::SendFromFilter(UINT command) {
  fromFilter_ = true;
  SendMessageW(window_, WM_COMMAND, command, 0);
  fromFilter_ = false;
}

void CDbgMDIFrm::Stop() { SendFromFilter(kCommandStop); }

void CDbgMDIFrm::WaitForRun() { debugger_.WaitForRun(); }

void CDbgMDIFrm::ForceEnd() { SendFromFilter(kCommandForceEnd); }
