#include "host/exports/archive.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "base/error.h"
#include "base/trace.h"
#include "files/kept_error.h"

namespace {

constexpr const char* kCaption = "VomarKit Message";
constexpr uint32_t kAskRetryFlags = 0x10021;  // OK and Cancel, question icon, foreground
constexpr uint32_t kInformFlags = 0x10040;    // OK, information icon, foreground

// The box texts are written here in UTF-8 and shown, as all engine text, in Shift-JIS; `path`
// is Shift-JIS already.
std::string boxText(const char* utf8Format, const char* path) {
  std::string format;
  os::utf8ToShiftJis(utf8Format, &format);
  std::string text(format.size() + std::strlen(path) + 1, '\0');
  std::snprintf(text.data(), text.size(), format.c_str(), path);
  text.resize(std::strlen(text.c_str()));
  return text;
}

// Deletes an archive that failed to open, keeping the report of the failure.
KArcFileExp* discard(KArcFileExp* archive) {
  KeptError kept;
  delete archive;
  return nullptr;
}

}  // namespace

// Opens the raw file, asking the user to retry while `quiet` is 0. An automatic answer retries
// once, so that a run without a person cannot loop.
KArcFileExp* RUNA1_API KORALArchive_Open(const char* path, uint32_t quiet) {
  KArcFileExp* archive = new KArcFileExp;
  bool retried = false;
  while (archive->GetRawFile()->Open(path, FILE_READ) != 0) {
    if (quiet) return discard(archive);
    std::string text = boxText("\"%s\"ファイルをオープンできません。ファイルを確認してください。", path);
    bool retry = os::messageBox(text.c_str(), kCaption, kAskRetryFlags) == IDOK;
    if (!retry || (retried && os::answersAutomatically())) {
      vkSetError(VK_ERROR_FILE, 0, "KArcFileExp", __LINE__, "Failed open file");
      return discard(archive);
    }
    retried = true;
  }
  if (archive->Open(archive->GetRawFile(), nullptr) != 0) {
    std::string text = boxText("\"%s\"は無効なアーカイブファイルです。", path);
    TraceMessage("%s", text.c_str());
    if (!quiet) os::messageBox(text.c_str(), kCaption, kInformFlags);
    return discard(archive);
  }
  return archive;
}

void RUNA1_API KORALArchive_Close(KArcFileExp* archive) { delete archive; }

uint32_t RUNA1_API KORALArchive_DescendDirectory(KArcFileExp* archive, const char* name) {
  return archive->DescendDirectory(name, nullptr);
}

uint32_t RUNA1_API KORALArchive_AscendDirectory(KArcFileExp* archive) { return archive->AscendDirectory(); }

char* RUNA1_API KORALArchive_GetCurrentDirecotry(KArcFileExp* archive) {
  KString path = archive->GetCurrentDirectory();
  char* text = static_cast<char*>(os::heapAlloc(path.GetLength() + 1, true));
  std::memcpy(text, path.GetText(), path.GetLength());
  return text;
}

uint32_t RUNA1_API KORALArchive_DescendFile(KArcFileExp* archive, const char* name) {
  return archive->DescendFile(name);
}

uint32_t RUNA1_API KORALArchive_AscendFile(KArcFileExp* archive) { return archive->AscendFile(); }

HANDLE RUNA1_API KORALArchive_GetFileHandle(KArcFileExp* archive) { return archive->GetRawFile()->GetHandle(); }

KFileObj* RUNA1_API KORALArchive_GetRawFile(KArcFileExp* archive) { return archive->GetRawFile(); }
