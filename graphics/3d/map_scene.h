// The map scene: a map image lying on the ground (texel (u, v) at the world point (u, 0, v)),
// seen by a camera above it (negative y), and the arithmetic of the selection that flies the
// camera from place to place. The selection's loop over the main window is the host's
// (host/map/); everything here is portable.
#pragma once

#include <cstdint>
#include <vector>

#include "base/os/win32_types.h"
#include "graphics/3d/geometry.h"

class Graphic;

namespace k3d {

// Draws one frame: fills `clip` (left, top, right, bottom, inclusive) of the 8-bit destination
// with black (the palette index nearest to it) and the part of the map that the camera at `eye`, looking at `target`, sees
// in it. eye equal to target is not guarded (not-a-number angles: nothing is drawn).
void drawFrameScreen(Graphic& destination, const int32_t clip[4], const int32_t center[2], int32_t focal,
                     Graphic& map, const K3DVector& eye, const K3DVector& target);

// ---- The selection --------------------------------------------------------------------------
// Input codes are those of the numeric keypad, 96 + n for the key n: 97 to 105 move (n - 1)
// mod 3 - 1 across and (n - 1) / 3 - 1 in height, 101 decides, 96 is ignored.
constexpr uint32_t kInputIgnored = 96;
constexpr uint32_t kInputDecide = 101;

// The code a key posts: digits 0 to 9 as keypad digits, the arrows as keypad 4, 8, 6 and 2,
// Enter and Space decide, Escape is ignored; other keys post their own virtual key code.
uint32_t inputOfKey(uint32_t virtualKey);

// The mouse as a joystick around the centre of the client area (screen coordinates): outside a
// zone of 32 pixels it posts the keypad code of its direction, and the cursor goes back to the
// centre on each axis that was out. Code 0: inside the zone, nothing is posted.
struct MouseInput {
  uint32_t code;
  bool outsideX, outsideY;
};
MouseInput inputOfMouse(POINT cursor, POINT centre);

struct MapPlace {
  int32_t x, z;
};

struct MapCamera {
  K3DVector eye, target;
};

// Where the camera stands for each place: the mean of the place and the next one (wrapping),
// each coordinate as (a + b) >> 1.
std::vector<MapPlace> cameraStations(const int32_t* places, int32_t count);
// The camera above `station`, looking at `place`, at height step `height` (0 to 6): the height
// doubles at each step and scales with the window's focal distance.
MapCamera cameraAt(const MapPlace& station, const MapPlace& place, int32_t height, int32_t focal);
// The camera a part r (0 to 1) of the way from `from` to `to`, both points linearly.
MapCamera cameraBetween(const MapCamera& from, const MapCamera& to, double r);
// The camera of a decision: the eye flies 90 % of the way to the target.
MapCamera cameraOfDecision(const MapCamera& camera);

// The place, the height step and the camera station of a selection.
struct MapSelection {
  int32_t place, height, station;
};
// The selection at the start: `place` is the caller's index (wrapped into the places), a
// negative height means 3 and one above 6 is 6, and the station is the place's minus 2,
// wrapped.
MapSelection startSelection(int32_t place, int32_t height, int32_t placeCount);
// Applies a move code (97 to 105) and gives true, with the sideways step in `dx`, or false for
// codes that move nothing: other codes, the centre, and height steps outside 0 to 6 (whose
// sideways part is dropped too). A step left moves the station by +1, a step right by -2,
// wrapping around the places.
bool applyMove(MapSelection& selection, uint32_t code, int32_t placeCount, int32_t* dx);

}  // namespace k3d
