#include "debugger/debug_record_file.h"

#include <string>
#include <vector>

#include "base/os/os.h"

namespace drt {

namespace {

// No module has tables this large; a bigger file is not read into memory.
constexpr uint32_t kLargestRecord = 64u << 20;

bool refuse(const char* path, const std::string& reason) {
  os::debugOutput(("runa1: debug record " + std::string(path) + ": " + reason +
                   "; the module runs without the debugger\n")
                      .c_str());
  return false;
}

}  // namespace

bool loadDebugRecord(const char* path, const ModuleTables& module, DebugRecord* record) {
  os::FileHandle file = os::openFile(path, os::kAccessRead, os::kShareRead, os::Creation::OpenExisting);
  if (file == os::invalidFile()) return refuse(path, "the file cannot be opened");
  uint32_t size = os::fileSize(file);
  std::vector<uint8_t> bytes;
  bool complete = size <= kLargestRecord;
  if (complete) {
    bytes.resize(size);
    complete = os::readFile(file, bytes.data(), size) == size;
  }
  os::closeFile(file);
  if (!complete) return refuse(path, "the file cannot be read");
  std::string error;
  if (!parseDebugRecord(bytes.data(), bytes.size(), record, &error) || !matchesModule(*record, module, &error))
    return refuse(path, error);
  return true;
}

}  // namespace drt
