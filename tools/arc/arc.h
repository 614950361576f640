// The archive tool's work: make an archive from a directory tree, list one, extract one.
// Names on disk are UTF-8; inside the archive they are Shift-JIS.
#pragma once

#include <filesystem>
#include <ostream>
#include <string>

namespace arc {

// Each gives true, or false with a message for the user in *error.
bool createArchive(const std::filesystem::path& source, const std::string& archivePath, std::string* error);
// One line per entry, indented by depth: "name/" for a directory, "name  size" for a member.
bool listArchive(const std::string& archivePath, std::ostream& out, std::string* error);
bool extractArchive(const std::string& archivePath, const std::filesystem::path& target, std::string* error);

}  // namespace arc
