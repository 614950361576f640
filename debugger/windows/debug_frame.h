// CDbgMDIFrm: the debugger's MDI frame, with its menu, tool bar and status bar, the five panes
// and the source text view. It answers the debug filter (DebugFrame) from the module's
// threads: panes are invalidated from there, everything else is sent to the frame's thread.
#pragma once

#include <windows.h>

#include <array>
#include <atomic>
#include <memory>
#include <string>

#include "debugger/debug_filter.h"

class CDebugWinThread;
class DebugPane;
class CTextViewer;

enum DebugCommand : UINT {
  kCommandMemory = 0x8003,
  kCommandVariables = 0x8004,
  kCommandStop = 0x8005,
  kCommandForceEnd = 0x8007,
  kCommandStopList = 0x8008,
  kCommandRun = 0x800D,
  kCommandHistory = 0x8012,
  kCommandRegisters = 0x801B,
  kCommandStack = 0x801E,
};

class CDbgMDIFrm : public DebugFrame {
 public:
  explicit CDbgMDIFrm(CDebugWinThread& debugger);
  ~CDbgMDIFrm() override;

  // Creates the frame with its saved rectangle and the panes; false on failure.
  bool Create();
  HWND Window() const { return window_; }
  HWND MdiClient() const { return client_; }

  void RegistersChanged() override;
  void HistoryChanged() override;
  void ShowSourceOf(const std::string& procedure) override;
  void ShowStop(const char* text) override;
  void Stop() override;
  void WaitForRun() override;
  void ForceEnd() override;

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  LRESULT Message(UINT message, WPARAM wParam, LPARAM lParam);
  void OnCreate();
  void OnSize();
  void OnCommand(UINT command);
  void OnClose();
  void UpdateMenu(HMENU menu);
  void OpenSource(const char* procedure);
  void SaveState();
  DebugPane* PaneOf(UINT command) const;

  CDebugWinThread& debugger_;
  HWND window_ = nullptr;
  HWND client_ = nullptr;
  HWND toolBar_ = nullptr;
  HWND statusBar_ = nullptr;
  // Call history, variables, registers, stack, memory.
  std::array<std::unique_ptr<DebugPane>, 5> panes_;
  std::unique_ptr<CTextViewer> source_;
  // The command comes from the filter, which holds its lock.
  std::atomic<bool> fromFilter_{false};
  void SendFromFilter(UINT command);
};
