// demo_menus: draws the demo's menu screens and packs their archives.
#include <filesystem>
#include <iostream>

#include "demo/menus/menu_art.h"
#include "demo/output_folder.h"

namespace {

const char kUsage[] =
    "usage: demo_menus DIRECTORY   write Startup.arc (start-up and bonus menus), MainMenu.arc\n"
    "                              and SoundCfg.arc (sound configuration) into DIRECTORY\n"
    "       demo_menus --help\n";

}  // namespace

int main(int argc, char** argv) {
  std::filesystem::path folder;
  const int early = demo_tools::outputFolder(argc, argv, "demo_menus", kUsage, &folder);
  if (early >= 0) return early;
  std::string error;
  screen_art::ArtSet startup(folder / "startup.tree", {});
  demo_menus::drawStartupMenus(startup);
  screen_art::ArtSet mainMenu(folder / "mainmenu.tree", {});
  demo_menus::drawMainMenu(mainMenu);
  const std::string soundTree = (folder / "soundcfg.tree").string();
  screen_art::ArtSet sound(soundTree, {});
  if (!startup.Pack((folder / "Startup.arc").string(), &error) ||
      !mainMenu.Pack((folder / "MainMenu.arc").string(), &error) ||
      !demo_menus::drawSoundConfig(sound, soundTree, &error) || !sound.Pack((folder / "SoundCfg.arc").string(), &error)) {
    std::cerr << "demo_menus: " << error << "\n";
    return 1;
  }
  return 0;
}
