#include "debugger/windows/debug_panes.h"

#include <algorithm>
#include <array>

#include "base/os/os.h"
#include "base/os/win32_text.h"
#include "host/exports/services.h"

namespace {

constexpr wchar_t kPaneClass[] = L"Runa1DebugPane";
constexpr int kCellWidth = 8;
constexpr DWORD kPaneStyle = 0x40CF0000 | WS_CLIPSIBLINGS | WS_VSCROLL | WS_HSCROLL;
constexpr uint32_t kAbsent = 0x80000000;
constexpr int kBarHeight = 28;
constexpr UINT kApplyButton = 1001;
constexpr int kTimeCritical = 15;

// The variable pane's popup menu.
enum : UINT {
  kSixteenBits = 0x8020,
  kEightBits = 0x8021,
  kAutomatic = 0x8022,
  kDecimal = 0x8023,
  kHexadecimal = 0x8024,
};

bool readMemory(uint32_t address, void* out, size_t bytes) { return os::readMemory(address, out, bytes); }

// Raises the painting thread, so that the module's memory changes as little as possible while
// it is shown.
class TimeCritical {
 public:
  TimeCritical() : before_(GetThreadPriority(GetCurrentThread())) { SetThreadPriority(GetCurrentThread(), kTimeCritical); }
  ~TimeCritical() { SetThreadPriority(GetCurrentThread(), before_); }

 private:
  int before_;
};

}  // namespace

WindowState WindowState::Read(const char* section) {
  WindowState state;
  uint32_t left = ZPK_GetProfileInt(section, "Left", kAbsent), top = ZPK_GetProfileInt(section, "Top", kAbsent);
  uint32_t right = ZPK_GetProfileInt(section, "Right", kAbsent), bottom = ZPK_GetProfileInt(section, "Bottom", kAbsent);
  state.placed = left != kAbsent && top != kAbsent && right != kAbsent && bottom != kAbsent;
  if (state.placed) state.rect = {LONG(left), LONG(top), LONG(right), LONG(bottom)};
  state.zoom = ZPK_GetProfileInt(section, "Zoom", 0) != 0;
  state.visible = ZPK_GetProfileInt(section, "Visible", 1) != 0;
  return state;
}

void WindowState::Write(const char* section, HWND window, bool visible) {
  WINDOWPLACEMENT placement{};
  placement.length = sizeof placement;
  GetWindowPlacement(window, &placement);
  const RECT& rect = placement.rcNormalPosition;
  ZPK_WriteProfileInt(section, "Left", uint32_t(rect.left));
  ZPK_WriteProfileInt(section, "Top", uint32_t(rect.top));
  ZPK_WriteProfileInt(section, "Right", uint32_t(rect.right));
  ZPK_WriteProfileInt(section, "Bottom", uint32_t(rect.bottom));
  ZPK_WriteProfileInt(section, "Zoom", IsZoomed(window) ? 1 : 0);
  ZPK_WriteProfileInt(section, "Visible", visible ? 1 : 0);
}

void drawText(HDC dc, int x, int y, const std::string& text) {
  std::wstring wide = os::widen(text.c_str());
  TextOutW(dc, x, y, wide.c_str(), int(wide.size()));
}

std::string windowText(HWND window) {
  wchar_t wide[256];
  int length = GetWindowTextW(window, wide, 256);
  char text[512];
  int bytes = WideCharToMultiByte(os::kShiftJis, 0, wide, length, text, sizeof text, nullptr, nullptr);
  return std::string(text, size_t(std::max(bytes, 0)));
}

// ---- DebugPane --------------------------------------------------------------------------------

DebugPane::DebugPane(CZPKDebugSession& session, const Look& look)
    : session_(session),
      look_(look),
      font_(CreateFontW(16, 8, 0, 0, 400, 0, 0, 0, SHIFTJIS_CHARSET, OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS,
                        DEFAULT_QUALITY, FIXED_PITCH, L"System")) {}

DebugPane::~DebugPane() {
  if (window_ && IsWindow(window_)) {
    SetWindowLongPtrW(window_, GWLP_USERDATA, 0);  // its last messages find no pane
    DestroyWindow(window_);
  }
  DeleteObject(font_);
}

void registerDebugClass(const wchar_t* name, WNDPROC procedure, int background) {
  WNDCLASSW windowClass{};
  windowClass.lpfnWndProc = procedure;
  windowClass.hInstance = GetModuleHandleW(nullptr);
  windowClass.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
  windowClass.hbrBackground = reinterpret_cast<HBRUSH>(INT_PTR(background + 1));
  windowClass.lpszClassName = name;
  RegisterClassW(&windowClass);
}

void DebugPane::RegisterClass() { registerDebugClass(kPaneClass, &DebugPane::Procedure, COLOR_WINDOW); }

bool DebugPane::Create(HWND mdiClient, const RECT& first) {
  bool visible = look_.section ? WindowState::Read(look_.section).visible : true;
  DWORD style = kPaneStyle | (visible ? WS_VISIBLE : 0);
  window_ = CreateMDIWindowW(kPaneClass, look_.title, style, first.left, first.top, first.right - first.left,
                             first.bottom - first.top, mdiClient, GetModuleHandleW(nullptr), reinterpret_cast<LPARAM>(this));
  return window_ != nullptr;
}

bool DebugPane::IsVisible() const { return window_ && (GetWindowLongW(window_, GWL_STYLE) & WS_VISIBLE); }

void DebugPane::Toggle() {
  if (IsVisible()) {
    ShowWindow(window_, SW_HIDE);
    SetWindowLongW(window_, GWL_STYLE, GetWindowLongW(window_, GWL_STYLE) & ~WS_VISIBLE);
  } else {
    SetWindowLongW(window_, GWL_STYLE, GetWindowLongW(window_, GWL_STYLE) | WS_VISIBLE);
    ShowWindow(window_, SW_SHOW);
    InvalidateRect(window_, nullptr, TRUE);
  }
}

void DebugPane::Invalidate() {
  if (window_) InvalidateRect(window_, nullptr, TRUE);
}

void DebugPane::Close() {
  if (look_.section) {
    WindowState::Write(look_.section, window_, IsVisible());
    ShowWindow(window_, SW_HIDE);
  } else {
    SendMessageW(GetParent(window_), WM_MDIDESTROY, reinterpret_cast<WPARAM>(window_), 0);
    window_ = nullptr;
  }
}

int DebugPane::ClientRows() const {
  RECT client;
  GetClientRect(window_, &client);
  return std::max(0, int(client.bottom) - look_.topMargin) / look_.rowHeight;
}

void DebugPane::UpdateScrollBars() {
  RECT client;
  GetClientRect(window_, &client);
  vertical_.content = Rows();
  horizontal_.content = Columns();
  vertical_.Resize(ClientRows());
  horizontal_.Resize(client.right / kCellWidth);
  vertical_.position = std::min(vertical_.position, vertical_.Last());
  horizontal_.position = std::min(horizontal_.position, horizontal_.Last());
  for (auto [bar, scroll] : {std::pair{SB_VERT, &vertical_}, std::pair{SB_HORZ, &horizontal_}}) {
    SCROLLINFO info{};
    info.cbSize = sizeof info;
    info.fMask = SIF_RANGE | SIF_PAGE | SIF_POS | SIF_DISABLENOSCROLL;
    info.nMax = std::max(0, scroll->content - 1);
    info.nPage = UINT(scroll->page);
    info.nPos = scroll->position;
    SetScrollInfo(window_, bar, &info, TRUE);
  }
}

void DebugPane::OnScroll(int bar, WPARAM wParam) {
  UINT request = LOWORD(wParam);
  if (request > SB_BOTTOM) return;  // SB_ENDSCROLL
  SCROLLINFO info{};
  info.cbSize = sizeof info;
  info.fMask = SIF_TRACKPOS;
  GetScrollInfo(window_, bar, &info);  // the 32-bit thumb position
  PaneScroll& scroll = bar == SB_VERT ? vertical_ : horizontal_;
  int32_t moved = scroll.Scroll(static_cast<ScrollRequest>(request), info.nTrackPos);
  SetScrollPos(window_, bar, scroll.position, TRUE);
  RECT client;
  GetClientRect(window_, &client);
  client.top = look_.topMargin;
  if (bar == SB_VERT) ScrollWindowEx(window_, 0, -moved * look_.rowHeight, &client, &client, nullptr, nullptr, SW_INVALIDATE | SW_ERASE);
  else ScrollWindowEx(window_, -moved * kCellWidth, 0, &client, &client, nullptr, nullptr, SW_INVALIDATE | SW_ERASE);
  UpdateWindow(window_);
}

bool DebugPane::OnMessage(UINT, WPARAM, LPARAM, LRESULT*) { return false; }

LRESULT CALLBACK DebugPane::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_NCCREATE) {
    auto* create = reinterpret_cast<CREATESTRUCTW*>(lParam);
    auto* mdi = static_cast<MDICREATESTRUCTW*>(create->lpCreateParams);
    auto* pane = reinterpret_cast<DebugPane*>(mdi->lParam);
    pane->window_ = window;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(pane));
  }
  auto* pane = reinterpret_cast<DebugPane*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  return pane ? pane->Message(message, wParam, lParam) : DefMDIChildProcW(window, message, wParam, lParam);
}

LRESULT DebugPane::Message(UINT message, WPARAM wParam, LPARAM lParam) {
  LRESULT result = 0;
  if (OnMessage(message, wParam, lParam, &result)) return result;
  switch (message) {
    case WM_CREATE: {
      if (look_.section) {
        WindowState state = WindowState::Read(look_.section);
        if (state.placed)
          MoveWindow(window_, state.rect.left, state.rect.top, state.rect.right - state.rect.left,
                     state.rect.bottom - state.rect.top, FALSE);
        if (state.zoom) PostMessageW(GetParent(window_), WM_MDIMAXIMIZE, reinterpret_cast<WPARAM>(window_), 0);
      }
      OnCreate();
      break;
    }
    case WM_SIZE: UpdateScrollBars(); break;
    case WM_VSCROLL: OnScroll(SB_VERT, wParam); return 0;
    case WM_HSCROLL: OnScroll(SB_HORZ, wParam); return 0;
    case WM_CLOSE: Close(); return 0;
    case WM_PAINT: {
      PAINTSTRUCT paint;
      HDC dc = BeginPaint(window_, &paint);
      HGDIOBJ before = SelectObject(dc, font_);
      SetBkColor(dc, GetSysColor(COLOR_WINDOW));
      SetTextColor(dc, GetSysColor(COLOR_WINDOWTEXT));
      RECT client;
      GetClientRect(window_, &client);
      Paint(dc, client);
      SelectObject(dc, before);
      EndPaint(window_, &paint);
      return 0;
    }
    default: break;
  }
  return DefMDIChildProcW(window_, message, wParam, lParam);
}

// ---- The five panes ---------------------------------------------------------------------------

CCallHistoryWnd::CCallHistoryWnd(CZPKDebugSession& session)
    : DebugPane(session, {L"関数呼び出し履歴(過去256回)",
                          "\x8a\xd6\x90\x94\x8c\xc4\x82\xd1\x8fo\x82\xb5\x97\x9a\x97\xf0\x83" "E\x83" "B\x83\x93\x83h\x83" "E",
                          20, 0}) {}

int32_t CCallHistoryWnd::Columns() { return 0; }

void CCallHistoryWnd::Paint(HDC dc, const RECT& client) {
  for (int32_t row = vertical_.position; row < int32_t(CZPKDebugSession::kHistorySize); ++row) {
    int y = (row - vertical_.position) * 20 + 2;
    if (y >= client.bottom) break;
    drawText(dc, 16, y, pane_text::historyRow(session_, uint32_t(row)));
  }
}

CVariableWnd::CVariableWnd(CZPKDebugSession& session, uint32_t imageAddress)
    : DebugPane(session, {L"変数", "\x95\xcf\x90\x94\x83" "E\x83" "B\x83\x93\x83h\x83" "E", 20, 0}),
      imageAddress_(imageAddress) {}

void CVariableWnd::OnCreate() {
  for (const CZPKDebugSession::VariableExtent& variable : session_.Variables()) {
    longestName_ = std::max(longestName_, uint32_t(variable.name->size()));
    rows_ += int32_t((variable.size + 15) / 16);
  }
}

int32_t CVariableWnd::Columns() { return int32_t(pane_text::variableRange(longestName_, format_)); }

void CVariableWnd::Paint(HDC dc, const RECT& client) {
  int32_t row = 0;
  int addressX = (int32_t(longestName_) - horizontal_.position) * 8 + 16;
  for (const CZPKDebugSession::VariableExtent& variable : session_.Variables()) {
    int32_t rows = int32_t((variable.size + 15) / 16);
    int32_t top = row;
    row += rows;
    if (row <= vertical_.position) continue;
    if ((top - vertical_.position) * 20 >= client.bottom) break;
    std::vector<uint8_t> bytes(variable.size);
    for (uint32_t i = 0; i < variable.size; ++i) bytes[i] = session_.ImageByte(variable.offset + i);
    std::vector<std::string> texts =
        pane_text::variableRows(imageAddress_ + variable.offset, bytes.data(), variable.size, format_);
    int y = (top - vertical_.position) * 20;
    drawText(dc, pane_text::variableNameX(longestName_, uint32_t(variable.name->size()), horizontal_.position), y,
             *variable.name);
    for (const std::string& text : texts) {
      drawText(dc, addressX, y, text);
      y += 20;
    }
  }
}

bool CVariableWnd::OnMessage(UINT message, WPARAM, LPARAM lParam, LRESULT* result) {
  if (message != WM_RBUTTONUP) return false;
  HMENU menu = CreatePopupMenu();
  AppendMenuW(menu, MF_STRING, kSixteenBits, L"１６ビット表示");
  AppendMenuW(menu, MF_STRING, kEightBits, L"８ビット表示");
  AppendMenuW(menu, MF_STRING, kAutomatic, L"自動調整");
  AppendMenuW(menu, MF_STRING, kDecimal, L"１０進表示");
  AppendMenuW(menu, MF_STRING, kHexadecimal, L"１６ビット表示");
  POINT at{short(LOWORD(lParam)), short(HIWORD(lParam))};
  ClientToScreen(window_, &at);
  UINT chosen = UINT(TrackPopupMenu(menu, TPM_RETURNCMD | TPM_RIGHTBUTTON, at.x, at.y, 0, window_, nullptr));
  DestroyMenu(menu);
  switch (chosen) {
    case kSixteenBits: format_.maxWidth = 2; break;
    case kEightBits: format_.maxWidth = 1; break;
    case kAutomatic: format_.maxWidth = 4; break;
    case kDecimal: format_.decimal = true; break;
    case kHexadecimal: format_.decimal = false; break;
    default: break;
  }
  UpdateScrollBars();
  Invalidate();
  *result = 0;
  return true;
}

CRegisterWnd::CRegisterWnd(CZPKDebugSession& session)
    : DebugPane(session, {L"レジスタ", "\x83\x8c\x83W\x83X\x83^\x83" "E\x83" "B\x83\x93\x83h\x83" "E", 20, 0}) {}

void CRegisterWnd::Paint(HDC dc, const RECT&) {
  std::array<std::string, 4> rows = pane_text::registerRows(session_.Context());
  for (int32_t i = 0; i < 4; ++i) drawText(dc, (2 - horizontal_.position) * 8, (i - vertical_.position) * 20, rows[size_t(i)]);
}

CStackViewWnd::CStackViewWnd(CZPKDebugSession& session)
    : DebugPane(session, {L"スタック", "\x83X\x83^\x83" "b\x83N\x83" "E\x83" "B\x83\x93\x83h\x83" "E", 20, 0}) {}

void CStackViewWnd::Paint(HDC dc, const RECT& client) {
  TimeCritical raised;
  uint32_t esp = uint32_t(session_.Context().Esp);
  for (int32_t row = 0; row < client.bottom / 20; ++row) {
    pane_text::StackRow text = pane_text::stackRow(esp, uint32_t(row), &readMemory);
    int y = row * 20;
    drawText(dc, 16, y, text.offset);
    for (int column = 0; column < 4; ++column) drawText(dc, column * 72 + 120, y, text.columns[size_t(column)]);
  }
}

// ---- The memory pane --------------------------------------------------------------------------

namespace {
constexpr char kMemorySection[] = "\x83\x81\x83\x82\x83\x8a\x83" "E\x83" "B\x83\x93\x83h\x83" "E";
}  // namespace

CMemoryViewWnd::CMemoryViewWnd(CZPKDebugSession& session)
    : DebugPane(session, {L"メモリ", kMemorySection, 16, kBarHeight}) {}

void CMemoryViewWnd::OnCreate() {
  vertical_.position = int32_t((ZPK_GetProfileInt(kMemorySection, "Address", 0) >> 4) & 0x0FFFFFFF);
  address_ = CreateWindowExW(WS_EX_CLIENTEDGE, L"EDIT", os::widen(pane_text::memoryAddressText(uint32_t(vertical_.position)).c_str()).c_str(),
                             WS_CHILD | WS_VISIBLE | ES_AUTOHSCROLL, 4, 3, 120, 22, window_, nullptr,
                             GetModuleHandleW(nullptr), nullptr);
  HWND apply = CreateWindowExW(0, L"BUTTON", L"適用", WS_CHILD | WS_VISIBLE | BS_PUSHBUTTON, 128, 3, 60, 22, window_,
                               reinterpret_cast<HMENU>(uintptr_t(kApplyButton)), GetModuleHandleW(nullptr), nullptr);
  SendMessageW(address_, WM_SETFONT, reinterpret_cast<WPARAM>(font_), FALSE);
  SendMessageW(apply, WM_SETFONT, reinterpret_cast<WPARAM>(font_), FALSE);
}

void CMemoryViewWnd::Apply() {
  vertical_.position = int32_t(pane_text::memoryTopRow(windowText(address_).c_str()));
  SetScrollPos(window_, SB_VERT, vertical_.position, TRUE);
  Invalidate();
}

bool CMemoryViewWnd::OnMessage(UINT message, WPARAM wParam, LPARAM, LRESULT* result) {
  if (message == WM_COMMAND && LOWORD(wParam) == kApplyButton) {
    Apply();
    *result = 0;
    return true;
  }
  if (message == WM_VSCROLL) {
    PostMessageW(window_, WM_APP, 0, 0);  // the edit follows the scroll, once it has happened
  } else if (message == WM_APP) {
    SetWindowTextW(address_, os::widen(pane_text::memoryAddressText(uint32_t(vertical_.position)).c_str()).c_str());
    return true;
  } else if (message == WM_CLOSE) {
    ZPK_WriteProfileInt(kMemorySection, "Address", uint32_t(vertical_.position) * 16);
  }
  return false;
}

void CMemoryViewWnd::Paint(HDC dc, const RECT& client) {
  TimeCritical raised;
  for (int32_t row = 0; kBarHeight + row * 16 < client.bottom; ++row) {
    uint32_t address = uint32_t(vertical_.position + row) * 16;
    drawText(dc, -horizontal_.position * 8, kBarHeight + row * 16, pane_text::memoryRow(address, &readMemory));
  }
}
