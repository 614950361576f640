// Loads arbitrary bytes as a module file, through a file object in memory and a platform
// that only records calls: every table, lookup and resource query must stay inside the
// blocks the loader allocated.
#include <cstdint>
#include <cstring>
#include <vector>

#include "host/module/zpk_module.h"
#include "tests/host/fake_module_platform.h"

namespace {

class MemoryFile : public KFileObj {
 public:
  MemoryFile(const uint8_t* data, size_t size) : bytes_(data, data + size) {}
  KFileObj* Duplicate() override { return nullptr; }
  uint32_t Read(void* buffer, uint32_t bytes) override {
    size_t left = position_ < bytes_.size() ? bytes_.size() - position_ : 0;
    size_t count = bytes < left ? bytes : left;
    if (count) std::memcpy(buffer, bytes_.data() + position_, count);
    position_ += count;
    return static_cast<uint32_t>(count);
  }
  uint32_t Write(const void*, uint32_t) override { return 0; }
  uint32_t GetLength() override { return static_cast<uint32_t>(bytes_.size()); }
  uint32_t Seek(int32_t offset, uint32_t method) override {
    int64_t origin = method == kSeekBegin ? 0 : method == kSeekCurrent ? static_cast<int64_t>(position_)
                                                                       : static_cast<int64_t>(bytes_.size());
    int64_t target = origin + offset;
    if (target < 0) return 0xFFFFFFFF;
    position_ = static_cast<size_t>(target);
    return static_cast<uint32_t>(position_);
  }
  uint32_t GetPosition() override { return static_cast<uint32_t>(position_); }

 private:
  std::vector<uint8_t> bytes_;
  size_t position_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FakeModulePlatform platform;
  platform.libraryTable["KERNEL32.dll"] = {{"GetTickCount", 0x7001}};
  platform.hostTable["_File_Read@12"] = 0x5001;
  CZPKModule module(platform);
  if (module.LoadFile(new MemoryFile(data, size), "/nowhere/m.zpe") == CZPKModule::kLoaded) {
    for (const char* name : {"StartingProc", "A", "", "\xFF"}) {
      module.GetProcedureAddress(name);
      module.GetVariableAddress(name);
      module.GetResourceID(name);
    }
    for (int32_t id : {-1, 0, 1, 7, 0x7FFFFFFF}) module.GetResourceLength(id);
  }
  return 0;
}
