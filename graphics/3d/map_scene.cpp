#include "graphics/3d/map_scene.h"

#include <algorithm>

#include "base/os/os.h"
#include "graphics/3d/texture_polygon.h"
#include "graphics/3d/texture_rows.h"
#include "graphics/graphic.h"

namespace k3d {

void drawFrameScreen(Graphic& destination, const int32_t clip[4], const int32_t center[2], int32_t focal,
                     Graphic& map, const K3DVector& eye, const K3DVector& target) {
  K3DRevolution yAngle, xAngle;
  revolutionYXAxis(&yAngle, &xAngle, {target.x - eye.x, target.y - eye.y, target.z - eye.z});
  ImageInfo mapInfo{}, screenInfo{};
  mapInfo.size = screenInfo.size = sizeof(ImageInfo);
  map.GetImageInfo(&mapInfo);
  destination.GetImageInfo(&screenInfo);

  // The map's corners, closed by its origin again (the texture's origin), and its two axes.
  const double w = mapInfo.width - 1, h = mapInfo.height - 1;
  K3DVector corners[5] = {{0, 0, 0}, {w, 0, 0}, {w, 0, h}, {0, 0, h}, {0, 0, 0}};
  for (K3DVector& corner : corners) corner = {corner.x - eye.x, corner.y - eye.y, corner.z - eye.z};
  K3DVector axes[2] = {{1, 0, 0}, {0, 0, 1}};
  revolveYAxis(corners, corners, yAngle, 5);
  revolveXAxis(corners, corners, xAngle, 5);
  revolveYAxis(axes, axes, yAngle, 2);
  revolveXAxis(axes, axes, xAngle, 2);

  K3DVector visible[5];
  K3DPoint projected[5], clipped[20];
  const uint32_t inFront = clipZBelow(visible, corners, 4, 2);
  project2DScreen(projected, visible, inFront, center, focal);
  const uint32_t count = clipDispRect(clipped, projected, inFront, clip);

  if (!screenInfo.pixels) return;
  // The fill takes the palette index nearest to black in the palette as displayed.
  destination.UpdatePalette();
  os::Lock hold(destination.Lock());
  RECT area{clip[0], clip[1], clip[2], clip[3]};
  mqFillRectangle(destination.BitmapInfo(), destination.Pixels(), nullptr, &area, 0, 0, 0);
  if (count > 0 && mapInfo.pixels)
    drawTexturePolygon(screenInfo, clipped, count, mapInfo, corners[4], axes[0], axes[1], center, focal);
}

uint32_t inputOfKey(uint32_t virtualKey) {
  enum : uint32_t { kReturn = 13, kEscape = 27, kSpace = 32, kLeft = 37, kUp = 38, kRight = 39, kDown = 40 };
  if (virtualKey >= '0' && virtualKey <= '9') return virtualKey + 48;
  switch (virtualKey) {
    case kLeft: return 100;
    case kUp: return 104;
    case kRight: return 102;
    case kDown: return 98;
    case kReturn:
    case kSpace: return kInputDecide;
    case kEscape: return kInputIgnored;
    default: return virtualKey;
  }
}

MouseInput inputOfMouse(POINT cursor, POINT centre) {
  constexpr int32_t kZone = 32;
  const uint32_t across = cursor.x < centre.x - kZone ? 0 : cursor.x > centre.x + kZone ? 2 : 1;
  const uint32_t upDown = cursor.y < centre.y - kZone ? 7 : cursor.y > centre.y + kZone ? 1 : 4;
  if (across == 1 && upDown == 4) return {0, false, false};
  return {upDown + across + 96, across != 1, upDown != 4};
}

std::vector<MapPlace> cameraStations(const int32_t* places, int32_t count) {
  std::vector<MapPlace> stations(count);
  for (int32_t i = 0; i < count; ++i) {
    const int32_t next = i + 1 == count ? 0 : i + 1;
    stations[i] = {meanOf(places[2 * i], places[2 * next]), meanOf(places[2 * i + 1], places[2 * next + 1])};
  }
  return stations;
}

MapCamera cameraAt(const MapPlace& station, const MapPlace& place, int32_t height, int32_t focal) {
  const int32_t steps = static_cast<int32_t>(~0u << (height + 12));  // -2^(height + 12)
  const double y = double(steps) * focal * 1.52587890625e-5;
  return {{double(station.x), y, double(station.z)}, {double(place.x), 0.0, double(place.z)}};
}

MapCamera cameraBetween(const MapCamera& from, const MapCamera& to, double r) {
  auto mix = [r](const K3DVector& a, const K3DVector& b) {
    return K3DVector{a.x + (b.x - a.x) * r, a.y + (b.y - a.y) * r, a.z + (b.z - a.z) * r};
  };
  return {mix(from.eye, to.eye), mix(from.target, to.target)};
}

MapCamera cameraOfDecision(const MapCamera& camera) {
  const K3DVector &e = camera.eye, &t = camera.target;
  return {{t.x - (e.x - t.x) * -0.1, t.y - (e.y - t.y) * -0.1, t.z - (e.z - t.z) * -0.1}, t};
}

namespace {

int32_t wrapped(int32_t index, int32_t count) {
  const int32_t rest = index % count;
  return rest < 0 ? rest + count : rest;
}

}  // namespace

MapSelection startSelection(int32_t place, int32_t height, int32_t placeCount) {
  const int32_t current = wrapped(place, placeCount);
  return {current, height < 0 ? 3 : std::min(height, 6), wrapped(current - 2, placeCount)};
}

bool applyMove(MapSelection& selection, uint32_t code, int32_t placeCount, int32_t* dx) {
  if (code < 97 || code > 105) return false;
  const int32_t across = int32_t(code - 97) % 3 - 1, dy = int32_t(code - 97) / 3 - 1;
  if (across == 0 && dy == 0) return false;
  const int32_t height = selection.height + dy;
  if (height < 0 || height > 6) return false;
  *dx = across;
  int32_t place = selection.place + across;
  if (place < 0) place = placeCount - 1;
  else if (place >= placeCount) place = 0;
  selection.place = place;
  selection.height = height;
  if (across != 0) selection.station = wrapped(selection.station + (across < 0 ? 1 : -2), placeCount);
  return true;
}

}  // namespace k3d
