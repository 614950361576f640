#include "screens/screen_control.h"

#include <algorithm>
#include <cmath>

#include "graphics/graphic.h"
#include "host/exports/graphic.h"
#include "screens/screen_manager.h"

namespace {

SIZE imageSize(const Graphic* image) {
  if (!image) return SIZE{0, 0};
  return SIZE{image->Header().biWidth, image->Header().biHeight};
}

bool intersect(const RECT& a, const RECT& b, RECT* result) {
  *result = RECT{std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
                 std::min(a.bottom, b.bottom)};
  return result->left <= result->right && result->top <= result->bottom;
}

}  // namespace

void ScreenControl::OnMessage(ScreenManager& manager, uint32_t message, uint32_t wParam, int32_t lParam) {
  using namespace screen_message;
  if (message < kMouseMove || message > kRButtonUp) return;
  int32_t x = static_cast<int16_t>(lParam & 0xFFFF) - x_;
  int32_t y = static_cast<int16_t>((lParam >> 16) & 0xFFFF) - y_;
  if (message == kMouseMove) {
    OnMouseMove(manager, wParam, x, y);
    return;
  }
  if (message == kLButtonDoubleClick || HitTest(x, y) == kHitNone) return;
  switch (message) {
    case kLButtonDown:
      OnLButtonDown(manager, wParam, x, y);
      break;
    case kLButtonUp:
      OnLButtonUp(manager, wParam, x, y);
      break;
    case kRButtonDown:
      OnRButtonDown(manager, wParam, x, y);
      break;
    case kRButtonUp:
      OnRButtonUp(manager, wParam, x, y);
      break;
  }
}

ScreenRect::ScreenRect(int32_t x, int32_t y, const SIZE* size, bool enabled)
    : ScreenControl(x, y), width_(size ? size->cx : 1), height_(size ? size->cy : 1), enabled_(enabled) {}

uint32_t ScreenRect::HitTest(int32_t x, int32_t y) {
  return enabled_ && x >= 0 && x < width_ && y >= 0 && y < height_ ? kHitClick : kHitNone;
}

void ScreenRect::Redraw(ScreenManager& manager) {
  RECT area{x_, y_, x_ + width_ - 1, y_ + height_ - 1};
  manager.Repaint(&area);
}

ScreenImage::ScreenImage(int32_t x, int32_t y, const SIZE* size, Graphic* image, bool enabled)
    : ScreenRect(x, y, size, enabled), image_(image) {
  if (image && !size) {
    SIZE own = imageSize(image);
    width_ = own.cx;
    height_ = own.cy;
  }
}

void ScreenImage::Draw(Graphic* target, const RECT* rect) {
  const RECT& view = target->ViewRectangle();
  RECT area;
  if (!intersect(rect ? *rect : view, view, &area) || !image_) return;
  graphic_DrawBitmapToBitmap(image_, target, x_ + area.left, y_ + area.top, &area, 0, 0);
}

void ScreenImage::Redraw(ScreenManager& manager) {
  if (!image_) {
    ScreenRect::Redraw(manager);
    return;
  }
  SIZE size = imageSize(image_);
  RECT area{x_, y_, x_ + size.cx - 1, y_ + size.cy - 1};
  manager.Repaint(&area);
}

ScreenButton::ScreenButton(int32_t x, int32_t y, const SIZE* size, Graphic* normal, Graphic* hover, Graphic* pressed)
    : ScreenImage(x, y, size, normal, true) {
  SetImages(normal, hover, pressed);
}

void ScreenButton::SetImages(Graphic* normal, Graphic* hover, Graphic* pressed) {
  image_ = normal_ = normal;
  hover_ = hover ? hover : normal;
  pressedImage_ = pressed ? pressed : normal;
}

void ScreenButton::OnMouseMove(ScreenManager& manager, uint32_t flags, int32_t x, int32_t y) {
  Graphic* image;
  if (HitTest(x, y) == kHitNone) {
    image = normal_;
    pressed_ = 0;
  } else {
    image = pressed_ ? pressedImage_ : hover_;
  }
  if (image == image_) return;
  image_ = image;
  Redraw(manager);
}

void ScreenButton::OnLButtonDown(ScreenManager& manager, uint32_t flags, int32_t x, int32_t y) {
  pressed_ = 1;
  OnMouseMove(manager, flags, x, y);
}

void ScreenButton::OnLButtonUp(ScreenManager& manager, uint32_t flags, int32_t x, int32_t y) {
  if (!pressed_) return;
  pressed_ = 0;
  OnMouseMove(manager, flags, x, y);
  manager.PostEvent(this, kEventButton, 0);
}

ScreenSlider::ScreenSlider(Direction direction, int32_t x, int32_t y, int32_t length, Graphic* knob, int32_t minimum,
                           int32_t maximum, int32_t step)
    : ScreenRect(x, y, nullptr, true),
      direction_(direction),
      knob_(knob),
      minimum_(minimum),
      maximum_(maximum),
      step_(step) {
  SIZE knobSize = imageSize(knob);
  if (direction == Direction::Horizontal) {
    width_ = length;
    height_ = knobSize.cy;
    knobLength_ = knobSize.cx;
  } else {
    width_ = knobSize.cx;
    height_ = length;
    knobLength_ = knobSize.cy;
  }
}

// A slider whose range is a single value keeps its knob at the start.
int32_t ScreenSlider::KnobPosition() const {
  if (maximum_ == minimum_) return 0;
  return static_cast<int32_t>(static_cast<double>(TrackLength() - knobLength_) * (value_ - minimum_) /
                              (static_cast<double>(maximum_) - minimum_));
}

void ScreenSlider::SetValue(int32_t value, ScreenManager* manager) {
  // The maximum is tested first: a range whose maximum lies below its minimum holds the maximum.
  if (value > maximum_) {
    value = maximum_;
  } else if (value < minimum_) {
    value = minimum_;
  }
  if (value == value_) return;
  value_ = value;
  if (!manager) return;
  Redraw(*manager);
  manager->PostEvent(this, direction_ == Direction::Horizontal ? kEventHSlider : kEventVSlider, value);
}

void ScreenSlider::OnLButtonDown(ScreenManager& manager, uint32_t flags, int32_t x, int32_t y) {
  int32_t along = Along(x, y), knob = KnobPosition();
  if (along < knob) {
    SetValue(value_ - step_, &manager);
  } else if (along >= knob + knobLength_) {
    SetValue(value_ + step_, &manager);
  } else {
    grip_ = along - knob;
    dragging_ = 1;
    manager.Host().Post(screen_message::kSetCursor, 0, 0);
  }
}

// A track no longer than the knob has nowhere to drag to.
void ScreenSlider::OnMouseMove(ScreenManager& manager, uint32_t flags, int32_t x, int32_t y) {
  if (HitTest(x, y) == kHitNone) dragging_ = 0;
  int32_t span = TrackLength() - knobLength_;
  if (!dragging_ || span <= 0) return;
  double range = static_cast<double>(maximum_) - minimum_;
  double value = minimum_ + std::floor(range * (Along(x, y) - grip_) / span + 0.5);
  SetValue(static_cast<int32_t>(std::clamp(value, -2147483648.0, 2147483647.0)), &manager);
}

void ScreenSlider::OnLButtonUp(ScreenManager& manager, uint32_t flags, int32_t x, int32_t y) {
  dragging_ = 0;
  manager.Host().Post(screen_message::kSetCursor, 0, 0);
}

uint32_t ScreenSlider::HitTest(int32_t x, int32_t y) { return dragging_ ? kHitHeld : ScreenRect::HitTest(x, y); }

void ScreenSlider::Draw(Graphic* target, const RECT* rect) {
  int32_t knob = KnobPosition();
  RECT knobArea = direction_ == Direction::Horizontal ? RECT{knob, 0, knob + knobLength_ - 1, height_ - 1}
                                                      : RECT{0, knob, width_ - 1, knob + knobLength_ - 1};
  RECT area;
  if (!knob_ || !intersect(rect ? *rect : knobArea, knobArea, &area)) return;
  RECT source{area.left - knobArea.left, area.top - knobArea.top, area.right - knobArea.left,
              area.bottom - knobArea.top};
  graphic_DrawBitmapToBitmap(knob_, target, x_ + area.left, y_ + area.top, &source, 0, 0);
}
