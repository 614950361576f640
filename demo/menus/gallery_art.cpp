#include "demo/menus/gallery_art.h"

#include <cstdio>

#include "demo/art/demo_art.h"
#include "demo/menus/menu_art.h"

namespace demo_menus {

namespace {

using screen_art::Box;
using screen_art::Canvas;

constexpr int32_t kTracks = 14, kTrackWidth = 304, kTrackHeight = 40;

std::string numbered(const char* pattern, int number) {
  char text[32];
  std::snprintf(text, sizeof text, pattern, number);
  return text;
}

Canvas canvasOf(const Picture& picture) {
  Canvas canvas(picture.width, picture.height, 0);
  for (int32_t y = 0; y < picture.height; ++y) {
    for (int32_t x = 0; x < picture.width; ++x) canvas.Fill(Box{x, y, x + 1, y + 1}, demo_art::colourAt(picture, x, y));
  }
  return canvas;
}

// The ground of the bonus screens with the screen's name in its top left corner.
Canvas bonusGround(const std::string& title) {
  Canvas ground(640, 480, kGroundColour);
  caption(ground, 8, 5, title, 2, kLitColour);
  return ground;
}

// An arrow button's face: a plate with a triangle pointing left, right, up or down.
Canvas arrowFace(int32_t width, int32_t height, char direction, bool lit) {
  Canvas face(width, height, lit ? kLitColour : kPlateColour);
  const uint32_t ink = lit ? kLitCaptionColour : kCaptionColour;
  for (int32_t i = 0; i < 5; ++i) {
    const int32_t cx = width / 2, cy = height / 2;
    switch (direction) {
      case 'l': face.Fill(Box{cx - 2 + i, cy - i, cx - 1 + i, cy + i + 1}, ink); break;
      case 'r': face.Fill(Box{cx + 2 - i, cy - i, cx + 3 - i, cy + i + 1}, ink); break;
      case 'u': face.Fill(Box{cx - i, cy - 2 + i, cx + i + 1, cy - 1 + i}, ink); break;
      default: face.Fill(Box{cx - i, cy + 2 - i, cx + i + 1, cy + 3 - i}, ink); break;
    }
  }
  return face;
}

void paste(Canvas& canvas, const Canvas& piece, int32_t left, int32_t top) {
  for (int32_t y = 0; y < piece.Height(); ++y) {
    for (int32_t x = 0; x < piece.Width(); ++x) canvas.Fill(Box{left + x, top + y, left + x + 1, top + y + 1}, piece.Colour(x, y));
  }
}

std::string trackCaption(int32_t track) {
  const std::vector<std::string> names = musicTrackNames();
  return track < int32_t(names.size()) ? numbered("%02d ", track + 1) + names[track] : "";
}

}  // namespace

std::vector<std::string> musicTrackNames() { return {"TITLE", "ENDING"}; }

std::vector<Picture> galleryPictures() {
  const Picture landscape = demo_art::drawLandscape();
  std::vector<Picture> pictures;
  for (int32_t place = 0; place < DEMO_PLACE_COUNT; ++place) {
    const int32_t left = demoClamp(kDemoPlaces[2 * place] - kPlacePictureWidth / 2, 0, landscape.width - kPlacePictureWidth);
    const int32_t top =
        demoClamp(kDemoPlaces[2 * place + 1] - kPlacePictureHeight / 2, 0, landscape.height - kPlacePictureHeight);
    Picture view = demo_art::blankPicture(kPlacePictureWidth, kPlacePictureHeight, 24);
    for (int32_t y = 0; y < view.height; ++y) {
      for (int32_t x = 0; x < view.width; ++x) demo_art::setColour(&view, x, y, demo_art::colourAt(landscape, left + x, top + y));
    }
    pictures.push_back(view);
  }
  pictures.push_back(demo_art::drawEnding());
  return pictures;
}

Picture thumbnail(const Picture& picture) {
  Picture small = demo_art::blankPicture(kThumbnailWidth, kThumbnailHeight, 24);
  constexpr uint32_t kArea = kThumbnailScale * kThumbnailScale;
  for (int32_t y = 0; y < kThumbnailHeight; ++y) {
    for (int32_t x = 0; x < kThumbnailWidth; ++x) {
      uint32_t sums[3] = {0, 0, 0};
      for (int32_t dy = 0; dy < kThumbnailScale; ++dy) {
        for (int32_t dx = 0; dx < kThumbnailScale; ++dx) {
          const uint32_t colour = demo_art::colourAt(picture, x * kThumbnailScale + dx, y * kThumbnailScale + dy);
          for (int channel = 0; channel < 3; ++channel) sums[channel] += colour >> (8 * channel) & 0xFF;
        }
      }
      uint32_t average = 0;
      for (int channel = 0; channel < 3; ++channel) average |= (sums[channel] + kArea / 2) / kArea << (8 * channel);
      demo_art::setColour(&small, x, y, average);
    }
  }
  return small;
}

void drawMusicMode(screen_art::ArtSet& set) {
  Canvas music = bonusGround("MUSIC MODE");
  for (int32_t track = 0; track < kTracks; ++track) {
    const int32_t x = track % 2 ? 328 : 8, y = 24 + 56 * (track / 2);
    const Box box{x, y, x + kTrackWidth, y + kTrackHeight};
    const std::string text = trackCaption(track);
    if (text.empty()) {
      music.Frame(box, kPlateColour, 2);  // a place without a song
    } else {
      captionedPlate(music, box, text, 2);
    }
    Canvas lit(kTrackWidth, kTrackHeight, kLitColour);
    if (!text.empty()) captionedPlate(lit, Box{0, 0, kTrackWidth, kTrackHeight}, text, 2, true);
    set.Bitmap(numbered("m%02d.bmp", track + 1), lit);
  }
  const struct {
    const char* stem;
    const char* text;
    int32_t x;
  } sources[] = {{"mpcm", "WAVE", 8}, {"mmid", "MIDI", 128}};
  for (const auto& source : sources) {
    captionedPlate(music, Box{source.x, 424, source.x + 105, 460}, source.text, 2);
    Canvas lit(105, 36, kLitColour);
    captionedPlate(lit, Box{0, 0, 105, 36}, source.text, 2, true);
    set.Bitmap(std::string(source.stem) + "on.bmp", lit);
  }
  caption(music, 247, 435, "VOL", 2, kCaptionColour);
  paste(music, arrowFace(13, 31, 'l', false), 290, 427);
  paste(music, arrowFace(13, 31, 'r', false), 458, 427);
  music.Fill(Box{306, 441, 456, 444}, 0x5070A0);
  captionedPlate(music, Box{544, 425, 630, 461}, "BACK", 2);
  set.Bitmap("music.bmp", music);
  set.Bitmap("bralon.bmp", arrowFace(13, 31, 'l', true));
  set.Bitmap("braron.bmp", arrowFace(13, 31, 'r', true));
  Canvas knob(13, 31, 0xF0F0F0);
  knob.Frame(Box{0, 0, 13, 31}, 0x808080, 1);
  set.Bitmap("tumami.bmp", knob);
}

void drawCGMode(screen_art::ArtSet& set, const std::vector<Picture>& pictures) {
  Canvas cg = bonusGround("CG MODE");
  const struct {
    const char* name;
    int32_t y, height;
    char direction;
  } scrolls[] = {{"cgboup1.bmp", 20, 18, 'u'}, {"cgboup2.bmp", 43, 14, 'u'}, {"cgbodw2.bmp", 375, 14, 'd'},
                 {"cgbodw1.bmp", 394, 18, 'd'}};
  for (const auto& scroll : scrolls) {
    paste(cg, arrowFace(32, scroll.height, scroll.direction, false), 591, scroll.y);
    set.Bitmap(scroll.name, arrowFace(32, scroll.height, scroll.direction, true));
  }
  cg.Fill(Box{605, 58, 609, 374}, 0x5070A0);
  captionedPlate(cg, Box{579, 436, 637, 473}, "BACK", 2);
  set.Bitmap("cg.bmp", cg);
  Canvas knob(32, 20, 0xF0F0F0);
  knob.Frame(Box{0, 0, 32, 20}, 0x808080, 1);
  set.Bitmap("ctuma.bmp", knob);
  set.Bitmap("black.bmp", Canvas(kThumbnailWidth, kThumbnailHeight, 0x080808));
  for (size_t position = 0; position < pictures.size(); ++position) {
    set.Bitmap(numbered("bg%03d.bmp", 500 + int(position)), canvasOf(thumbnail(pictures[position])));
  }
}

void writeGalleryPictures(screen_art::ArtSet& set, const std::vector<Picture>& pictures) {
  for (size_t position = 0; position < pictures.size(); ++position) {
    set.Bitmap(numbered("bg%03d0.bmp", 500 + int(position)), canvasOf(pictures[position]));
  }
}

}  // namespace demo_menus
