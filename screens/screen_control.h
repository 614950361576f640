// The controls of the menu screens: each draws itself into the screen's picture and answers the
// mouse messages that the manager hands it. Positions are screen pixels; everything a control
// is given (points, rectangles) is relative to its own position, rectangles with inclusive
// right and bottom edges.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"

class Graphic;
class ScreenManager;

// Hit levels, which choose the cursor: nothing, something to click, something held.
enum : uint32_t { kHitNone = 0, kHitClick = 1, kHitHeld = 2 };

class ScreenControl {
 public:
  ScreenControl(int32_t x, int32_t y) : x_(x), y_(y) {}
  virtual ~ScreenControl() = default;
  ScreenControl(const ScreenControl&) = delete;
  ScreenControl& operator=(const ScreenControl&) = delete;

  // Mouse messages (0x200 to 0x205) with the point made relative: a move always goes on, the
  // buttons only where HitTest answers; a double click goes nowhere.
  virtual void OnMessage(ScreenManager& manager, uint32_t message, uint32_t wParam, int32_t lParam);
  virtual void OnMouseMove(ScreenManager& manager, uint32_t flags, int32_t x, int32_t y) {}
  virtual void OnLButtonDown(ScreenManager& manager, uint32_t flags, int32_t x, int32_t y) {}
  virtual void OnLButtonUp(ScreenManager& manager, uint32_t flags, int32_t x, int32_t y) {}
  virtual void OnRButtonDown(ScreenManager& manager, uint32_t flags, int32_t x, int32_t y) {}
  virtual void OnRButtonUp(ScreenManager& manager, uint32_t flags, int32_t x, int32_t y) {}
  virtual void Draw(Graphic* target, const RECT* rect) {}
  virtual uint32_t HitTest(int32_t x, int32_t y) { return kHitNone; }

  POINT GetPosition() const { return POINT{x_, y_}; }
  void SetPosition(int32_t x, int32_t y) {
    x_ = x;
    y_ = y;
  }

 protected:
  int32_t x_, y_;
};

// A rectangle that can be switched off: a disabled one is never hit.
class ScreenRect : public ScreenControl {
 public:
  // A null size is 1 by 1.
  ScreenRect(int32_t x, int32_t y, const SIZE* size, bool enabled);
  uint32_t HitTest(int32_t x, int32_t y) override;
  // Repaints the control's rectangle on the screen.
  virtual void Redraw(ScreenManager& manager);
  void SetEnabled(bool enabled) { enabled_ = enabled; }
  bool IsEnabled() const { return enabled_; }
  SIZE GetSize() const { return SIZE{width_, height_}; }

 protected:
  int32_t width_, height_;
  uint8_t enabled_;
};

// An image, or nothing when it has none. With an image and a null size the control takes the
// image's size.
class ScreenImage : public ScreenRect {
 public:
  ScreenImage(int32_t x, int32_t y, const SIZE* size, Graphic* image, bool enabled);
  void Draw(Graphic* target, const RECT* rect) override;
  // The image's rectangle when there is an image.
  void Redraw(ScreenManager& manager) override;
  Graphic* GetImage() const { return image_; }

 protected:
  Graphic* image_;
};

// A button that shows its hover image under the pointer and its pressed image while held, and
// reports a release over itself (message 0). A press moved off the button is lost, even when
// the pointer comes back. A null hover or pressed image is the normal one, and a button without
// images is an invisible hit area.
class ScreenButton : public ScreenImage {
 public:
  ScreenButton(int32_t x, int32_t y, const SIZE* size, Graphic* normal, Graphic* hover, Graphic* pressed);
  void OnMouseMove(ScreenManager& manager, uint32_t flags, int32_t x, int32_t y) override;
  void OnLButtonDown(ScreenManager& manager, uint32_t flags, int32_t x, int32_t y) override;
  void OnLButtonUp(ScreenManager& manager, uint32_t flags, int32_t x, int32_t y) override;
  // Nothing is redrawn.
  void SetImages(Graphic* normal, Graphic* hover, Graphic* pressed);

 private:
  Graphic* normal_;
  Graphic* hover_;
  uint8_t pressed_ = 0;
  Graphic* pressedImage_;
};

// A slider: a knob on a track (the track belongs to the background). A click before or behind
// the knob steps the value, a drag on the knob sets it; each change of the value is reported
// with message 0x114 (horizontal) or 0x115 (vertical). One class serves both directions.
class ScreenSlider : public ScreenRect {
 public:
  enum class Direction { Horizontal, Vertical };

  // `length` is the track's; across it the control is as big as the knob. Value 0 at first.
  ScreenSlider(Direction direction, int32_t x, int32_t y, int32_t length, Graphic* knob, int32_t minimum,
               int32_t maximum, int32_t step);
  void OnMouseMove(ScreenManager& manager, uint32_t flags, int32_t x, int32_t y) override;
  void OnLButtonDown(ScreenManager& manager, uint32_t flags, int32_t x, int32_t y) override;
  void OnLButtonUp(ScreenManager& manager, uint32_t flags, int32_t x, int32_t y) override;
  void Draw(Graphic* target, const RECT* rect) override;
  // While the knob is dragged: held, wherever the pointer is.
  uint32_t HitTest(int32_t x, int32_t y) override;

  int32_t GetValue() const { return value_; }
  // Limits the value to minimum..maximum. A change is stored; with a manager it is also drawn
  // and reported. Without one it is stored silently (a screen's first value).
  void SetValue(int32_t value, ScreenManager* manager);
  // Where the knob starts along the track.
  int32_t KnobPosition() const;
  bool IsDragging() const { return dragging_; }

 private:
  int32_t Along(int32_t x, int32_t y) const { return direction_ == Direction::Horizontal ? x : y; }
  int32_t TrackLength() const { return direction_ == Direction::Horizontal ? width_ : height_; }

  Direction direction_;
  Graphic* knob_;
  int32_t knobLength_;
  int32_t minimum_, maximum_, step_;
  int32_t value_ = 0;
  uint8_t dragging_ = 0;
  int32_t grip_ = 0;
};

class ScreenHSlider : public ScreenSlider {
 public:
  ScreenHSlider(int32_t x, int32_t y, int32_t length, Graphic* knob, int32_t minimum, int32_t maximum, int32_t step)
      : ScreenSlider(Direction::Horizontal, x, y, length, knob, minimum, maximum, step) {}
};

class ScreenVSlider : public ScreenSlider {
 public:
  ScreenVSlider(int32_t x, int32_t y, int32_t length, Graphic* knob, int32_t minimum, int32_t maximum, int32_t step)
      : ScreenSlider(Direction::Vertical, x, y, length, knob, minimum, maximum, step) {}
};
