#include "files/text_resource.h"

#include <bit>
#include <new>

#include "base/error.h"
#include "base/os/os.h"
#include "files/file_obj.h"

// The file's integers are little-endian, as are the hosts': tables are read as they lie.
static_assert(std::endian::native == std::endian::little);

namespace {

constexpr char kSource[] = "TextResource";

bool ReadInt32(KFileObj* file, int32_t* value) {
  *value = 0;
  return file->Read(value, sizeof *value) == sizeof *value;
}

// Bytes between the file's position and its end.
uint32_t RemainingBytes(KFileObj* file) {
  uint32_t length = file->GetLength();
  uint32_t position = file->GetPosition();
  return position < length ? length - position : 0;
}

TextResource* ReportBroken(int32_t line) {
  vkSetError(VK_ERROR_FILE, 0, kSource, line, "The text resource is shorter than it declares.");
  return nullptr;
}

}  // namespace

TextResource::TextResource(char* text, int32_t length, int32_t labelCount, TextLabel* labels)
    : StringStream(text, length), labelCount_(labelCount), labels_(labels) {}

TextResource::~TextResource() { os::heapFree(labels_); }

// The sizes are checked against the bytes the file has left before anything is allocated, so a
// broken count can't ask for a huge block.
TextResource* TextResource::ReadText(KFileObj* file) {
  int32_t labelCount;
  if (!ReadInt32(file, &labelCount)) return ReportBroken(__LINE__);
  TextLabel* labels = nullptr;
  if (labelCount > 0) {
    if (static_cast<uint32_t>(labelCount) > RemainingBytes(file) / sizeof(TextLabel)) return ReportBroken(__LINE__);
    uint32_t tableBytes = static_cast<uint32_t>(labelCount) * sizeof(TextLabel);
    labels = static_cast<TextLabel*>(os::heapAlloc(tableBytes, false));
    if (!labels) return nullptr;
    if (file->Read(labels, tableBytes) != tableBytes) {
      os::heapFree(labels);
      return ReportBroken(__LINE__);
    }
  }
  int32_t length;
  if (!ReadInt32(file, &length) || length < 0 || static_cast<uint32_t>(length) > RemainingBytes(file)) {
    os::heapFree(labels);
    return ReportBroken(__LINE__);
  }
  char* text = AllocateText(length);
  TextResource* resource = text ? new (std::nothrow) TextResource(text, length, labelCount, labels) : nullptr;
  if (!resource) {
    os::heapFree(text);
    os::heapFree(labels);
    return nullptr;
  }
  if (file->Read(text, static_cast<uint32_t>(length)) != static_cast<uint32_t>(length)) {
    delete resource;
    return ReportBroken(__LINE__);
  }
  vkSucceed();
  return resource;
}

int32_t TextResource::GetLabelIndex(int32_t label) const {
  if (!labels_ || label < 0 || label >= labelCount_) return -1;
  return labels_[label].textIndex;
}

void TextResource::MoveToLabel(int32_t label) {
  int32_t textIndex = GetLabelIndex(label);
  if (textIndex >= 0) SetIndex(textIndex);
}
