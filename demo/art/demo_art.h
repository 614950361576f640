// The demo game's pictures, drawn from nothing but arithmetic: a big landscape with a 256-colour
// palette (stored lossless), a big colour pattern, a title plate and the lens's frame (24-bit,
// stored by the block transform).
#pragma once

#include <cstdint>
#include <string>

#include "demo/demo_layout.h"
#include "tools/image/picture_io.h"

namespace demo_art {

constexpr int32_t kBigWidth = 1920;  // both scrolling pictures
constexpr int32_t kBigHeight = 1440;
constexpr int32_t kTitleWidth = 448;
constexpr int32_t kTitleHeight = 100;
constexpr int32_t kSunCentreX = 1500;  // in the landscape, partly set behind the far range
constexpr int32_t kSunCentreY = 390;

// The landscape's palette falls into bands, one per kind of ground, each a ramp from dark to
// light (the sky from the zenith to the horizon).
struct Band {
  uint8_t first;
  uint8_t count;
};
constexpr Band kSky{0, 96};
constexpr Band kSun{96, 8};
constexpr Band kFarMountains{104, 32};
constexpr Band kNearMountains{136, 32};
constexpr Band kMeadow{168, 48};
constexpr Band kWater{216, 32};
constexpr Band kMarks{248, 8};
inline bool inBand(uint8_t index, Band band) { return index >= band.first && index < band.first + band.count; }

// The heights (top row) of the far range, the near range, the meadow and the lake shore at
// column x: the rows where each layer begins, top to bottom.
struct Skyline {
  int32_t farMountains, nearMountains, meadow, lake;
};
Skyline skylineAt(int32_t x);

Picture drawLandscape();
Picture drawPattern();
Picture drawTitlePlate();
// The frame around the lens: DEMO_LENS_BORDER pixels of gold between dark lines; its inside is
// covered by the lens.
Picture drawLensFrame();

// A place's name on the map, in the landscape's palette (its marks): white capitals at scale 2
// on black in a yellow frame, kLabelHeight rows high. Empty if the name has a character
// without a glyph.
constexpr int32_t kLabelHeight = 22;
constexpr uint32_t kLabelInk = 0xFFFFFF, kLabelGround = 0x000000, kLabelBorder = 0xFFFF00;
Picture drawPlaceLabel(const std::string& name, const Picture& landscape);
// The ending's picture: a night sky with stars and "THE END", the client area's size, 24-bit.
Picture drawEnding();

// The 5 by 7 glyph of an upper-case letter, a digit, a space or one of ".-!:": row 0 on top,
// bit 4 the leftmost pixel. Null for any other character.
const uint8_t* glyphRows(char c);
// Writes `text` into a 24-bit picture with its top left corner at (x, y) (rows counted from
// the top), each glyph pixel a square of `scale`, 6 * scale from one character to the next.
// False, and nothing drawn, if a character has no glyph or the text runs outside the picture.
bool drawText(Picture* picture, int32_t x, int32_t y, const std::string& text, int32_t scale, uint32_t colour);

// A picture of black pixels (palette pictures: index 0 and an all-black palette).
Picture blankPicture(int32_t width, int32_t height, uint32_t bits);

// Pixel access in rows counted from the top; colours 0x00RRGGBB.
uint32_t colourAt(const Picture& picture, int32_t x, int32_t y);
void setColour(Picture* picture, int32_t x, int32_t y, uint32_t colour);

}  // namespace demo_art
