// Plain BMP streams: a 14-byte file header, the 40-byte info header, the colours of a palette
// image, and the rows bottom-up.
#include <algorithm>
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

void flipRows(uint8_t* rows, uint32_t rowBytes, int32_t height) {
  for (int32_t top = 0, bottom = height - 1; top < bottom; ++top, --bottom)
    std::swap_ranges(rows + size_t{rowBytes} * top, rows + size_t{rowBytes} * (top + 1), rows + size_t{rowBytes} * bottom);
}

}  // namespace

uint32_t Graphic::ReadBitmap(KFileObj* file) {
  uint8_t fileHeader[kFileHeaderBytes];
  if (!readExactly(file, fileHeader, kFileHeaderBytes)) return 1;
  uint32_t fileSize = readLE32(fileHeader + 2), dataOffset = readLE32(fileHeader + 10);
  if (fileSize <= dataOffset) return 1;

  // What the stream does not hold of the headers and the colours reads as zeros.
  struct {
    BITMAPINFOHEADER header;
    RGBQUAD colours[256];
  } info{};
  BITMAPINFOHEADER& header = info.header;
  file->Read(&header, sizeof header);
  uint32_t bits = header.biBitCount;
  if (bits != 1 && bits != 4 && bits != 8 && bits != 16 && bits != 24) return 1;
  // Without columns or rows there is no block to read into.
  if (header.biWidth <= 0 || header.biHeight == 0) return 1;

  uint32_t remaining = fileSize - kHeadersBytes;
  if (bits < 9) {
    uint32_t colourBytes = dataOffset - kHeadersBytes;
    if ((4u << bits) < colourBytes) return 1;
    file->Read(info.colours, colourBytes);
    remaining -= colourBytes;
  }
  // A negative height states the rows top-down; they are read so and turned bottom-up, the
  // order every kernel walks.
  const bool topDown = header.biHeight < 0;
  const int32_t height = topDown ? -header.biHeight : header.biHeight;
  const uint64_t rowBytes = dibPitch(header.biWidth, bits);
  if (rowBytes * static_cast<uint32_t>(height) > 0xFFFFFFFFu) return 1;
  const uint32_t allRows = static_cast<uint32_t>(rowBytes * static_cast<uint32_t>(height));
  if (header.biSizeImage == 0) header.biSizeImage = allRows;
  header.biHeight = height;

  // The block holds the stated size and, whatever that says, all the rows: the kernels and the
  // paint walk whole rows. What the stream does not fill stays black.
  uint8_t* block = AllocatePixels(std::max<uint32_t>(header.biSizeImage, allRows), height);
  if (!block) return 1;
  uint32_t wanted = std::min<uint32_t>(remaining, header.biSizeImage);
  uint32_t got = file->Read(block, wanted);
  std::memset(block + got, 0, std::max<uint32_t>(header.biSizeImage, allRows) - got);
  if (topDown) flipRows(block, static_cast<uint32_t>(rowBytes), height);
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
