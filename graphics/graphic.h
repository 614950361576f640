// The image object: a device-independent bitmap (header, colour table, bottom-up rows) with a
// tone on its displayed colours, a palette for the display, optional z-buffer and alpha records,
// a view rectangle and one lock that serialises it all, because the module thread draws while
// the window thread paints.
#pragma once

#include <atomic>
#include <cstdint>

#include "base/os/os.h"
#include "base/os/win32_types.h"
#include "graphics/core/molaq.h"

class KFileObj;

// How attach treats 8- and 24-bit bitmaps.
enum : int32_t {
  kConversionNone = 0,  // kept as they are
  kConversionGrey = 1,  // converted to 8-bit grey with a grey ramp
  kConversionFixedPalette = 2,  // converted to 8 bits with the fixed palette, dithered
  kConversionDefault = -1,  // the constructor takes DefaultConversion
};

// Conversion mode of objects made without an explicit one (written by the module through
// graphic_SetDefConversion8BitColor).
extern std::atomic<int32_t> DefaultConversion;
// Conversion mode that the exports which make objects give them right after construction. No
// code changes it: the module's own images are never converted.
constexpr int32_t kMadeObjectConversion = kConversionNone;

// Bytes of one row of `width` pixels of `bits` bits: rows are padded to 32 bits.
constexpr uint64_t dibPitch(int32_t width, uint32_t bits) {
  return ((uint64_t{static_cast<uint32_t>(width)} * bits + 31) >> 5) * 4;
}

class Graphic {
 public:
  explicit Graphic(int32_t conversionMode = kConversionDefault);
  Graphic(const Graphic&) = delete;
  Graphic& operator=(const Graphic&) = delete;

  // Frees everything the object holds; it can take a new bitmap afterwards.
  virtual uint32_t Release();
  // Takes a bitmap: copies header and colours, points at `bits`, converts to 8 bits if the
  // conversion mode asks and `convert` is set.
  virtual uint32_t AttachDIBitmap(const BITMAPINFO* info, void* bits, bool convert);
  // Forgets the pixels (and their toned copy); the owned block and the rest stay.
  virtual uint32_t DetachDIBitmap();
  // Brings display palette, logical palette and toned copy up to date. 1 without pixels.
  virtual uint32_t UpdatePalette();
  virtual ~Graphic();

  // An object with pixels of its own: bits 1, 8 or 24. 1 on failure.
  uint32_t CreateBitmap(int32_t width, int32_t height, uint32_t bits);
  // Ends the module's direct access to the pixels.
  void ReleaseDIBitmap();
  void GetImageInfo(ImageInfo* info) const;
  // Tells the window which part (inclusive; null for all) of the image changed: 1 while there is
  // no window to tell.
  uint32_t InvalidateRect(const RECT* rect);
  void InvalidateAll();

  void SetPaletteTone(int32_t red, int32_t green, int32_t blue);
  uint32_t SetPaletteEntries(uint32_t first, uint32_t count, const RGBQUAD* colours);
  uint32_t GetPaletteEntries(uint32_t first, uint32_t count, RGBQUAD* colours) const;
  uint32_t RealizePalette(HDC dc, bool background);
  int32_t DrawBitmapToDC(HDC dc, int32_t x, int32_t y, const SIZE* size, const RECT* rect);

  void SetViewRectangle(int32_t left, int32_t top, int32_t right, int32_t bottom);
  const RECT& ViewRectangle() const { return view_; }
  uint32_t IsPointHit(int32_t x, int32_t y) const;

  // Copies a z-buffer's or an alpha plane's record; the plane stays the caller's.
  // A null record gives 1 and changes nothing.
  uint32_t SelectZBuffer(const ImageInfo* zBuffer);
  uint32_t AttachAlphaPlane(const ImageInfo* alpha);
  // A 1-bit alpha record over `bits`, of the image's size.
  void AttachMaskPattern(uint8_t* bits);
  void DetachAlphaPlane();

  // Reads a plain BMP stream (1, 4, 8, 16 or 24 bits) into the object; 1 on bad input.
  uint32_t ReadBitmap(KFileObj* file);
  uint32_t WriteBitmap(KFileObj* file);

  // What the drawing kernels work on.
  const BITMAPINFO* BitmapInfo() const { return reinterpret_cast<const BITMAPINFO*>(&header_); }
  const BITMAPINFOHEADER& Header() const { return header_; }
  uint8_t* Pixels() const { return pixels_; }
  const uint8_t* TonedCopy() const { return tonedCopy_; }
  ImageInfo* ZBufferInfo() const { return zBuffer_; }
  ImageInfo* AlphaInfo() const { return alpha_; }
  HPALETTE Palette() const { return palette_; }
  int32_t ConversionMode() const { return conversionMode_; }
  void SetConversionMode(int32_t mode) { conversionMode_ = mode; }
  // Marks the derived data stale (a drawing changed the pixels under a toned copy).
  void SetUpdateFlag() { updateNeeded_ = true; }
  bool UpdateFlag() const { return updateNeeded_; }
  os::CriticalSection& Lock() { return lock_; }

 protected:
  // The block an object owns its pixels in: one row more than the image needs, because the
  // decoders may run past the last row. Null for sizes this process cannot hold.
  static uint8_t* AllocatePixels(uint32_t imageSize, int32_t height);
  static void FreePixels(uint8_t* block);
  void ReplaceOwnedBlock(uint8_t* block);

 private:
  void ConvertTo8Bit();
  uint32_t ReplaceRecord(ImageInfo*& record, const ImageInfo* source);

  BITMAPINFOHEADER header_;
  RGBQUAD displayPalette_[256];  // follows the header: the two form the BITMAPINFO
  RGBQUAD masterPalette_[256];
  PALETTEENTRY logicalPalette_[256];
  int32_t toneRed_, toneGreen_, toneBlue_;
  std::atomic<bool> updateNeeded_;  // tested outside the lock by UpdatePalette
  HPALETTE palette_;
  ImageInfo* zBuffer_;
  ImageInfo* alpha_;
  RECT view_;
  uint8_t* pixels_;
  uint8_t* tonedCopy_;
  uint8_t* ownedBlock_;
  os::CriticalSection lock_;
  int32_t conversionMode_;
};
