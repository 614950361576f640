// The one table of the host's exports: decorated name as a module imports it, the function,
// and the bytes of its arguments on the 32-bit stack. The loader binds imports from it; the
// SDK header check and the tests read it too.
#pragma once

#include <cstdint>
#include <span>
#include <type_traits>

#include "base/os/win32_types.h"

struct ExportEntry {
  const char* name;  // decorated: "_Name@bytes"
  const void* function;
  uint32_t argumentBytes;
};

// The rows sorted by name, for binary search.
std::span<const ExportEntry> exportTable();
// The row of a decorated name, or null.
const ExportEntry* findExport(const char* decoratedName);

namespace export_abi {

// Bytes one argument takes on the 32-bit stack: pointers 4, the rest rounded up to 4.
template <typename T>
constexpr uint32_t stackBytes() {
  if constexpr (std::is_pointer_v<T> || std::is_reference_v<T>) return 4;
  else return (sizeof(T) + 3) & ~3u;
}

template <typename R, typename... A>
constexpr uint32_t argumentBytes(R(RUNA1_API*)(A...)) {
  return (0u + ... + stackBytes<A>());
}

// A row whose stated byte count does not match its function's arguments does not compile.
consteval uint32_t checked(uint32_t stated, uint32_t computed) {
  if (stated != computed) throw "argument bytes of an export do not match its signature";
  return stated;
}

}  // namespace export_abi

// A row whose export name is not the decorated form of its function's name.
#define RUNA1_EXPORT_ROW_NAMED(name, fn, bytes) \
  { name, reinterpret_cast<const void*>(&fn), export_abi::checked(bytes, export_abi::argumentBytes(&fn)) }

#define RUNA1_EXPORT_ROW(fn, bytes) \
  { "_" #fn "@" #bytes, reinterpret_cast<const void*>(&fn), \
    export_abi::checked(bytes, export_abi::argumentBytes(&fn)) }
