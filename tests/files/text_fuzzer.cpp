// Drives a string stream or a text resource over arbitrary bytes with arbitrary operations. The
// stream's text comes through LoadText, whose block is exactly the text and its NUL, so a read
// one byte too far is caught.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "files/file_obj.h"
#include "files/string_stream.h"
#include "files/text_resource.h"

namespace {

// A read-only file object over the fuzzer's bytes.
class MemoryFile : public KFileObj {
 public:
  explicit MemoryFile(std::vector<uint8_t> bytes) : bytes_(std::move(bytes)) {}
  KFileObj* Duplicate() override { return new MemoryFile(bytes_); }
  uint32_t Read(void* buffer, uint32_t bytes) override {
    uint32_t count = std::min<uint32_t>(bytes, position_ < size() ? size() - position_ : 0);
    if (count) std::memcpy(buffer, bytes_.data() + position_, count);
    position_ += count;
    return count;
  }
  uint32_t Write(const void*, uint32_t) override { return 0; }
  uint32_t GetLength() override { return size(); }
  uint32_t Seek(int32_t offset, uint32_t method) override {
    int64_t base = method == 0 ? 0 : method == 1 ? position_ : size();
    position_ = static_cast<uint32_t>(std::max<int64_t>(0, base + offset));
    return position_;
  }
  uint32_t GetPosition() override { return position_; }

 private:
  uint32_t size() const { return static_cast<uint32_t>(bytes_.size()); }
  std::vector<uint8_t> bytes_;
  uint32_t position_ = 0;
};

// Reads a made stream to its end and checks that it is a proper text.
void Drain(std::unique_ptr<StringStream> made) {
  if (!made) std::abort();
  if (made->GetBuffer()[made->GetLength()] != '\0') std::abort();
  for (int guard = 0; guard <= made->GetLength() && made->GetChar() != 0; ++guard) {
  }
}

void Operate(StringStream& stream, TextResource* resource, FuzzedDataProvider& ops) {
  while (ops.remaining_bytes() > 0) {
    switch (ops.ConsumeIntegralInRange(0, 15)) {
      case 0: stream.GetChar(); break;
      case 1: stream.GetCurrentChar(); break;
      case 2: stream.DisableSpace(); break;
      case 3: Drain(std::unique_ptr<StringStream>(stream.GetString(ops.ConsumeBool()))); break;
      case 4: Drain(std::unique_ptr<StringStream>(stream.GetLine(ops.ConsumeBool()))); break;
      case 5: {
        uint32_t open = ops.ConsumeIntegralInRange<uint32_t>(0, 0xFFFF);
        uint32_t close = ops.ConsumeIntegralInRange<uint32_t>(0, 0xFFFF);
        Drain(std::unique_ptr<StringStream>(stream.GetEnclosedString(open, close)));
        break;
      }
      case 6: stream.GetValue(); break;
      case 7: {
        int32_t index = stream.GetIndex();
        stream.IsNumberString();
        if (stream.GetIndex() != index) std::abort();
        break;
      }
      case 8: stream.GetInteger(); break;
      case 9: stream.SetIndex(ops.ConsumeIntegralInRange<int32_t>(-4, stream.GetLength() + 4)); break;
      case 10: stream.SetIndex(ops.ConsumeIntegral<int32_t>()); break;
      case 11: stream.SetSpaceCode(ops.ConsumeRandomLengthString(8).c_str()); break;
      case 12: stream.SetSeparateCode(ops.ConsumeRandomLengthString(8).c_str()); break;
      case 13: stream.IsSeparator(); break;
      case 14:
        if (resource) resource->MoveToLabel(ops.ConsumeIntegral<int32_t>());
        break;
      case 15:
        if (resource) resource->GetLabelIndex(ops.ConsumeIntegral<int32_t>());
        break;
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider input(data, size);
  bool asResource = input.ConsumeBool();
  std::vector<uint8_t> opBytes = input.ConsumeBytes<uint8_t>(input.ConsumeIntegralInRange(0, 256));
  MemoryFile file(input.ConsumeRemainingBytes<uint8_t>());
  FuzzedDataProvider ops(opBytes.data(), opBytes.size());
  if (asResource) {
    std::unique_ptr<TextResource> resource(TextResource::ReadText(&file));
    if (resource) Operate(*resource, resource.get(), ops);
  } else {
    std::unique_ptr<StringStream> stream(StringStream::LoadText(&file));
    if (!stream) std::abort();
    Operate(*stream, nullptr, ops);
  }
  return 0;
}
