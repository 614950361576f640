// The command line of the demo's generators: --help, or the one folder they write into.
#pragma once

#include <cstring>
#include <filesystem>
#include <iostream>

namespace demo_tools {

// Sets *folder to the folder named on the command line, made if missing, and gives -1; or, when
// the tool is to end at once, its exit code: 0 after the help, 2 for a bad command line, 1 if
// the folder cannot be made.
inline int outputFolder(int argc, char** argv, const char* tool, const char* usage, std::filesystem::path* folder) {
  if (argc == 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
    std::cout << usage;
    return 0;
  }
  if (argc != 2) {
    std::cerr << tool << ": give one output directory\n" << usage;
    return 2;
  }
  *folder = argv[1];
  std::error_code code;
  std::filesystem::create_directories(*folder, code);
  if (code) {
    std::cerr << tool << ": cannot make " << folder->string() << ": " << code.message() << "\n";
    return 1;
  }
  return -1;
}

}  // namespace demo_tools
