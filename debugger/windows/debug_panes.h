// The debug panes: MDI children of the debug frame that paint one aspect of the session by
// hand, in the fixed-width font, with the scroll rules of PaneScroll and their window state in
// the profile. The texts come from pane_text; a pane only places them.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "debugger/debug_session.h"
#include "debugger/pane_scroll.h"
#include "debugger/pane_text.h"

// Window state in the profile: "Left", "Top", "Right", "Bottom", "Zoom" (and "Visible") under
// a section of the window's own. Sections and keys are Shift-JIS.
struct WindowState {
  RECT rect{};
  bool placed = false;  // a rectangle was saved
  bool zoom = false;
  bool visible = true;
  static WindowState Read(const char* section);
  // From the window's place in its parent; `visible` as given.
  static void Write(const char* section, HWND window, bool visible);
};

// Registers a window class of the debugger: arrow cursor, `background` a system colour.
void registerDebugClass(const wchar_t* name, WNDPROC procedure, int background);

// Shift-JIS text through the wide functions.
void drawText(HDC dc, int x, int y, const std::string& text);
std::string windowText(HWND window);

class DebugPane {
 public:
  struct Look {
    const wchar_t* title;
    const char* section;  // of the window state
    int rowHeight;
    int topMargin;  // above the rows: the memory pane's bar
  };
  DebugPane(CZPKDebugSession& session, const Look& look);
  virtual ~DebugPane();
  DebugPane(const DebugPane&) = delete;
  DebugPane& operator=(const DebugPane&) = delete;

  // Creates the window in `mdiClient` where it stood last time, or at `first` the first time.
  bool Create(HWND mdiClient, const RECT& first);
  HWND Window() const { return window_; }
  bool IsVisible() const;
  // Hides a visible pane, or shows a hidden one.
  void Toggle();
  // Any thread.
  void Invalidate();
  // Saves the window state and hides the pane, as WM_CLOSE does.
  void Close();

  static void RegisterClass();

 protected:
  virtual void Paint(HDC dc, const RECT& client) = 0;
  virtual int32_t Rows() = 0;
  virtual int32_t Columns() = 0;
  virtual void OnCreate() {}
  virtual bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result);
  // The scroll bars after a change of the content.
  void UpdateScrollBars();
  int ClientRows() const;

  CZPKDebugSession& session_;
  Look look_;
  HWND window_ = nullptr;
  HFONT font_ = nullptr;
  PaneScroll vertical_;
  PaneScroll horizontal_;

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  LRESULT Message(UINT message, WPARAM wParam, LPARAM lParam);
  void OnScroll(int bar, WPARAM wParam);
};

class CCallHistoryWnd : public DebugPane {
 public:
  explicit CCallHistoryWnd(CZPKDebugSession& session);

 protected:
  void Paint(HDC dc, const RECT& client) override;
  int32_t Rows() override { return CZPKDebugSession::kHistorySize; }
  int32_t Columns() override;
};

class CVariableWnd : public DebugPane {
 public:
  // `imageAddress`: where the module's image lies, for the addresses shown.
  CVariableWnd(CZPKDebugSession& session, uint32_t imageAddress);

 protected:
  void Paint(HDC dc, const RECT& client) override;
  int32_t Rows() override { return rows_; }
  int32_t Columns() override;
  void OnCreate() override;
  bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result) override;

 private:
  uint32_t imageAddress_;
  pane_text::VariableFormat format_;
  uint32_t longestName_ = 0;
  int32_t rows_ = 0;  // counted once, when the session is attached
};

class CRegisterWnd : public DebugPane {
 public:
  explicit CRegisterWnd(CZPKDebugSession& session);

 protected:
  void Paint(HDC dc, const RECT& client) override;
  int32_t Rows() override { return 4; }
  int32_t Columns() override { return 56; }
};

class CStackViewWnd : public DebugPane {
 public:
  explicit CStackViewWnd(CZPKDebugSession& session);

 protected:
  void Paint(HDC dc, const RECT& client) override;
  int32_t Rows() override { return ClientRows(); }
  int32_t Columns() override { return 50; }
};

class CMemoryViewWnd : public DebugPane {
 public:
  explicit CMemoryViewWnd(CZPKDebugSession& session);

 protected:
  void Paint(HDC dc, const RECT& client) override;
  int32_t Rows() override { return 0x10000000; }
  int32_t Columns() override { return 78; }
  void OnCreate() override;
  bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam, LRESULT* result) override;

 private:
  void Apply();
  HWND address_ = nullptr;
};
