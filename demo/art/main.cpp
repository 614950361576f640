// demo_art: draws the demo game's pictures into a directory as PNG files.
#include <filesystem>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "demo/art/demo_art.h"
#include "demo/output_folder.h"

namespace {

const char kUsage[] =
    "usage: demo_art DIRECTORY   write landscape.png, pattern.png, title.png, lens.png, ending.png\n"
    "                            and the map's labels place0.png... into DIRECTORY\n"
    "       demo_art --help\n"
    "The landscape and the labels have its 256-colour palette; the others are 24-bit.\n";

}  // namespace

int main(int argc, char** argv) {
  std::filesystem::path folder;
  const int early = demo_tools::outputFolder(argc, argv, "demo_art", kUsage, &folder);
  if (early >= 0) return early;
  const Picture landscape = demo_art::drawLandscape();
  std::vector<std::pair<std::string, Picture>> pictures = {{"landscape.png", landscape},
                                                           {"pattern.png", demo_art::drawPattern()},
                                                           {"title.png", demo_art::drawTitlePlate()},
                                                           {"lens.png", demo_art::drawLensFrame()},
                                                           {"ending.png", demo_art::drawEnding()}};
  for (int place = 0; place < DEMO_PLACE_COUNT; ++place) {
    pictures.push_back({"place" + std::to_string(place) + ".png",
                        demo_art::drawPlaceLabel(kDemoPlaceNames[place], landscape)});
  }
  for (const auto& [name, picture] : pictures) {
    std::string error;
    if (!writePicture((folder / name).string(), picture, &error)) {
      std::cerr << "demo_art: " << error << "\n";
      return 1;
    }
  }
  return 0;
}
