// Coding and writing picture files.
#include "graphics/molaq_image_encoder.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "files/vrf_file.h"
#include "graphics/core/molaq.h"

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
  if (dib.biWidth <= 0 || dib.biHeight <= 0 || uint32_t(dib.biWidth) > kImageMaxSide ||
      uint32_t(dib.biHeight) > kImageMaxSide || (bits != 1 && bits != 4 && bits != 8 && bits != 24)) {
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
  uint32_t pitch = mqImageRowBytes(h.width, bits);
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
    uint32_t alphaPitch = mqImageRowBytes(h.width, alpha->bits);
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
  if (ok && bits <= 8) ok = record(mqPaletteRecordId(bits), file.palette, 4u << bits);
  ok = ok && record(mqImageRecordId(bits), file.image.data(), file.image.size());
  if (ok && file.alphaBits != 0) {
    ok = record(vrfId(file.alphaBits == 1 ? "Alpha-01" : "Alpha-08"), file.alpha.data(), file.alpha.size());
  }
  return ok ? 0 : 1;
}
