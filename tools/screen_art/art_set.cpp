#include "tools/screen_art/art_set.h"

#include <utility>

#include "tools/arc/arc.h"
#include "tools/screen_art/cursor_file.h"

namespace screen_art {

ArtSet::ArtSet(std::filesystem::path tree, std::vector<std::string> leaveOut)
    : tree_(std::move(tree)), leaveOut_(std::move(leaveOut)) {
  std::error_code failure;
  std::filesystem::remove_all(tree_, failure);
  std::filesystem::create_directories(tree_, failure);
  if (failure) error_ = tree_.string() + ": " + failure.message();
}

bool ArtSet::Wanted(const std::string& name) const {
  for (const std::string& prefix : leaveOut_)
    if (name.compare(0, prefix.size(), prefix) == 0) return false;
  return true;
}

void ArtSet::Bitmap(const std::string& name, const Canvas& canvas) {
  if (!error_.empty() || !Wanted(name)) return;
  writeColourBitmap(canvas, (tree_ / name).string(), &error_);
}

void ArtSet::Variants(const std::string& stem, const Canvas& off, const Canvas& on) {
  Bitmap(stem + "of.bmp", off);
  Bitmap(stem + "on.bmp", on);
  Alpha(stem + "a.bmp", off);
}

void ArtSet::Alpha(const std::string& name, const Canvas& canvas, uint32_t tint) {
  if (!error_.empty() || !Wanted(name)) return;
  writeAlphaBitmap(canvas, (tree_ / name).string(), &error_, tint);
}

bool ArtSet::Pack(const std::string& archive, std::string* error) {
  if (error_.empty()) arc::createArchive(tree_, archive, &error_);
  *error = error_;
  return error_.empty();
}

bool writeScreenCursors(const std::filesystem::path& folder, std::string* error) {
  constexpr uint8_t kClear = 0;
  Canvas arrow(32, 32, 0x000000);
  arrow.Fill(Box{0, 0, 32, 32}, 0x000000, kClear);
  for (int32_t y = 0; y < 20; ++y) {
    arrow.Fill(Box{0, y, y / 2 + 2, y + 1}, 0x000000);  // the outline
    if (y > 1 && y < 18) arrow.Fill(Box{1, y, y / 2, y + 1}, 0xFFFFFF);
  }
  Canvas hand(32, 32, 0x000000);
  hand.Fill(Box{0, 0, 32, 32}, 0x000000, kClear);
  hand.Fill(Box{8, 8, 24, 24}, 0x000000);
  hand.Fill(Box{9, 9, 23, 23}, 0xF0D0B0);
  for (int32_t finger = 0; finger < 4; ++finger) hand.Fill(Box{10 + 3 * finger, 9, 11 + 3 * finger, 14}, 0x000000);
  return writeCursorFile(arrow, 0, 0, (folder / "Arrow.cur").string(), error) &&
         writeCursorFile(hand, 16, 16, (folder / "GripHand.cur").string(), error);
}

}  // namespace screen_art
