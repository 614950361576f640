#include "graphics/graphic.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/os/paint.h"
#include "graphics/view.h"

std::atomic<int32_t> DefaultConversion{kConversionNone};

namespace {

// Palettes that could not be deleted because a device context still had them selected wait
// here for a later attempt. The slots are atomic because RealizePalette clears them without
// the graveyard's lock (it holds an object's lock, which comes after the graveyard's).
constexpr int kGraveyardSlots = 16;
std::atomic<HPALETTE> graveyard[kGraveyardSlots];
os::CriticalSection& graveyardLock() {
  static os::CriticalSection lock;
  return lock;
}

// The largest pixel block an object takes: far beyond any screen, and small enough that a
// damaged header cannot ask for all memory.
constexpr uint64_t kMaxPixelBlock = 0x10000000;

}  // namespace

Graphic::Graphic(int32_t conversionMode)
    : header_{},
      displayPalette_{},
      masterPalette_{},
      logicalPalette_{},
      toneRed_(0),
      toneGreen_(0),
      toneBlue_(0),
      updateNeeded_(false),
      palette_(nullptr),
      zBuffer_(nullptr),
      alpha_(nullptr),
      view_{},
      pixels_(nullptr),
      tonedCopy_(nullptr),
      ownedBlock_(nullptr),
      conversionMode_(conversionMode == kConversionDefault ? DefaultConversion.load() : conversionMode) {}

Graphic::~Graphic() { Graphic::Release(); }

uint8_t* Graphic::AllocatePixels(uint32_t imageSize, int32_t height) {
  if (height <= 0) return nullptr;
  uint64_t bytes = uint64_t{imageSize} / static_cast<uint32_t>(height) * (uint64_t(height) + 1);
  // A stated size that is no multiple of the height still gets all its bytes.
  bytes = std::max<uint64_t>(bytes, imageSize);
  if (bytes == 0 || bytes > kMaxPixelBlock) return nullptr;
  return static_cast<uint8_t*>(std::malloc(bytes));
}

void Graphic::FreePixels(uint8_t* block) { std::free(block); }

void Graphic::ReplaceOwnedBlock(uint8_t* block) {
  if (ownedBlock_ != block) FreePixels(ownedBlock_);
  ownedBlock_ = block;
}

uint32_t Graphic::Release() {
  os::CriticalSection& cemetery = graveyardLock();
  cemetery.lock();
  lock_.lock();
  os::PaintDevice& device = os::paintDevice();
  for (auto& slot : graveyard) {
    HPALETTE waiting = slot.load();
    if (waiting && device.deletePalette(waiting)) slot.store(nullptr);
  }
  if (palette_ && !device.deletePalette(palette_)) {
    for (auto& slot : graveyard) {
      HPALETTE empty = nullptr;
      if (slot.compare_exchange_strong(empty, palette_)) break;
    }
  }
  palette_ = nullptr;
  cemetery.unlock();
  delete zBuffer_;
  zBuffer_ = nullptr;
  delete alpha_;
  alpha_ = nullptr;
  ReplaceOwnedBlock(nullptr);
  FreePixels(tonedCopy_);
  tonedCopy_ = nullptr;
  pixels_ = nullptr;
  lock_.unlock();
  return 0;
}

uint32_t Graphic::CreateBitmap(int32_t width, int32_t height, uint32_t bits) {
  if ((bits != 1 && bits != 8 && bits != 24) || width <= 0 || height <= 0) return 1;
  os::Lock hold(lock_);
  uint64_t size = dibPitch(width, bits) * static_cast<uint32_t>(height);
  uint8_t* block = size <= kMaxPixelBlock ? AllocatePixels(static_cast<uint32_t>(size), height) : nullptr;
  if (!block) return 1;
  struct {
    BITMAPINFOHEADER header;
    RGBQUAD colours[256];
  } info{};
  info.header.biSize = sizeof(BITMAPINFOHEADER);
  info.header.biWidth = width;
  info.header.biHeight = height;
  info.header.biPlanes = 1;
  info.header.biBitCount = static_cast<WORD>(bits);
  info.header.biCompression = BI_RGB;
  info.header.biSizeImage = static_cast<uint32_t>(size);
  info.header.biClrUsed = info.header.biClrImportant = 1u << bits;
  info.colours[1] = {255, 255, 255, 0};
  ReplaceOwnedBlock(block);
  return AttachDIBitmap(reinterpret_cast<const BITMAPINFO*>(&info), block, true);
}

uint32_t Graphic::AttachDIBitmap(const BITMAPINFO* info, void* bits, bool convert) {
  os::Lock hold(lock_);
  DetachDIBitmap();
  header_ = info->bmiHeader;
  if (header_.biSizeImage == 0)
    header_.biSizeImage =
        static_cast<uint32_t>(dibPitch(header_.biWidth, header_.biBitCount) * static_cast<uint32_t>(header_.biHeight));
  pixels_ = static_cast<uint8_t*>(bits);
  if (header_.biBitCount <= 8)
    std::memcpy(masterPalette_, info->bmiColors, (size_t{1} << header_.biBitCount) * sizeof(RGBQUAD));
  if ((header_.biBitCount == 8 || header_.biBitCount == 24) && convert &&
      (conversionMode_ == kConversionGrey || conversionMode_ == kConversionFixedPalette))
    ConvertTo8Bit();
  if (header_.biBitCount <= 8) {
    os::PaintDevice& device = os::paintDevice();
    if (!palette_) {
      LOGPALETTE one{0x300, 1, {{0, 0, 0, 0}}};
      palette_ = device.createPalette(&one);
    }
    if (palette_) device.resizePalette(palette_, 256);
    updateNeeded_ = true;
  }
  toneRed_ = toneGreen_ = toneBlue_ = 0;
  view_ = {0, 0, header_.biWidth - 1, header_.biHeight - 1};
  return 0;
}

void Graphic::ConvertTo8Bit() {
  int32_t width = header_.biWidth, height = header_.biHeight;
  uint32_t pitch8 = (static_cast<uint32_t>(width) + 3) & ~3u;
  uint8_t* block = width > 0 ? AllocatePixels(pitch8 * static_cast<uint32_t>(height), height) : nullptr;
  if (!block) return;  // too large to convert: the bitmap stays as it is
  // The source rows are taken as (bytes per pixel) * pitch8 apart, which for a 24-bit image of a
  // width that is no multiple of 4 is more than their true pitch; converted images have always
  // been made so. Rows that this pitch puts beyond the source's pixels stay black.
  uint32_t bytesPerPixel = header_.biBitCount / 8u;
  uint32_t srcPitch = bytesPerPixel * pitch8;
  uint32_t rowBytes = bytesPerPixel * static_cast<uint32_t>(width);
  int32_t rows = header_.biSizeImage < rowBytes
                     ? 0
                     : static_cast<int32_t>(std::min<uint32_t>(height, (header_.biSizeImage - rowBytes) / srcPitch + 1));
  std::memset(block, 0, pitch8 * static_cast<size_t>(height));
  mqConvertTo8Bit(block, static_cast<int32_t>(pitch8), pixels_, static_cast<int32_t>(srcPitch), width, rows,
                  header_.biBitCount, masterPalette_, conversionMode_ == kConversionGrey);
  header_.biBitCount = 8;
  header_.biSizeImage = pitch8 * static_cast<uint32_t>(height);
  ReplaceOwnedBlock(block);
  pixels_ = block;
  mqMakeFixedPalette(masterPalette_, conversionMode_ == kConversionGrey);
}

uint32_t Graphic::DetachDIBitmap() {
  os::Lock hold(lock_);
  FreePixels(tonedCopy_);
  tonedCopy_ = nullptr;
  pixels_ = nullptr;
  return 0;
}

uint32_t Graphic::UpdatePalette() {
  if (!pixels_) return 1;
  if (!updateNeeded_) return 0;
  os::Lock hold(lock_);
  updateNeeded_ = false;
  if (header_.biBitCount < 9) {
    uint8_t red[256], green[256], blue[256];
    mqMakeToneTable(red, toneRed_);
    mqMakeToneTable(green, toneGreen_);
    mqMakeToneTable(blue, toneBlue_);
    for (int i = 0; i < 256; ++i) {
      const RGBQUAD& c = masterPalette_[i];
      displayPalette_[i] = {blue[c.rgbBlue], green[c.rgbGreen], red[c.rgbRed], 0};
      logicalPalette_[i] = {red[c.rgbRed], green[c.rgbGreen], blue[c.rgbBlue], PC_NOCOLLAPSE};
    }
    if (palette_) os::paintDevice().setPaletteEntries(palette_, 0, 1u << header_.biBitCount, logicalPalette_);
  } else if (header_.biBitCount == 24) {
    // The tone kernel moves whole words when there is no tone, and the paint reads whole rows
    // whatever the stated size: the copy has room for both.
    if (!tonedCopy_) {
      uint64_t rows = dibPitch(header_.biWidth, 24) * static_cast<uint32_t>(header_.biHeight);
      tonedCopy_ = static_cast<uint8_t*>(std::malloc((std::max<uint64_t>(header_.biSizeImage, rows) + 3) & ~uint64_t{3}));
    }
    if (tonedCopy_) mqApplyTone(&header_, tonedCopy_, pixels_, toneRed_, toneGreen_, toneBlue_);
  }
  return 0;
}

void Graphic::ReleaseDIBitmap() {
  os::Lock hold(lock_);
  updateNeeded_ = header_.biBitCount > 8 && tonedCopy_;
}

void Graphic::GetImageInfo(ImageInfo* info) const {
  int32_t height = header_.biHeight;
  *info = {32, pixels_, header_.biWidth, height, header_.biBitCount,
           height ? static_cast<int32_t>(header_.biSizeImage / static_cast<uint32_t>(height)) : 0,
           header_.biSizeImage, 0};
}

uint32_t Graphic::InvalidateRect(const RECT* rect) {
  // Screens that show images belong to the main window; without one there is nobody to tell.
  View* view = mainView();
  if (!view) return 1;
  view->InvalidateImage(this, rect ? *rect : RECT{0, 0, header_.biWidth - 1, header_.biHeight - 1});
  return 0;
}

void Graphic::InvalidateAll() {
  RECT whole{0, 0, header_.biWidth - 1, header_.biHeight - 1};
  InvalidateRect(&whole);
}

void Graphic::SetPaletteTone(int32_t red, int32_t green, int32_t blue) {
  {
    os::Lock hold(lock_);
    if (red != toneRed_ || green != toneGreen_ || blue != toneBlue_) updateNeeded_ = true;
    toneRed_ = red;
    toneGreen_ = green;
    toneBlue_ = blue;
  }
  InvalidateAll();
}

uint32_t Graphic::SetPaletteEntries(uint32_t first, uint32_t count, const RGBQUAD* colours) {
  if (count != 0) {
    if (!palette_ || uint64_t{first} + count > 256) return 1;
    os::Lock hold(lock_);
    std::memcpy(masterPalette_ + first, colours, count * sizeof(RGBQUAD));
    updateNeeded_ = true;
  }
  InvalidateAll();
  return 0;
}

uint32_t Graphic::GetPaletteEntries(uint32_t first, uint32_t count, RGBQUAD* colours) const {
  if (!palette_ || uint64_t{first} + count > 256) return 1;
  std::memcpy(colours, masterPalette_ + first, count * sizeof(RGBQUAD));
  return 0;
}

uint32_t Graphic::RealizePalette(HDC dc, bool background) {
  UpdatePalette();
  if (!palette_) return 0;
  os::Lock hold(lock_);
  os::PaintDevice& device = os::paintDevice();
  HPALETTE displaced = device.selectPalette(dc, palette_, background);
  if (displaced) {
    for (auto& slot : graveyard) {
      if (slot.load() == displaced && device.deletePalette(displaced)) {
        HPALETTE expected = displaced;
        slot.compare_exchange_strong(expected, nullptr);
      }
    }
  }
  device.realizePalette(dc);
  return 0;
}

int32_t Graphic::DrawBitmapToDC(HDC dc, int32_t x, int32_t y, const SIZE* size, const RECT* rect) {
  if (!pixels_) return 1;
  os::Lock hold(lock_);
  UpdatePalette();
  RECT source = rect ? *rect : view_;
  source.left = std::max<int32_t>(source.left, 0);
  source.top = std::max<int32_t>(source.top, 0);
  source.right = std::min<int32_t>(source.right, header_.biWidth - 1);
  source.bottom = std::min<int32_t>(source.bottom, header_.biHeight - 1);
  int32_t width = source.right - source.left + 1, height = source.bottom - source.top + 1;
  SIZE target = size ? *size : SIZE{width, height};
  return os::paintDevice().stretchDIBits(dc, x, y, target.cx, target.cy, source.left,
                                          header_.biHeight - source.bottom - 1, width, height,
                                          tonedCopy_ ? tonedCopy_ : pixels_, BitmapInfo());
}

void Graphic::SetViewRectangle(int32_t left, int32_t top, int32_t right, int32_t bottom) {
  os::Lock hold(lock_);
  view_ = {std::max<int32_t>(left, 0), std::max<int32_t>(top, 0), std::min<int32_t>(right, header_.biWidth - 1),
           std::min<int32_t>(bottom, header_.biHeight - 1)};
}

uint32_t Graphic::IsPointHit(int32_t x, int32_t y) const {
  if (x < 0 || y < 0 || x >= header_.biWidth || y >= header_.biHeight) return 0;
  if (!alpha_ || !alpha_->pixels) return 1;
  if (x >= alpha_->width || y >= alpha_->height) return 0;
  const uint8_t* row = alpha_->pixels + static_cast<ptrdiff_t>(alpha_->height - y - 1) * alpha_->pitch;
  if (alpha_->bits == 1) return (row[x >> 3] & (0x80 >> (x & 7))) ? 1 : 0;
  if (alpha_->bits == 8) return row[x] != 0;
  return 1;
}

uint32_t Graphic::ReplaceRecord(ImageInfo*& record, const ImageInfo* source) {
  if (!source) return 1;
  os::Lock hold(lock_);
  if (!record) record = new ImageInfo;
  *record = *source;
  return 0;
}

uint32_t Graphic::SelectZBuffer(const ImageInfo* zBuffer) { return ReplaceRecord(zBuffer_, zBuffer); }

uint32_t Graphic::AttachAlphaPlane(const ImageInfo* alpha) { return ReplaceRecord(alpha_, alpha); }

void Graphic::AttachMaskPattern(uint8_t* bits) {
  int32_t pitch = ((header_.biWidth + 31) >> 3) & ~3;
  ImageInfo mask{32, bits, header_.biWidth, header_.biHeight, 1, pitch,
                 static_cast<uint32_t>(pitch) * static_cast<uint32_t>(header_.biHeight), 0};
  AttachAlphaPlane(&mask);
}

void Graphic::DetachAlphaPlane() {
  os::Lock hold(lock_);
  delete alpha_;
  alpha_ = nullptr;
}
