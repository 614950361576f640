// The host's command line: module names (quoted or bare) and the switches DEBUG, DRT and
// BASEDIR behind a hyphen or a slash. A bad command line never stops the start: what is
// wrong only produces lines for the debug output.
#pragma once

#include <string>
#include <vector>

struct CommandLine {
  std::string moduleName;  // the first one given
  std::string baseDirectory;
  bool baseDirectoryGiven = false;
  std::vector<std::string> debugLines;  // Shift-JIS, in order, for the debug output
};

// `text` is Shift-JIS, without the program's own name.
CommandLine scanCommandLine(const std::string& text);
