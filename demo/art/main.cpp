// demo_art: draws the demo game's pictures into a directory as PNG files.
#include <cstring>
#include <filesystem>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "demo/art/demo_art.h"

namespace {

const char kUsage[] =
    "usage: demo_art DIRECTORY   write landscape.png, pattern.png, title.png, lens.png, ending.png\n"
    "                            and the map's labels place0.png... into DIRECTORY\n"
    "       demo_art --help\n"
    "The landscape and the labels have its 256-colour palette; the others are 24-bit.\n";

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
    std::cout << kUsage;
    return 0;
  }
  if (argc != 2) {
    std::cerr << "demo_art: give one output directory\n" << kUsage;
    return 2;
  }
  std::error_code code;
  std::filesystem::create_directories(argv[1], code);
  if (code) {
    std::cerr << "demo_art: cannot make " << argv[1] << ": " << code.message() << "\n";
    return 1;
  }
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
    if (!writePicture((std::filesystem::path(argv[1]) / name).string(), picture, &error)) {
      std::cerr << "demo_art: " << error << "\n";
      return 1;
    }
  }
  return 0;
}
