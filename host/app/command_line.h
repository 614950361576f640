// The host's command line: module names (quoted or bare) and the switches DEBUG, DRT and
// BASEDIR behind a hyphen or a slash. A bad command line never stops the start: what is
// wrong only produces lines for the debug output.
#pragma once

#include <string>
#include <vector>

struct CommandLine {
  bool debug = false;          // DEBUG, in the debug configuration
  std::string debugRecord;     // DRT's value, in the debug configuration
  std::string moduleName;  // the first one given
  std::string baseDirectory;
  bool baseDirectoryGiven = false;
  std::vector<std::string> debugLines;  // Shift-JIS, in order, for the debug output
};

// `text` is Shift-JIS, without the program's own name. In the release configuration DEBUG and
// DRT only write their line; in the debug one DEBUG starts the debugger and DRT names the debug
// record, with a value as BASEDIR has one.
CommandLine scanCommandLine(const std::string& text, bool debugConfiguration = false);
