// demo_check: tells whether a screenshot shows the demo's window as it must look in a given state.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>

#include "base/library.h"
#include "demo/check/frame_check.h"

namespace {

const char kUsage[] =
    "usage: demo_check --screenshot PNG --pictures DIR --report FILE --scroll X,Y --picture N\n"
    "                  [--pointer X,Y] [--expected PNG]\n"
    "Compares the demo's client area in the screenshot with the frame it must show: the picture N\n"
    "(0 landscape, 1 pattern) of DIR scrolled to X,Y, the lens around the pointer (client\n"
    "coordinates) if given, the title plate. The report is the file the demo wrote through\n"
    "RUNA1_DEMO_REPORT; its line \"client LEFT TOP\" places the client area on the screen.\n"
    "--expected writes the expected frame as a PNG. Exit code 0 if the screenshot matches.\n";

int usageError(const std::string& text) {
  std::cerr << "demo_check: " << text << "\n" << kUsage;
  return 2;
}

bool parsePair(const char* text, int32_t* x, int32_t* y) {
  char end;
  return std::sscanf(text, "%d,%d%c", x, y, &end) == 2;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
    std::cout << kUsage;
    return 0;
  }
  std::string screenshotPath, picturesDirectory, reportPath, expectedPath;
  demo_check::DemoState state;
  bool scrollGiven = false, pictureGiven = false;
  for (int at = 1; at < argc; at += 2) {
    if (at + 1 >= argc) return usageError(std::string("no value for ") + argv[at]);
    std::string option = argv[at];
    const char* value = argv[at + 1];
    if (option == "--screenshot") {
      screenshotPath = value;
    } else if (option == "--pictures") {
      picturesDirectory = value;
    } else if (option == "--report") {
      reportPath = value;
    } else if (option == "--expected") {
      expectedPath = value;
    } else if (option == "--scroll" && parsePair(value, &state.scrollX, &state.scrollY)) {
      scrollGiven = true;
    } else if (option == "--pointer" && parsePair(value, &state.pointerX, &state.pointerY)) {
      state.lens = true;
    } else if (option == "--picture" && (!std::strcmp(value, "0") || !std::strcmp(value, "1"))) {
      state.picture = value[0] - '0';
      pictureGiven = true;
    } else {
      return usageError("bad option or value: " + option + " " + value);
    }
  }
  if (screenshotPath.empty() || picturesDirectory.empty() || reportPath.empty() || !scrollGiven || !pictureGiven) {
    return usageError("--screenshot, --pictures, --report, --scroll and --picture are needed");
  }
  vkInitialize(VK_LIBRARY_VERSION);

  std::ifstream report(reportPath);
  if (!report) return std::cerr << "demo_check: cannot read " << reportPath << "\n", 1;
  int32_t left = -1, top = -1;
  std::string line, lastState;
  while (std::getline(report, line)) {
    std::istringstream words(line);
    std::string word;
    words >> word;
    if (word == "client") words >> left >> top;
    if (word == "state") lastState = line;
  }
  if (left < 0) return std::cerr << "demo_check: " << reportPath << " has no line \"client LEFT TOP\"\n", 1;

  demo_check::DemoPictures pictures;
  Picture screenshot;
  std::string error;
  if (!demo_check::readPictures(picturesDirectory, &pictures, &error) || !readPicture(screenshotPath, &screenshot, &error)) {
    return std::cerr << "demo_check: " << error << "\n", 1;
  }
  if (!expectedPath.empty() && !writePicture(expectedPath, demo_check::expectedFrame(pictures, state), &error)) {
    return std::cerr << "demo_check: " << error << "\n", 1;
  }
  std::vector<std::string> problems = demo_check::compareFrame(screenshot, left, top, pictures, state);
  if (problems.empty()) {
    std::cout << "demo_check: " << screenshotPath << " shows the expected frame\n";
    return 0;
  }
  for (const std::string& problem : problems) std::cerr << "demo_check: " << problem << "\n";
  std::cerr << "demo_check: the demo's last report: " << (lastState.empty() ? "none" : lastState) << "\n";
  return 1;
}
