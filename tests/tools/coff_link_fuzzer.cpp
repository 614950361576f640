// Links arbitrary bytes as an object or an archive: zpelink must refuse or link them without
// reading or writing outside its buffers.
#include <cstdint>
#include <string>
#include <vector>

#include "tools/zpelink/coff.h"
#include "tools/zpelink/linker.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<uint8_t> bytes(data, data + size);
  std::string error;
  Linker linker;
  if (coff::isArchive(bytes)) {
    std::vector<coff::Member> members;
    if (!coff::parseArchive(bytes, &members, &error)) return 0;
    for (coff::Member& member : members) {
      coff::Object object;
      if (coff::parseObject(member.bytes, member.name, &object, &error)) linker.addArchiveMember(std::move(object));
    }
  } else {
    coff::Object object;
    if (!coff::parseObject(bytes, "input.o", &object, &error)) return 0;
    linker.addObject(std::move(object));
  }
  LinkOptions options;
  options.entry.clear();
  options.maxImageBytes = 1 << 20;
  ZpeModule module;
  if (linker.link(options, &module, &error)) writeZpe(module);
  return 0;
}
