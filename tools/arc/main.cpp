// arc: makes, lists and extracts the engine's archives.
#include <cstring>
#include <iostream>
#include <string>

#include "base/library.h"
#include "tools/arc/arc.h"

namespace {

const char kUsage[] =
    "usage: arc create ARCHIVE DIRECTORY   make ARCHIVE from the tree under DIRECTORY\n"
    "       arc list ARCHIVE               show the tree with member sizes in bytes\n"
    "       arc extract ARCHIVE DIRECTORY  write the tree of ARCHIVE under DIRECTORY\n"
    "       arc --help\n"
    "File names are stored in Shift-JIS; names that Shift-JIS cannot hold are refused.\n"
    "Names are found without regard to ASCII case, so a directory cannot hold two names\n"
    "that differ only in case.\n";

int usageError(const std::string& text) {
  std::cerr << "arc: " << text << "\n" << kUsage;
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
    std::cout << kUsage;
    return 0;
  }
  if (argc < 2) return usageError("no command given");
  vkInitialize(VK_LIBRARY_VERSION);
  std::string command = argv[1];
  std::string error;
  bool done;
  if (command == "create" && argc == 4) {
    done = arc::createArchive(argv[3], argv[2], &error);
  } else if (command == "list" && argc == 3) {
    done = arc::listArchive(argv[2], std::cout, &error);
  } else if (command == "extract" && argc == 4) {
    done = arc::extractArchive(argv[2], argv[3], &error);
  } else {
    return usageError("unknown command or wrong number of arguments: " + command);
  }
  vkUninitialize();
  if (!done) {
    std::cerr << "arc: " << error << "\n";
    return 1;
  }
  return 0;
}
