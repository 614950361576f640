// Plain BMP streams: a 14-byte file header, the 40-byte info header, the colours of a palette
// image, and the rows bottom-up.
#include <cstring>

#include "files/file_obj.h"
#include "graphics/graphic.h"

namespace {

constexpr uint32_t kFileHeaderBytes = 14;
constexpr uint32_t kHeadersBytes = kFileHeaderBytes + sizeof(BITMAPINFOHEADER);

uint32_t readLE32(const uint8_t* at) {
  return at[0] | at[1] << 8 | at[2] << 16 | static_cast<uint32_t>(at[3]) << 24;
}

void writeLE32(uint8_t* at, uint32_t value) {
  for (int i = 0; i < 4; ++i) at[i] = static_cast<uint8_t>(value >> (8 * i));
}

bool readExactly(KFileObj* file, void* buffer, uint32_t bytes) {
  return file->Read(buffer, bytes) == bytes;
}

}  // namespace

uint32_t Graphic::ReadBitmap(KFileObj* file) {
  uint8_t fileHeader[kFileHeaderBytes];
  if (!readExactly(file, fileHeader, kFileHeaderBytes)) return 1;
  uint32_t fileSize = readLE32(fileHeader + 2), dataOffset = readLE32(fileHeader + 10);
  if (fileSize <= dataOffset) return 1;

  struct {
    BITMAPINFOHEADER header;
    RGBQUAD colours[256];
  } info{};
  BITMAPINFOHEADER& header = info.header;
  if (!readExactly(file, &header, sizeof header)) return 1;
  uint32_t bits = header.biBitCount;
  if (bits != 1 && bits != 4 && bits != 8 && bits != 16 && bits != 24) return 1;
  // Rows are stored bottom-up; a top-down or empty bitmap is not a plain BMP stream.
  if (header.biWidth <= 0 || header.biHeight <= 0) return 1;

  uint32_t remaining = fileSize - kHeadersBytes;
  if (bits < 9) {
    uint32_t colourBytes = dataOffset - kHeadersBytes;
    if ((4u << bits) < colourBytes) return 1;
    if (!readExactly(file, info.colours, colourBytes)) return 1;
    remaining -= colourBytes;
  }
  uint64_t rowsBytes = dibPitch(header.biWidth, bits) * static_cast<uint32_t>(header.biHeight);
  if (rowsBytes > 0xFFFFFFFFu) return 1;
  if (header.biSizeImage == 0) header.biSizeImage = static_cast<uint32_t>(rowsBytes);
  // The kernels walk whole rows: a stated size that cannot hold them is damage.
  if (header.biSizeImage < rowsBytes) return 1;

  uint8_t* block = AllocatePixels(header.biSizeImage, header.biHeight);
  if (!block) return 1;
  uint32_t wanted = remaining < header.biSizeImage ? remaining : header.biSizeImage;
  uint32_t got = file->Read(block, wanted);
  // A short stream leaves the rest of the image black rather than undefined.
  std::memset(block + got, 0, header.biSizeImage - got);
  os::Lock hold(lock_);
  ReplaceOwnedBlock(block);
  return AttachDIBitmap(reinterpret_cast<const BITMAPINFO*>(&info), block, true);
}

uint32_t Graphic::WriteBitmap(KFileObj* file) {
  if (!pixels_) return 1;
  os::Lock hold(lock_);
  uint32_t colourBytes = header_.biBitCount <= 8 ? 4u << header_.biBitCount : 0;
  uint32_t size = header_.biSizeImage + colourBytes + kHeadersBytes;
  uint8_t fileHeader[kFileHeaderBytes] = {'B', 'M'};
  writeLE32(fileHeader + 2, size);
  writeLE32(fileHeader + 10, size - header_.biSizeImage);
  if (file->Write(fileHeader, kFileHeaderBytes) != kFileHeaderBytes) return 1;
  file->Write(&header_, sizeof header_);
  if (header_.biBitCount < 9) file->Write(masterPalette_, colourBytes);
  file->Write(pixels_, header_.biSizeImage);
  return 0;
}
