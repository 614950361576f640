// demo_menus: draws the demo's menu and bonus screens, packs their archives, and packs the
// pictures that the game hands the CG mode and the opening and staff roll.
#include <filesystem>
#include <iostream>

#include "demo/menus/gallery_art.h"
#include "demo/menus/menu_art.h"
#include "demo/menus/sequence_art.h"
#include "demo/output_folder.h"

namespace {

const char kUsage[] =
    "usage: demo_menus DIRECTORY   write Startup.arc (start-up and bonus menus), MainMenu.arc,\n"
    "                              SoundCfg.arc (sound configuration), musicmod.arc (music\n"
    "                              mode), cgmode.arc (CG mode), gallery.arc (the CG mode's\n"
    "                              pictures) and sequence.arc (the opening's and the staff\n"
    "                              roll's pictures) into DIRECTORY, each drawn in a folder\n"
    "                              NAME.tree\n"
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
  screen_art::ArtSet music(folder / "musicmod.tree", {});
  demo_menus::drawMusicMode(music);
  const std::vector<Picture> pictures = demo_menus::galleryPictures();
  screen_art::ArtSet cg(folder / "cgmode.tree", {});
  demo_menus::drawCGMode(cg, pictures);
  screen_art::ArtSet gallery(folder / "gallery.tree", {});
  demo_menus::writeGalleryPictures(gallery, pictures);
  screen_art::ArtSet sequence(folder / "sequence.tree", {});
  demo_menus::drawSequences(sequence);
  if (!startup.Pack((folder / "Startup.arc").string(), &error) ||
      !mainMenu.Pack((folder / "MainMenu.arc").string(), &error) ||
      !demo_menus::drawSoundConfig(sound, soundTree, &error) || !sound.Pack((folder / "SoundCfg.arc").string(), &error) ||
      !music.Pack((folder / "musicmod.arc").string(), &error) || !cg.Pack((folder / "cgmode.arc").string(), &error) ||
      !gallery.Pack((folder / "gallery.arc").string(), &error) ||
      !sequence.Pack((folder / "sequence.arc").string(), &error)) {
    std::cerr << "demo_menus: " << error << "\n";
    return 1;
  }
  return 0;
}
