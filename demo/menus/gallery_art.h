// The demo's look for the bonus screens: the music mode ("musicmod.arc") with the game's songs
// as its tracks, and the CG mode ("cgmode.arc") with thumbnails of the game's own pictures, which
// the game hands in from "gallery.arc" ("bg5000.bmp" for position 0, and on).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "demo/demo_layout.h"
#include "tools/image/picture_io.h"
#include "tools/screen_art/art_set.h"

namespace demo_menus {

// The music mode's tracks, m01 on: the game's songs by their names.
std::vector<std::string> musicTrackNames();
constexpr int32_t kThumbnailWidth = 128, kThumbnailHeight = 96, kThumbnailScale = 5;
// A place's picture in the gallery: 960 by 720 of the landscape around the place, larger than
// the window so that the viewer pans it.
constexpr int32_t kPlacePictureWidth = 960, kPlacePictureHeight = 720;

// The gallery's full pictures: positions 0 to 2 the places, 3 the ending.
std::vector<Picture> galleryPictures();
// The thumbnail of a picture: the part the window shows first (its top left 640 by 480),
// reduced five times by averaging.
Picture thumbnail(const Picture& picture);

void drawMusicMode(screen_art::ArtSet& set);
// "cg.bmp", the scroll buttons' pressed images, the knob, "black.bmp" and the thumbnails
// "bg500.bmp" to "bg503.bmp" of `pictures`.
void drawCGMode(screen_art::ArtSet& set, const std::vector<Picture>& pictures);
// "bg5000.bmp" to "bg5030.bmp": each picture in its variant 0.
void writeGalleryPictures(screen_art::ArtSet& set, const std::vector<Picture>& pictures);

}  // namespace demo_menus
