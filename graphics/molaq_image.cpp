// Reading and writing picture files.
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
// Larger sides than this are damage, not pictures.
constexpr uint32_t kMaxSide = 1u << 15;

uint64_t imageRecordId(uint32_t bits) {
  char text[9];
  std::snprintf(text, sizeof text, "Image-%02u", bits);
  return vrfId(text);
}

uint64_t paletteRecordId(uint32_t bits) {
  char text[9];
  std::snprintf(text, sizeof text, "Palette%u", bits);
  return vrfId(text);
}

// The current record's body, with the read-ahead zeros behind it.
bool readBody(VRFDirectReader& reader, std::vector<uint8_t>* body) {
  uint64_t length = reader.GetLength();
  if (length > 0x7fffffff) return false;
  body->assign(length + kReadAhead, 0);
  return reader.Read(body->data(), static_cast<uint32_t>(length)) == length;
}

uint32_t rowBytes(uint32_t width, uint32_t bits) { return ((bits * width + 31) >> 3) & ~3u; }

}  // namespace

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
  if (header.width == 0 || header.height == 0 || header.width > kMaxSide || header.height > kMaxSide) return 1;
  if (scale < 0 || scale > 3 || header.bits <= 8) scale = 0;

  struct {
    BITMAPINFOHEADER header;
    RGBQUAD colours[256];
  } info{};
  const uint32_t storedBits = header.bits;
  if (storedBits == 1 || storedBits == 4 || storedBits == 8) {
    id = paletteRecordId(storedBits);
    if (reader.DescendRecord(&id) != 0) return 1;
    reader.Read(info.colours, 4u << storedBits);
    reader.AscendRecord();
    mqMakeBitmapHeader(&info.header, &header, 0);
  } else {
    header.bits = ConversionMode() != kConversionNone ? 8 : 24;
    mqMakeBitmapHeader(&info.header, &header, scale);
    header.bits = 24;
  }
  id = imageRecordId(storedBits);
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
  uint32_t pitch = rowBytes(header.width, alphaBits);
  alphaPlane_.assign(static_cast<size_t>(pitch) * (header.height + 1), 0);
  MOLAQDecoder decoder(body.data(), body.size() - kReadAhead, kMQNoTableLimit);
  if (!decoder.Read(alphaPlane_.data(), pitch * header.height)) return 0;
  alphaInfo_ = {sizeof(ImageInfo), alphaPlane_.data(), static_cast<int32_t>(header.width),
                static_cast<int32_t>(header.height), alphaBits, static_cast<int32_t>(pitch),
                pitch * header.height, 0};
  AttachAlphaPlane(&alphaInfo_);
  return 0;
}

namespace {

// Settings on the best trade of size against PSNR found on natural photographs, by quality.
// Between two neighbours of the same block size, chroma format and threshold the curve is
// interpolated; otherwise the lower one holds up to the next.
struct QualityAnchor {
  int32_t quality;
  uint32_t chromaFormat, blockSize;
  double curve[3];
  uint32_t threshold;
};
// Zero runs up to a whole block of 8 may join the coefficient behind them.
constexpr uint32_t kCoefficientRun = 63;

constexpr QualityAnchor kQualityAnchors[] = {
    {1, kChroma420, 5, {7, 10, 12}, 2},   {10, kChroma420, 5, {7, 9, 10}, 1},
    {20, kChroma420, 5, {7, 8, 9}, 1},    {30, kChroma420, 5, {7, 7, 8}, 1},
    {40, kChroma420, 5, {7, 8, 9}, 0},    {50, kChroma420, 5, {7, 7, 8}, 0},
    {60, kChroma420, 5, {6, 7, 8}, 1},    {75, kChroma420, 5, {6, 6, 7}, 1},
    {80, kChroma444, 5, {6, 6, 7}, 1},    {85, kChroma420, 5, {6, 6.5, 7.5}, 0},
    {90, kChroma444, 4, {6, 6, 7}, 1},    {95, kChroma444, 5, {5, 5, 6}, 1},
    {100, kChroma444, 5, {5, 5, 6}, 0},
};

}  // namespace

MOLAQEncodeOptions mqEncodeOptionsForQuality(int32_t quality) {
  quality = std::clamp(quality, 1, 100);
  const size_t last = std::size(kQualityAnchors) - 1;
  size_t at = 0;
  while (at < last && kQualityAnchors[at + 1].quality <= quality) ++at;
  const QualityAnchor& low = kQualityAnchors[at];
  const QualityAnchor& high = kQualityAnchors[std::min(at + 1, last)];
  MOLAQEncodeOptions options;
  options.chromaFormat = low.chromaFormat;
  options.blockSize = low.blockSize;
  options.threshold = low.threshold;
  double t = 0;
  if (high.quality > low.quality && high.chromaFormat == low.chromaFormat &&
      high.blockSize == low.blockSize && high.threshold == low.threshold) {
    t = double(quality - low.quality) / (high.quality - low.quality);
  }
  for (int i = 0; i < 3; ++i) options.curve[i] = low.curve[i] + t * (high.curve[i] - low.curve[i]);
  return options;
}

uint32_t mqEncodeImageFile(const BITMAPINFO* info, const uint8_t* pixels, const ImageInfo* alpha,
                           const MOLAQEncodeOptions& options, MOLAQImageFile* out) {
  const BITMAPINFOHEADER& dib = info->bmiHeader;
  uint32_t bits = dib.biBitCount;
  if (dib.biWidth <= 0 || dib.biHeight <= 0 || uint32_t(dib.biWidth) > kMaxSide ||
      uint32_t(dib.biHeight) > kMaxSide || (bits != 1 && bits != 4 && bits != 8 && bits != 24)) {
    return 1;
  }
  ImageHeader& h = out->header;
  h = {};
  h.version = kImageVersion;
  h.coder = kImageCoder;
  h.width = static_cast<uint32_t>(dib.biWidth);
  h.height = static_cast<uint32_t>(dib.biHeight);
  h.bits = bits;
  h.chromaFormat = options.chromaFormat;
  h.blockSize = options.blockSize;
  mqFitQuantCurve(static_cast<int32_t>(options.blockSize), options.curve[0], options.curve[1],
                  options.curve[2], &h.curveA, &h.curveB, &h.curveC);
  uint32_t pitch = rowBytes(h.width, bits);
  if (bits <= 8) {
    std::memcpy(out->palette, info->bmiColors, 4u << bits);
    out->image = mqEncodeSymbols(pixels, pitch * h.height, kMQUnit8, 15, 4096);
  } else {
    uint32_t bytes = 0;
    uint8_t* data = mqCompressImage(&h, pixels, static_cast<int32_t>(pitch), &bytes, kCoefficientRun, 4096, options.threshold);
    if (data == nullptr) return 1;
    out->image.assign(data, data + bytes);
    mqFreeImage(data);
  }
  out->alphaBits = 0;
  out->alpha.clear();
  if (alpha != nullptr) {
    if ((alpha->bits != 1 && alpha->bits != 8) || alpha->width != dib.biWidth || alpha->height != dib.biHeight) return 1;
    out->alphaBits = alpha->bits;
    uint32_t alphaPitch = rowBytes(h.width, alpha->bits);
    std::vector<uint8_t> plane(static_cast<size_t>(alphaPitch) * h.height);
    for (uint32_t row = 0; row < h.height; ++row) {
      std::memcpy(&plane[row * alphaPitch], alpha->pixels + static_cast<size_t>(row) * alpha->pitch, alphaPitch);
    }
    out->alpha = mqEncodeSymbols(plane.data(), static_cast<uint32_t>(plane.size()), kMQUnit8, 15, 4096);
  }
  return 0;
}

uint32_t mqWriteImageFile(const char* path, const MOLAQImageFile& file) {
  VRFFileHeader fileHeader{};
  std::memcpy(fileHeader.fileId, kVRFFileId, sizeof kVRFFileId);
  fileHeader.fileType = kImageFileType;
  VRFDirectReader writer;
  if (writer.Open(path, VRFDirectReader::kWrite | VRFDirectReader::kCreate, &fileHeader) != 0) return 1;
  auto record = [&](uint64_t id, const void* body, size_t bytes) {
    return writer.DescendRecord(&id) == 0 &&
           writer.Write(body, static_cast<uint32_t>(bytes)) == bytes && writer.AscendRecord() == 0;
  };
  uint32_t bits = file.header.bits;
  bool ok = record(vrfId("ImageInf"), &file.header, sizeof file.header);
  if (ok && bits <= 8) ok = record(paletteRecordId(bits), file.palette, 4u << bits);
  ok = ok && record(imageRecordId(bits), file.image.data(), file.image.size());
  if (ok && file.alphaBits != 0) {
    ok = record(vrfId(file.alphaBits == 1 ? "Alpha-01" : "Alpha-08"), file.alpha.data(), file.alpha.size());
  }
  return ok ? 0 : 1;
}
