// screen_art: draws the bitmaps and cursors of a menu screen and packs the archive.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "tools/screen_art/art_set.h"
#include "tools/screen_art/gallery_art.h"
#include "tools/screen_art/menus_art.h"
#include "tools/screen_art/save_menu_art.h"
#include "tools/screen_art/sequence_art.h"

namespace {

constexpr char kUsage[] =
    "usage: screen_art SCREEN FOLDER [--leave-out PREFIX]...\n"
    "  Draws the bitmaps of SCREEN, packs them into its archive in FOLDER and writes the\n"
    "  screens' cursor files Arrow.cur and GripHand.cur beside it.\n"
    "  SCREEN: save-menu (SaveMenu.arc, the save and load screens)\n"
    "          main-menu (MainMenu.arc)\n"
    "          startup (Startup.arc, the title screens and the bonus menu)\n"
    "          sound-config (SoundCfg.arc)\n"
    "          sequences (Sequence.arc, the pictures of the opening and ending)\n"
    "          music-mode (musicmod.arc, and tracks.arc: sample tracks for a module to hand in)\n"
    "          cg-mode (cgmode.arc, and pictures.arc: sample pictures for a module to hand in)\n"
    "  --leave-out PREFIX  leaves out the bitmaps whose names begin with PREFIX\n";

// An archive of the tool's and what fills it.
struct ArchiveArt {
  const char* archive;
  void (*draw)(screen_art::ArtSet& set);
};

struct ScreenArt {
  const char* screen;
  std::vector<ArchiveArt> archives;
};

const ScreenArt kScreens[] = {
    {"save-menu", {{"SaveMenu.arc", screen_art::drawSaveMenu}}},
    {"main-menu", {{"MainMenu.arc", screen_art::drawMainMenu}}},
    {"startup", {{"Startup.arc", screen_art::drawStartup}}},
    {"sound-config", {{"SoundCfg.arc", screen_art::drawSoundConfig}}},
    {"sequences", {{"Sequence.arc", screen_art::drawSequences}}},
    {"music-mode", {{"musicmod.arc", screen_art::drawMusicMode}, {"tracks.arc", screen_art::writeMusicTracks}}},
    {"cg-mode", {{"cgmode.arc", screen_art::drawCGMode}, {"pictures.arc", screen_art::drawCGPictures}}},
};

}  // namespace

int main(int argc, char** argv) {
  if (argc >= 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
    std::fputs(kUsage, stdout);
    return 0;
  }
  std::vector<std::string> leaveOut;
  for (int i = 3; i < argc; ++i) {
    if (std::strcmp(argv[i], "--leave-out") != 0 || i + 1 >= argc) {
      std::fputs(kUsage, stderr);
      return 2;
    }
    leaveOut.push_back(argv[++i]);
  }
  const ScreenArt* art = nullptr;
  for (const ScreenArt& screen : kScreens)
    if (argc >= 3 && std::strcmp(argv[1], screen.screen) == 0) art = &screen;
  if (!art) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  std::filesystem::path folder = argv[2];
  std::error_code failure;
  std::filesystem::create_directories(folder, failure);
  std::string error;
  for (const ArchiveArt& archive : art->archives) {
    std::filesystem::path tree = folder / (std::string(archive.archive) + ".tree");
    screen_art::ArtSet set(tree, leaveOut);
    archive.draw(set);
    bool packed = set.Pack((folder / archive.archive).string(), &error);
    std::filesystem::remove_all(tree, failure);
    if (!packed) break;
  }
  if (!error.empty() || !screen_art::writeScreenCursors(folder, &error)) {
    std::fprintf(stderr, "screen_art: %s\n", error.c_str());
    return 1;
  }
  return 0;
}
