// Reading picture files.
#include "graphics/molaq_image.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "files/vrf_file.h"
#include "graphics/core/molaq.h"

namespace {

// The coded bodies get this many zero bytes behind them: the decoder reads ahead.
constexpr uint32_t kReadAhead = 16;

// The current record's body, with the read-ahead zeros behind it.
bool readBody(VRFDirectReader& reader, std::vector<uint8_t>* body) {
  uint64_t length = reader.GetLength();
  if (length > 0x7fffffff) return false;
  body->assign(length + kReadAhead, 0);
  return reader.Read(body->data(), static_cast<uint32_t>(length)) == length;
}

}  // namespace

uint64_t mqImageRecordId(uint32_t bits) {
  char text[9];
  std::snprintf(text, sizeof text, "Image-%02u", bits);
  return vrfId(text);
}

uint64_t mqPaletteRecordId(uint32_t bits) {
  char text[9];
  std::snprintf(text, sizeof text, "Palette%u", bits);
  return vrfId(text);
}

uint32_t mqImageRowBytes(uint32_t width, uint32_t bits) { return ((bits * width + 31) >> 3) & ~3u; }

MOLAQImage::~MOLAQImage() { MOLAQImage::Release(); }

uint32_t MOLAQImage::Release() {
  uint32_t result = Graphic::Release();
  alphaPlane_.clear();
  alphaPlane_.shrink_to_fit();
  return result;
}

uint32_t MOLAQImage::ReadImageFile(const char* path, int32_t scale) {
  if (ReadPictureFormat(path, scale) == 0) return 0;
  KRawFile file;
  if (file.Open(path, FILE_READ | FILE_SHARE_READ) != 0) return 1;
  return ReadBitmap(&file);
}

uint32_t MOLAQImage::ReadPictureFormat(const char* path, int32_t scale) {
  Release();
  VRFDirectReader reader;
  if (reader.Open(path, VRFDirectReader::kRead | VRFDirectReader::kShareRead, nullptr) != 0 ||
      reader.GetHeader().fileType != kImageFileType) {
    return 1;
  }
  ImageHeader header{};
  uint64_t id = vrfId("ImageInf");
  if (reader.DescendRecord(&id) != 0 || reader.Read(&header, sizeof header) != sizeof header) return 1;
  reader.AscendRecord();
  if (header.width == 0 || header.height == 0 || header.width > kImageMaxSide || header.height > kImageMaxSide) return 1;
  if (scale < 0 || scale > 3 || header.bits <= 8) scale = 0;

  struct {
    BITMAPINFOHEADER header;
    RGBQUAD colours[256];
  } info{};
  const uint32_t storedBits = header.bits;
  if (storedBits == 1 || storedBits == 4 || storedBits == 8) {
    id = mqPaletteRecordId(storedBits);
    if (reader.DescendRecord(&id) != 0) return 1;
    reader.Read(info.colours, 4u << storedBits);
    reader.AscendRecord();
    mqMakeBitmapHeader(&info.header, &header, 0);
  } else {
    header.bits = ConversionMode() != kConversionNone ? 8 : 24;
    mqMakeBitmapHeader(&info.header, &header, scale);
    header.bits = 24;
  }
  id = mqImageRecordId(storedBits);
  std::vector<uint8_t> body;
  if (reader.DescendRecord(&id) != 0 || !readBody(reader, &body)) return 1;
  reader.AscendRecord();
  const size_t bodySize = body.size() - kReadAhead;

  uint8_t* block = AllocatePixels(info.header.biSizeImage, info.header.biHeight);
  if (block == nullptr) return 1;
  if (storedBits <= 8) {
    MOLAQDecoder decoder(body.data(), bodySize, kMQTableLimit);
    if (storedBits != 1 && storedBits != 4 && storedBits != 8) {
      FreePixels(block);
      return 1;
    }
    if (!decoder.Read(block, info.header.biSizeImage)) std::memset(block, 0, info.header.biSizeImage);
    os::Lock hold(Lock());
    ReplaceOwnedBlock(block);
    AttachDIBitmap(reinterpret_cast<const BITMAPINFO*>(&info), block, true);
  } else if (storedBits == 24) {
    os::Lock hold(Lock());
    int32_t mode = ConversionMode();
    if (mode != kConversionNone) mqMakeFixedPalette(info.colours, mode == kConversionGrey);
    int32_t pitch = static_cast<int32_t>(info.header.biSizeImage / info.header.biHeight);
    std::memset(block, 0, info.header.biSizeImage);
    mqGetInterface()->mqDecompressImage(&header, block, info.header.biBitCount, pitch, body.data(),
                                        scale, mode == kConversionGrey, kMQTableLimit, nullptr, bodySize);
    ReplaceOwnedBlock(block);
    AttachDIBitmap(reinterpret_cast<const BITMAPINFO*>(&info), block, false);
  } else {
    FreePixels(block);
    return 1;
  }
  if (scale != 0) return 0;  // a blown-up picture has no alpha plane

  if (reader.DescendRecord(nullptr) != 0) return 0;
  uint32_t alphaBits;
  if (reader.GetRecordId() == vrfId("Alpha-01")) {
    alphaBits = 1;
  } else if (reader.GetRecordId() == vrfId("Alpha-08")) {
    alphaBits = 8;
  } else {
    return 0;
  }
  if (!readBody(reader, &body)) return 0;
  uint32_t pitch = mqImageRowBytes(header.width, alphaBits);
  alphaPlane_.assign(static_cast<size_t>(pitch) * (header.height + 1), 0);
  MOLAQDecoder decoder(body.data(), body.size() - kReadAhead, kMQNoTableLimit);
  if (!decoder.Read(alphaPlane_.data(), pitch * header.height)) return 0;
  alphaInfo_ = {sizeof(ImageInfo), alphaPlane_.data(), static_cast<int32_t>(header.width),
                static_cast<int32_t>(header.height), alphaBits, static_cast<int32_t>(pitch),
                pitch * header.height, 0};
  AttachAlphaPlane(&alphaInfo_);
  return 0;
}
