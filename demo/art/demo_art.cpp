// The demo's pictures. Everything comes from a hashed value noise and a few sine waves, so the
// same build always draws the same pixels.
#include "demo/art/demo_art.h"

#include <algorithm>
#include <cmath>

namespace demo_art {

namespace {

// A pseudo-random value in [0, 1) for each integer lattice point of a noise with its own seed.
double lattice(int32_t point, uint32_t seed) {
  uint32_t h = uint32_t(point) * 0x9E3779B1u ^ seed * 0x85EBCA77u;
  h ^= h >> 15;
  h *= 0x2C1B3C6Du;
  h ^= h >> 12;
  h *= 0x297A2D39u;
  h ^= h >> 15;
  return (h >> 8) / double(1u << 24);
}

// Smoothly interpolated value noise along one axis.
double valueNoise(double t, uint32_t seed) {
  double cell = std::floor(t);
  double f = t - cell;
  double smooth = f * f * (3 - 2 * f);
  double a = lattice(int32_t(cell), seed), b = lattice(int32_t(cell) + 1, seed);
  return a + (b - a) * smooth;
}

// Five octaves of value noise: a ridge line, in [0, 1).
double ridge(double t, uint32_t seed) {
  double sum = 0, amplitude = 0.5;
  for (int octave = 0; octave < 5; ++octave) {
    sum += amplitude * valueNoise(t, seed + uint32_t(octave));
    t *= 2.03;
    amplitude *= 0.5;
  }
  return sum / 0.96875;  // the amplitudes' sum, so that the result stays below 1
}

uint32_t lerpColour(uint32_t from, uint32_t to, int32_t step, int32_t steps) {
  uint32_t result = 0;
  for (int shift = 0; shift <= 16; shift += 8) {
    int32_t a = (from >> shift) & 0xFF, b = (to >> shift) & 0xFF;
    result |= uint32_t(a + (b - a) * step / std::max(steps - 1, 1)) << shift;
  }
  return result;
}

void fillBand(Picture* picture, Band band, uint32_t dark, uint32_t light) {
  for (int32_t i = 0; i < band.count; ++i) {
    uint32_t c = lerpColour(dark, light, i, band.count);
    picture->palette[band.first + i] = {uint8_t(c), uint8_t(c >> 8), uint8_t(c >> 16), 0};
  }
}

uint8_t shade(Band band, double level) {
  return uint8_t(band.first + std::clamp(int32_t(level), 0, band.count - 1));
}


uint8_t* rowFromTop(Picture* picture, int32_t y) {
  return picture->pixels.data() + size_t(picture->height - 1 - y) * picture->pitch();
}

// The landscape's index at (x, y), below the skyline of column x.
// The slopes of the two ranges are taken over 25 columns: the fine octaves would stripe them.
struct Slopes {
  double farMountains, nearMountains;
};

Slopes slopesAt(int32_t x) {
  Skyline left = skylineAt(x - 12), right = skylineAt(x + 12);
  return {(right.farMountains - left.farMountains) / 24.0, (right.nearMountains - left.nearMountains) / 24.0};
}

// A rough texture for rock and grass: value noise whose rows are shifted by another noise.
double roughness(int32_t x, int32_t y, double columnScale, uint32_t seed) {
  return valueNoise(x / columnScale + valueNoise(y / 4.0, seed) * 8, seed + 1 + uint32_t(y / 3));
}

// A range lit from the left: near its ridge a slope rising to the right is bright; further
// down the haze takes over and lightens the foot.
double mountainLevel(int32_t x, int32_t y, int32_t ridgeTop, double slope, uint32_t seed) {
  double depth = y - ridgeTop;
  return 12 - slope * 14 * std::exp(-depth / 90) + depth / 22 + roughness(x, y, 9, seed) * 5;
}

uint8_t landscapeIndex(int32_t x, int32_t y, const Skyline& here, const Slopes& slopes) {
  if (y < here.farMountains) {
    double d = std::hypot(double(x - kSunCentreX), double(y - kSunCentreY));
    if (d < 60) return kSun.first + kSun.count - 1;
    if (d < 110) return shade(kSun, (110 - d) * kSun.count / 50.0);
    return shade(kSky, y * kSky.count / 640.0);
  }
  if (y < here.nearMountains) {
    return shade(kFarMountains, mountainLevel(x, y, here.farMountains, slopes.farMountains, 61));
  }
  if (y < here.meadow) return shade(kNearMountains, mountainLevel(x, y, here.nearMountains, slopes.nearMountains, 67));
  if (y < here.lake) {
    // Fence posts every 160 columns at the meadow's upper edge, so that scrolling shows.
    if (x % 160 < 4 && y < here.meadow + 28) return kMarks.first + (x % 160 < 2 ? 0 : 2);
    return shade(kMeadow, 38 - (y - here.meadow) / 9.0 + roughness(x, y, 6, 91) * 10);
  }
  double ripple = std::sin(y * 0.35 + 6 * valueNoise(x / 90.0, 55));
  return shade(kWater, 10 + 6 * ripple + (y - here.lake) / 16.0);
}

const uint8_t kGlyphs[][7] = {
    {0x0E, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11}, {0x1E, 0x11, 0x11, 0x1E, 0x11, 0x11, 0x1E},  // A B
    {0x0E, 0x11, 0x10, 0x10, 0x10, 0x11, 0x0E}, {0x1E, 0x11, 0x11, 0x11, 0x11, 0x11, 0x1E},  // C D
    {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x1F}, {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x10},  // E F
    {0x0E, 0x11, 0x10, 0x17, 0x11, 0x11, 0x0F}, {0x11, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11},  // G H
    {0x0E, 0x04, 0x04, 0x04, 0x04, 0x04, 0x0E}, {0x07, 0x02, 0x02, 0x02, 0x02, 0x12, 0x0C},  // I J
    {0x11, 0x12, 0x14, 0x18, 0x14, 0x12, 0x11}, {0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x1F},  // K L
    {0x11, 0x1B, 0x15, 0x15, 0x11, 0x11, 0x11}, {0x11, 0x11, 0x19, 0x15, 0x13, 0x11, 0x11},  // M N
    {0x0E, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}, {0x1E, 0x11, 0x11, 0x1E, 0x10, 0x10, 0x10},  // O P
    {0x0E, 0x11, 0x11, 0x11, 0x15, 0x12, 0x0D}, {0x1E, 0x11, 0x11, 0x1E, 0x14, 0x12, 0x11},  // Q R
    {0x0F, 0x10, 0x10, 0x0E, 0x01, 0x01, 0x1E}, {0x1F, 0x04, 0x04, 0x04, 0x04, 0x04, 0x04},  // S T
    {0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}, {0x11, 0x11, 0x11, 0x11, 0x11, 0x0A, 0x04},  // U V
    {0x11, 0x11, 0x11, 0x15, 0x15, 0x15, 0x0A}, {0x11, 0x11, 0x0A, 0x04, 0x0A, 0x11, 0x11},  // W X
    {0x11, 0x11, 0x0A, 0x04, 0x04, 0x04, 0x04}, {0x1F, 0x01, 0x02, 0x04, 0x08, 0x10, 0x1F},  // Y Z
    {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E}, {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E},  // 0 1
    {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F}, {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E},  // 2 3
    {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02}, {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E},  // 4 5
    {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E}, {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08},  // 6 7
    {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E}, {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C},  // 8 9
    {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00}, {0x00, 0x00, 0x00, 0x00, 0x00, 0x0C, 0x0C},  // space .
    {0x00, 0x00, 0x00, 0x1F, 0x00, 0x00, 0x00}, {0x04, 0x04, 0x04, 0x04, 0x04, 0x00, 0x04},  // - !
    {0x00, 0x0C, 0x0C, 0x00, 0x0C, 0x0C, 0x00},                                              // :
};
const char kPunctuation[] = " .-!:";

}  // namespace

Skyline skylineAt(int32_t x) {
  return {330 + int32_t(220 * ridge(x / 420.0, 11)), 560 + int32_t(200 * ridge(x / 260.0, 23)),
          880 + int32_t(110 * ridge(x / 170.0, 37)), 1180 + int32_t(40 * ridge(x / 300.0, 41))};
}

Picture drawLandscape() {
  Picture picture = blankPicture(kBigWidth, kBigHeight, 8);
  fillBand(&picture, kSky, 0x142878, 0xFAC896);
  fillBand(&picture, kSun, 0xFFD28C, 0xFFFFE6);
  fillBand(&picture, kFarMountains, 0x3C466E, 0xAAB4D2);
  fillBand(&picture, kNearMountains, 0x1E3C32, 0x789678);
  fillBand(&picture, kMeadow, 0x144614, 0x96D250);
  fillBand(&picture, kWater, 0x0A1E50, 0x5A96D2);
  const uint32_t marks[kMarks.count] = {0xFFFFFF, 0x000000, 0x785028, 0xC82828, 0x404040, 0x808080, 0xC0C0C0, 0xFFFF00};
  for (int32_t i = 0; i < kMarks.count; ++i) {
    picture.palette[kMarks.first + i] = {uint8_t(marks[i]), uint8_t(marks[i] >> 8), uint8_t(marks[i] >> 16), 0};
  }
  for (int32_t x = 0; x < kBigWidth; ++x) {
    Skyline here = skylineAt(x);
    Slopes slopes = slopesAt(x);
    for (int32_t y = 0; y < kBigHeight; ++y) rowFromTop(&picture, y)[x] = landscapeIndex(x, y, here, slopes);
  }
  return picture;
}

Picture drawPattern() {
  Picture picture = blankPicture(kBigWidth, kBigHeight, 24);
  for (int32_t y = 0; y < kBigHeight; ++y) {
    for (int32_t x = 0; x < kBigWidth; ++x) {
      double rings = std::hypot(double(x - kBigWidth / 2), double(y - kBigHeight / 2)) / 40.0;
      double v = std::sin(x / 61.0) + std::sin(y / 47.0) + std::sin((x + y) / 89.0) + std::sin(rings);
      auto channel = [v](double phase) { return uint32_t(127.5 + 127 * std::sin(v * 1.6 + phase)); };
      setColour(&picture, x, y, channel(0) << 16 | channel(2.1) << 8 | channel(4.2));
    }
  }
  return picture;
}

Picture drawTitlePlate() {
  Picture picture = blankPicture(kTitleWidth, kTitleHeight, 24);
  constexpr int32_t kBorder = 3;
  for (int32_t y = 0; y < kTitleHeight; ++y) {
    uint32_t background = lerpColour(0x28145A, 0x0A1E50, y, kTitleHeight);
    for (int32_t x = 0; x < kTitleWidth; ++x) {
      bool border = x < kBorder || y < kBorder || x >= kTitleWidth - kBorder || y >= kTitleHeight - kBorder;
      setColour(&picture, x, y, border ? 0xE0B040 : background);
    }
  }
  const std::string title = "RUNA1 DEMO", help = "ENTER PLAYS   L LOADS   ESC ENDS";
  int32_t titleX = (kTitleWidth - (int32_t(title.size()) * 6 - 1) * 6) / 2;
  int32_t helpX = (kTitleWidth - (int32_t(help.size()) * 6 - 1) * 2) / 2;
  drawText(&picture, titleX + 3, 15, title, 6, 0x201030);
  drawText(&picture, titleX, 12, title, 6, 0xFFFFFF);
  drawText(&picture, helpX, 74, help, 2, 0xE0B040);
  return picture;
}

Picture drawLensFrame() {
  Picture picture = blankPicture(DEMO_LENS_WIDTH + 2 * DEMO_LENS_BORDER, DEMO_LENS_HEIGHT + 2 * DEMO_LENS_BORDER, 24);
  for (int32_t y = 0; y < picture.height; ++y) {
    for (int32_t x = 0; x < picture.width; ++x) {
      int32_t edge = std::min({x, y, picture.width - 1 - x, picture.height - 1 - y});
      setColour(&picture, x, y, edge == 0 || edge == DEMO_LENS_BORDER - 1 ? 0x201030 : 0xE0B040);
    }
  }
  return picture;
}

const uint8_t* glyphRows(char c) {
  if (c >= 'A' && c <= 'Z') return kGlyphs[c - 'A'];
  if (c >= '0' && c <= '9') return kGlyphs[26 + c - '0'];
  for (int i = 0; kPunctuation[i]; ++i) {
    if (kPunctuation[i] == c) return kGlyphs[36 + i];
  }
  return nullptr;
}

bool drawText(Picture* picture, int32_t x, int32_t y, const std::string& text, int32_t scale, uint32_t colour) {
  int32_t width = (int32_t(text.size()) * 6 - 1) * scale;
  if (text.empty() || scale < 1 || x < 0 || y < 0 || x + width > picture->width || y + 7 * scale > picture->height) {
    return false;
  }
  for (char c : text) {
    if (!glyphRows(c)) return false;
  }
  for (size_t i = 0; i < text.size(); ++i) {
    const uint8_t* rows = glyphRows(text[i]);
    for (int32_t row = 0; row < 7 * scale; ++row) {
      for (int32_t column = 0; column < 5 * scale; ++column) {
        if (rows[row / scale] & (0x10 >> (column / scale))) {
          setColour(picture, x + int32_t(i) * 6 * scale + column, y + row, colour);
        }
      }
    }
  }
  return true;
}

Picture blankPicture(int32_t width, int32_t height, uint32_t bits) {
  Picture picture;
  picture.width = width;
  picture.height = height;
  picture.bits = bits;
  if (bits <= 8) picture.palette.assign(size_t(1) << bits, RGBQUAD{0, 0, 0, 0});
  picture.pixels.assign(size_t(picture.pitch()) * height, 0);
  return picture;
}

Picture drawPlaceLabel(const std::string& name, const Picture& landscape) {
  constexpr int32_t kScale = 2, kPad = 4;
  const int32_t width = (int32_t(name.size()) * 6 - 1) * kScale + 2 * kPad;
  Picture lettering = blankPicture(width, kLabelHeight, 24);
  for (int32_t y = 0; y < kLabelHeight; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      bool border = x == 0 || y == 0 || x == width - 1 || y == kLabelHeight - 1;
      setColour(&lettering, x, y, border ? kLabelBorder : kLabelGround);
    }
  }
  if (!drawText(&lettering, kPad, kPad, name, kScale, kLabelInk)) return Picture{};
  // The same picture in the landscape's palette: each colour is one of its marks.
  Picture label = blankPicture(width, kLabelHeight, 8);
  label.palette = landscape.palette;
  auto markOf = [&](uint32_t colour) {
    for (int32_t i = 0; i < kMarks.count; ++i) {
      const RGBQUAD& c = landscape.palette[kMarks.first + i];
      if ((uint32_t(c.rgbRed) << 16 | uint32_t(c.rgbGreen) << 8 | c.rgbBlue) == colour) return uint8_t(kMarks.first + i);
    }
    return uint8_t(kMarks.first);
  };
  for (int32_t y = 0; y < kLabelHeight; ++y) {
    for (int32_t x = 0; x < width; ++x) rowFromTop(&label, y)[x] = markOf(colourAt(lettering, x, y));
  }
  return label;
}

Picture drawEnding() {
  Picture picture = blankPicture(DEMO_CLIENT_WIDTH, DEMO_CLIENT_HEIGHT, 24);
  for (int32_t y = 0; y < picture.height; ++y) {
    for (int32_t x = 0; x < picture.width; ++x) {
      // A night sky with a few stars where a hash of the point is high.
      bool star = lattice(y * DEMO_CLIENT_WIDTH + x, 7) > 0.9985;
      setColour(&picture, x, y, star ? 0xFFFFF0 : lerpColour(0x05081E, 0x2A1E50, y, picture.height));
    }
  }
  const struct {
    const char* text;
    int32_t y, scale;
    uint32_t colour;
  } lines[] = {{"THE END", 150, 8, 0xFFFFFF}, {"THANK YOU FOR PLAYING", 250, 3, 0xE0B040},
               {"ENTER: BACK TO THE TITLE", 400, 2, 0xA0A0C0}};
  for (const auto& line : lines) {
    int32_t width = (int32_t(std::string(line.text).size()) * 6 - 1) * line.scale;
    drawText(&picture, (picture.width - width) / 2, line.y, line.text, line.scale, line.colour);
  }
  return picture;
}

uint32_t colourAt(const Picture& picture, int32_t x, int32_t y) {
  const uint8_t* row = picture.pixels.data() + size_t(picture.height - 1 - y) * picture.pitch();
  if (picture.bits == 8) {
    const RGBQUAD& c = picture.palette[row[x]];
    return uint32_t(c.rgbRed) << 16 | uint32_t(c.rgbGreen) << 8 | c.rgbBlue;
  }
  const uint8_t* p = row + x * 3;
  return uint32_t(p[2]) << 16 | uint32_t(p[1]) << 8 | p[0];
}

void setColour(Picture* picture, int32_t x, int32_t y, uint32_t colour) {
  uint8_t* p = rowFromTop(picture, y) + x * 3;
  p[0] = uint8_t(colour);
  p[1] = uint8_t(colour >> 8);
  p[2] = uint8_t(colour >> 16);
}

}  // namespace demo_art
