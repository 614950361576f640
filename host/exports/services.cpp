#include "host/exports/services.h"

#include <cstring>
#include <string>

#include "base/os/os.h"
#include "host/display_environment.h"

namespace {

// Company and application of the profile; modules may change them while other threads read.
class ProfileNames {
 public:
  void Set(const char* company, const char* application) {
    os::Lock guard(lock_);
    company_ = company ? company : "";
    application_ = application ? application : "";
  }
  // Calls `use` with a complete key for section and entry, under the lock.
  template <typename Use>
  auto With(const char* section, const char* entry, Use use) {
    os::Lock guard(lock_);
    return use(os::ProfileKey{company_.c_str(), application_.c_str(), section ? section : "", entry});
  }

 private:
  os::CriticalSection lock_;
  std::string company_ = kDefaultRegistryCompany;
  std::string application_ = kApplicationName;
};

ProfileNames& profileNames() {
  static ProfileNames names;
  return names;
}

char* heapCopy(const std::string& text) {
  char* copy = static_cast<char*>(os::heapAlloc(text.size() + 1, true));
  if (copy) std::memcpy(copy, text.c_str(), text.size());
  return copy;
}

}  // namespace

uint32_t RUNA1_API ZPK_SetRegistryKey(const char* company, const char* application) {
  profileNames().Set(company, application);
  return 0;
}

uint32_t RUNA1_API ZPK_GetProfileInt(const char* section, const char* entry, uint32_t defaultValue) {
  if (!entry) return defaultValue;
  return profileNames().With(section, entry, [&](const os::ProfileKey& key) {
    uint32_t value = defaultValue;
    return os::readProfileInt(key, &value) ? value : defaultValue;
  });
}

uint32_t RUNA1_API ZPK_WriteProfileInt(const char* section, const char* entry, uint32_t value) {
  if (!entry) return 0;
  return profileNames().With(section, entry,
                             [&](const os::ProfileKey& key) { return os::writeProfileInt(key, value) ? 1u : 0u; });
}

char* RUNA1_API ZPK_GetProfileString(const char* section, const char* entry, const char* defaultValue) {
  std::string value = defaultValue ? defaultValue : "";
  if (entry) {
    profileNames().With(section, entry, [&](const os::ProfileKey& key) { return os::readProfileString(key, &value); });
  }
  return heapCopy(value);
}

// A null value deletes the entry, a null entry the whole section.
uint32_t RUNA1_API ZPK_WriteProfileString(const char* section, const char* entry, const char* value) {
  return profileNames().With(section, entry, [&](const os::ProfileKey& key) {
    bool done = (!entry || !value) ? os::deleteProfileEntry(key) : os::writeProfileString(key, value);
    return done ? 1u : 0u;
  });
}

uint32_t RUNA1_API ZPK_IsShowCursor() { return KDisplayEnvironment::IsCursorShown(); }

uint32_t RUNA1_API ZPK_SetShowCursor(int32_t show) { return KDisplayEnvironment::SetCursorShown(show); }

uint32_t RUNA1_API ZPK_GetDisplaySize(SIZE* size) {
  *size = os::screenSize();
  return static_cast<uint32_t>(size->cy);
}

uint32_t RUNA1_API ZPK_GetDisplayBitsPerPixel() { return os::displayBitsPerPixel(); }

uint32_t RUNA1_API ZPK_TestDisplayMode(uint32_t width, uint32_t height, uint32_t bitsPerPixel) {
  return KDisplayEnvironment::Test(width, height, bitsPerPixel);
}

uint32_t RUNA1_API ZPK_CompareExchange(uint32_t* target, uint32_t comparand, uint32_t exchange) {
  return __sync_val_compare_and_swap(target, comparand, exchange);  // one lock cmpxchg
}
