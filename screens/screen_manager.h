// The manager of one menu screen: it hooks the main window's procedure, hands each mouse
// message to its controls in order, chooses the cursor by the highest hit level under the
// pointer, and queues what the controls report for the screen's own thread, which waits on the
// queue. It also draws: a repaint composes background and controls into the target picture.
#pragma once

#include <cstdint>

#include "base/os/os.h"
#include "files/ptr_array.h"
#include "screens/screen_control.h"
#include "screens/screen_host.h"

// One queued report. The source is null for the manager's own events (the right button).
struct ScreenEvent {
  ScreenControl* source;
  uint32_t message;
  int32_t id;
  int32_t value;
  uint32_t time;
  POINT position;  // the pointer on the screen when the event was queued
};

// Messages of events: a button released over itself, a slider's new value, the right button.
enum : uint32_t {
  kEventButton = 0,
  kEventHSlider = screen_message::kHScroll,
  kEventVSlider = screen_message::kVScroll,
  kEventCancel = screen_message::kRButtonDown,
};
constexpr uint32_t kEventTimeout = 0x102;

// The cursor table: level 0, 1 and 2 under the pointer, and the wait cursor of an inactive
// screen.
struct ScreenCursors {
  HCURSOR levels[3];
  HCURSOR wait;
};

class ScreenManager {
 public:
  // The cursors of level 0 and the wait cursor are the program's; levels 1 and 2 start as the
  // program's pointing hand until the screen loads its own.
  explicit ScreenManager(ScreenHost& host);
  virtual ~ScreenManager();
  ScreenManager(const ScreenManager&) = delete;
  ScreenManager& operator=(const ScreenManager&) = delete;

  // Hooks the window (once) and enables the screen.
  void Attach(Graphic* target, Graphic* background);
  // Unhooks, disables, deletes the controls and drops the queue.
  void Detach();
  // Enabled: the cursor is set again and the control under the pointer lights up at once.
  void Enable(bool enable);
  // An inactive screen shows the wait cursor and drops every message.
  void SetActive(bool active);
  // The manager owns the control from now on.
  void Add(ScreenControl* control, int32_t id);
  void RemoveAll();
  // Composes `rect` (inclusive, null: the whole target) of background and controls into the
  // target, with the window's message loop stopped, and has the window painted.
  void Repaint(const RECT* rect);
  // Queues an event; the id is that of the control (searched from the last), -1 if it has none.
  void PostEvent(ScreenControl* control, uint32_t message, int32_t value);
  // Waits up to `timeout` ms for an event: 0 with the first one taken out of the queue,
  // kEventTimeout when none came.
  uint32_t GetEvent(ScreenEvent* event, uint32_t timeout);
  void FlushEvents();

  // The hook's work, on the window's thread.
  virtual void OnWindowMessage(uint32_t message, uint32_t wParam, int32_t lParam);

  ScreenHost& Host() { return host_; }
  ScreenCursors& Cursors() { return cursors_; }
  Graphic* Target() const { return target_; }
  uint32_t GetCount() const { return controls_.GetCount(); }
  ScreenControl* GetControl(uint32_t index) const { return static_cast<ScreenControl*>(controls_.GetAt(index)); }
  bool IsAttached() const { return attached_; }

 private:
  static uint32_t RUNA1_API Hook(void* context, HWND window, uint32_t message, uint32_t wParam, int32_t lParam);

  ScreenHost& host_;
  bool attached_ = false;
  Graphic* target_ = nullptr;
  Graphic* background_ = nullptr;
  KPtrArray controls_;
  KPtrArray ids_;
  KPtrArray queue_;
  os::EventHandle queued_;  // manual reset, set while the queue holds anything
  ScreenCursors cursors_;
  uint8_t inactive_ = 0;
  os::CriticalSection lock_;
};
