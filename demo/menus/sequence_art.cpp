#include "demo/menus/sequence_art.h"

#include "demo/art/demo_art.h"
#include "demo/menus/menu_art.h"

namespace demo_menus {

namespace {

using screen_art::Box;
using screen_art::Canvas;

// `width` by `height` of `picture` from (left, top), kept inside it.
Canvas crop(const Picture& picture, int32_t left, int32_t top, int32_t width, int32_t height) {
  left = demoClamp(left, 0, picture.width - width);
  top = demoClamp(top, 0, picture.height - height);
  Canvas canvas(width, height, 0);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      canvas.Fill(Box{x, y, x + 1, y + 1}, demo_art::colourAt(picture, left + x, top + y));
    }
  }
  return canvas;
}

// `text` on a dark strip across `canvas` at `y`, centred.
void captionStrip(Canvas& canvas, int32_t y, const std::string& text, int32_t scale) {
  const int32_t width = captionWidth(text, scale);
  canvas.Fill(Box{0, y - scale * 3, canvas.Width(), y + scale * 10}, kGroundColour);
  caption(canvas, (canvas.Width() - width) / 2, y, text, scale, kLitColour);
}

std::string pictureName(int number) { return "bg" + std::to_string(number) + ".bmp"; }

}  // namespace

std::vector<std::string> rollLines() {
  return {"THE RUNA1 DEMO",      "A SMALL GAME",      "MADE WITH THE SDK",   "SCRIPT",
          "SCENE.TXT",           "PICTURES",          "DRAWN BY DEMO ART",   "MUSIC",
          "COMPOSED BY CODE",    "RENDERED BY MIDIRENDER", "VOICES",       "SPOKEN BY ESPEAK-NG",
          "SCREENS",             "DRAWN BY DEMO MENUS", "ENGINE",           "RUNA1 UNDER WINE",
          "THE LAKE",            "THE PEAKS",         "THE MEADOW",          "AND YOU",
          "THANK YOU",           "FOR PLAYING",       "THE END"};
}

void drawSequences(screen_art::ArtSet& set) {
  const Picture landscape = demo_art::drawLandscape(), pattern = demo_art::drawPattern();
  // The opening: a title card, bands of the landscape and the pattern, two halves, five
  // squares spelling the engine's name over a dark band, a band with the title, and the tall
  // landscape that scrolls up from the lake to the sky and the title again.
  Canvas card(640, 480, 0);
  captionStrip(card, 226, "RUNA1 PRESENTS", 3);
  set.Bitmap(pictureName(6690), card);
  const int32_t bandTops[] = {250, 500, 900, 1000, 300};
  const int32_t bandLefts[] = {900, 600, 100, 1200, 1280};
  const int bands[] = {6300, 6310, 6320, 6350, 6360};
  for (int i = 0; i < 5; ++i) {
    Canvas band = crop(bands[i] == 6310 ? pattern : landscape, bandLefts[i], bandTops[i], kBandWidth, kBandHeight);
    set.Bitmap(pictureName(bands[i]), band);
  }
  set.Bitmap(pictureName(6330), crop(landscape, 800, 700, kHalfWidth, kBandHeight));
  set.Bitmap(pictureName(6340), crop(pattern, 800, 700, kHalfWidth, kBandHeight));
  Canvas dark(kBandWidth, kBandHeight, kGroundColour);
  set.Bitmap(pictureName(6370), dark);
  const char letters[] = "RUNAX1";  // 6420 is loaded and replaced by 6430 before it shows
  for (int i = 0; i < 6; ++i) {
    Canvas square = crop(i % 2 ? pattern : landscape, 200 + 250 * i, 300 + 100 * i, kSmallSize, kSmallSize);
    square.Frame(Box{0, 0, kSmallSize, kSmallSize}, kLitColour, 4);
    caption(square, (kSmallSize - 5 * 20) / 2, (kSmallSize - 7 * 20) / 2, std::string(1, letters[i]), 20, kLitColour);
    set.Bitmap(pictureName(6380 + 10 * i), square);
  }
  Canvas titled = crop(landscape, 900, 250, kBandWidth, kBandHeight);
  captionStrip(titled, 170, "RUNA1 DEMO", 5);
  set.Bitmap(pictureName(6440), titled);
  Canvas tall(kBandWidth, kScrollHeight, kGroundColour);
  const Canvas column = crop(landscape, 1000, 0, kBandWidth, landscape.height);
  for (int32_t y = 0; y < column.Height(); ++y) {
    for (int32_t x = 0; x < kBandWidth; ++x) tall.Fill(Box{x, y, x + 1, y + 1}, column.Colour(x, y));
  }
  captionStrip(tall, landscape.height + 200, "RUNA1 DEMO", 5);
  set.Bitmap(pictureName(6450), tall);
  // The staff roll: a line of credits on a view of the landscape, one for each picture.
  const std::vector<std::string> lines = rollLines();
  for (size_t i = 0; i < lines.size(); ++i) {
    Canvas screen = crop(i % 3 == 2 ? pattern : landscape, int32_t(i) * 60, 200 + int32_t(i) * 40, 640, 480);
    captionStrip(screen, 226, lines[i], lines[i].size() > 18 ? 3 : 4);
    set.Bitmap(pictureName(kFirstRollPicture + 10 * int(i)), screen);
  }
}

}  // namespace demo_menus
