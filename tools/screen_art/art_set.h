// The files of one menu screen: its bitmaps drawn into a folder tree and packed into the
// screen's archive with the archive tool's library, and the two loose cursor files that every
// screen loads. Names may be left out, to make the archives of a screen with bitmaps missing.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tools/screen_art/art_canvas.h"

namespace screen_art {

class ArtSet {
 public:
  // Members are drawn into `tree`, which is made empty first. A member whose name begins with
  // one of `leaveOut` is not written.
  ArtSet(std::filesystem::path tree, std::vector<std::string> leaveOut);

  // `name` as a 24-bit colour bitmap.
  void Bitmap(const std::string& name, const Canvas& canvas);
  // `name` as the 8-bit alpha bitmap of `canvas`, tinted as writeAlphaBitmap tells.
  void Alpha(const std::string& name, const Canvas& canvas, uint32_t tint = 0xFFFFFF);
  // The three variants of a bitmap with an alpha plane: stem + "of.bmp" and stem + "on.bmp"
  // with their colours, stem + "a.bmp" with the alpha of `off` (both share it).
  void Variants(const std::string& stem, const Canvas& off, const Canvas& on);
  // Packs the tree into `archive`. False with a message for the first failure of all the set's
  // writes.
  bool Pack(const std::string& archive, std::string* error);

 private:
  bool Wanted(const std::string& name) const;

  std::filesystem::path tree_;
  std::vector<std::string> leaveOut_;
  std::string error_;
};

// "Arrow.cur" (level 1, hot spot at the tip) and "GripHand.cur" (level 2, a closed hand, hot
// spot in its middle) in `folder`.
bool writeScreenCursors(const std::filesystem::path& folder, std::string* error);

}  // namespace screen_art
