#include "host/frame/picture_scale.h"

#include <algorithm>
#include <cstdint>

namespace {

// floor(value * to / from) and its ceiling, for values that may lie outside the picture.
int64_t scaleDown(int64_t value, int64_t to, int64_t from) {
  int64_t product = value * to;
  return product >= 0 ? product / from : -((-product + from - 1) / from);
}
int64_t scaleUp(int64_t value, int64_t to, int64_t from) { return -scaleDown(-value, to, from); }

LONG clampToLong(int64_t value) {
  return static_cast<LONG>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
}

}  // namespace

PictureScale PictureScale::Fit(SIZE picture, const RECT& area) {
  int64_t areaWidth = area.right - area.left, areaHeight = area.bottom - area.top;
  int64_t width = std::max<LONG>(picture.cx, 1), height = std::max<LONG>(picture.cy, 1);
  int64_t factor = std::min(areaWidth / width, areaHeight / height);
  int64_t shownWidth, shownHeight;
  if (factor >= 1) {
    shownWidth = width * factor;
    shownHeight = height * factor;
  } else if (areaWidth * height <= areaHeight * width) {
    shownWidth = areaWidth;
    shownHeight = areaWidth * height / width;
  } else {
    shownWidth = areaHeight * width / height;
    shownHeight = areaHeight;
  }
  LONG left = static_cast<LONG>(area.left + (areaWidth - shownWidth) / 2);
  LONG top = static_cast<LONG>(area.top + (areaHeight - shownHeight) / 2);
  return PictureScale{picture, RECT{left, top, static_cast<LONG>(left + shownWidth), static_cast<LONG>(top + shownHeight)}};
}

POINT PictureScale::ToPicture(POINT window) const {
  int64_t shownWidth = std::max<LONG>(destination.right - destination.left, 1);
  int64_t shownHeight = std::max<LONG>(destination.bottom - destination.top, 1);
  int64_t x = scaleDown(window.x - destination.left, picture.cx, shownWidth);
  int64_t y = scaleDown(window.y - destination.top, picture.cy, shownHeight);
  return POINT{static_cast<LONG>(std::clamp<int64_t>(x, 0, std::max<LONG>(picture.cx - 1, 0))),
               static_cast<LONG>(std::clamp<int64_t>(y, 0, std::max<LONG>(picture.cy - 1, 0)))};
}

RECT PictureScale::ToWindow(const RECT& area) const {
  int64_t shownWidth = destination.right - destination.left, shownHeight = destination.bottom - destination.top;
  int64_t width = std::max<LONG>(picture.cx, 1), height = std::max<LONG>(picture.cy, 1);
  return RECT{clampToLong(destination.left + scaleDown(area.left, shownWidth, width)),
              clampToLong(destination.top + scaleDown(area.top, shownHeight, height)),
              clampToLong(destination.left + scaleUp(area.right, shownWidth, width)),
              clampToLong(destination.top + scaleUp(area.bottom, shownHeight, height))};
}
