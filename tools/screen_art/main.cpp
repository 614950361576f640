// screen_art: draws the bitmaps and cursors of a menu screen and packs the archive.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "tools/screen_art/art_set.h"
#include "tools/screen_art/menus_art.h"
#include "tools/screen_art/save_menu_art.h"

namespace {

struct Screen {
  const char* name;
  const char* archive;
  void (*draw)(screen_art::ArtSet& set);
};

constexpr Screen kScreens[] = {
    {"save-menu", "SaveMenu", screen_art::drawSaveMenu},
    {"main-menu", "MainMenu", screen_art::drawMainMenu},
    {"startup", "Startup", screen_art::drawStartup},
    {"sound-config", "SoundCfg", screen_art::drawSoundConfig},
};

constexpr char kUsage[] =
    "usage: screen_art SCREEN FOLDER [--leave-out PREFIX]...\n"
    "  Draws the bitmaps of SCREEN, packs them into its archive in FOLDER and writes the\n"
    "  screens' cursor files Arrow.cur and GripHand.cur beside it.\n"
    "  SCREEN: save-menu (SaveMenu.arc, the save and load screens), main-menu (MainMenu.arc),\n"
    "          startup (Startup.arc, the title screens and the bonus menu), sound-config\n"
    "          (SoundCfg.arc)\n"
    "  --leave-out PREFIX  leaves out the bitmaps whose names begin with PREFIX\n";

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
  const Screen* screen = nullptr;
  for (const Screen& known : kScreens)
    if (argc >= 3 && std::strcmp(argv[1], known.name) == 0) screen = &known;
  if (!screen) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  std::filesystem::path folder = argv[2];
  std::string archive = screen->archive;
  std::error_code failure;
  std::filesystem::create_directories(folder, failure);
  screen_art::ArtSet set(folder / (archive + ".tree"), leaveOut);
  screen->draw(set);
  std::string error;
  if (!set.Pack((folder / (archive + ".arc")).string(), &error) || !screen_art::writeScreenCursors(folder, &error)) {
    std::fprintf(stderr, "screen_art: %s\n", error.c_str());
    return 1;
  }
  std::filesystem::remove_all(folder / (archive + ".tree"), failure);
  return 0;
}
