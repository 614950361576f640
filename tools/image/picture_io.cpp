// PNG through libpng's simplified interface, BMP through the engine's own reader and writer.
#include "tools/image/picture_io.h"

#include <algorithm>
#include <cstring>
#include <fstream>

#include "files/file_obj.h"
#include "graphics/graphic.h"

#ifndef RUNA1_IMAGE_PNG
#define RUNA1_IMAGE_PNG 0
#endif
#if RUNA1_IMAGE_PNG
#include <png.h>
#endif

namespace {

bool endsWithPng(const std::string& path) {
  if (path.size() < 4) return false;
  std::string tail = path.substr(path.size() - 4);
  std::transform(tail.begin(), tail.end(), tail.begin(), [](unsigned char c) { return std::tolower(c); });
  return tail == ".png";
}

bool isPngFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  char magic[8] = {};
  in.read(magic, 8);
  return std::memcmp(magic, "\x89PNG\r\n\x1a\n", 8) == 0;
}

bool readBmp(const std::string& path, Picture* picture, std::string* error) {
  KRawFile file;
  if (file.Open(path.c_str(), FILE_READ | FILE_SHARE_READ) != 0) {
    *error = "cannot open " + path;
    return false;
  }
  Graphic image(kConversionNone);
  if (image.ReadBitmap(&file) != 0) {
    *error = path + " is no BMP file this tool can read";
    return false;
  }
  const BITMAPINFOHEADER& h = image.Header();
  if (h.biBitCount != 1 && h.biBitCount != 4 && h.biBitCount != 8 && h.biBitCount != 24) {
    *error = path + ": only BMP files of 1, 4, 8 or 24 bits are coded";
    return false;
  }
  picture->width = h.biWidth;
  picture->height = h.biHeight;
  picture->bits = h.biBitCount;
  picture->pixels.assign(image.Pixels(), image.Pixels() + size_t(picture->pitch()) * picture->height);
  picture->palette.clear();
  if (picture->bits <= 8) {
    picture->palette.resize(size_t{1} << picture->bits);
    image.GetPaletteEntries(0, uint32_t(picture->palette.size()), picture->palette.data());
  }
  picture->alpha.clear();
  return true;
}

bool writeBmp(const std::string& path, const Picture& picture, std::string* error) {
  struct {
    BITMAPINFOHEADER header;
    RGBQUAD colours[256];
  } info{};
  info.header = {40, picture.width, picture.height, 1, uint16_t(picture.bits), 0,
                 picture.pitch() * uint32_t(picture.height), 0, 0, 0, 0};
  std::copy(picture.palette.begin(), picture.palette.end(), info.colours);
  Graphic image(kConversionNone);
  std::vector<uint8_t> pixels = picture.pixels;
  image.AttachDIBitmap(reinterpret_cast<const BITMAPINFO*>(&info), pixels.data(), false);
  KRawFile file;
  bool done = file.Open(path.c_str(), FILE_WRITE | FILE_CREATE) == 0 && image.WriteBitmap(&file) == 0;
  image.DetachDIBitmap();
  if (!done) *error = "cannot write " + path;
  return done;
}

#if RUNA1_IMAGE_PNG
bool readPng(const std::string& path, Picture* picture, std::string* error) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&image, path.c_str())) {
    *error = path + ": " + image.message;
    return false;
  }
  picture->width = int32_t(image.width);
  picture->height = int32_t(image.height);
  picture->alpha.clear();
  picture->palette.clear();
  bool indexed = (image.format & PNG_FORMAT_FLAG_COLORMAP) && !(image.format & PNG_FORMAT_FLAG_ALPHA);
  bool withAlpha = (image.format & PNG_FORMAT_FLAG_ALPHA) != 0;
  if (indexed) {
    image.format = PNG_FORMAT_BGR_COLORMAP;
    picture->bits = 8;
    std::vector<uint8_t> colours(PNG_IMAGE_COLORMAP_SIZE(image));
    picture->pixels.assign(size_t(picture->pitch()) * picture->height, 0);
    // A negative stride puts the bottom row first in the buffer, as a DIB has it.
    bool done = png_image_finish_read(&image, nullptr, picture->pixels.data(), -int32_t(picture->pitch()), colours.data());
    if (!done) {
      *error = path + ": " + image.message;
      return false;
    }
    picture->palette.assign(256, RGBQUAD{});
    for (uint32_t i = 0; i < image.colormap_entries; ++i) {
      picture->palette[i] = {colours[i * 3], colours[i * 3 + 1], colours[i * 3 + 2], 0};
    }
    return true;
  }
  image.format = PNG_FORMAT_BGRA;
  std::vector<uint8_t> bgra(size_t(image.width) * image.height * 4);
  if (!png_image_finish_read(&image, nullptr, bgra.data(), -int32_t(image.width * 4), nullptr)) {
    *error = path + ": " + image.message;
    return false;
  }
  picture->bits = 24;
  picture->pixels.assign(size_t(picture->pitch()) * picture->height, 0);
  if (withAlpha) picture->alpha.assign(size_t(picture->alphaPitch()) * picture->height, 0);
  for (int32_t y = 0; y < picture->height; ++y) {
    for (int32_t x = 0; x < picture->width; ++x) {
      const uint8_t* from = &bgra[(size_t(y) * picture->width + x) * 4];
      std::memcpy(&picture->pixels[size_t(y) * picture->pitch() + x * 3], from, 3);
      if (withAlpha) picture->alpha[size_t(y) * picture->alphaPitch() + x] = from[3];
    }
  }
  return true;
}

bool writePng(const std::string& path, const Picture& picture, std::string* error) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = uint32_t(picture.width);
  image.height = uint32_t(picture.height);
  std::vector<uint8_t> rows;
  std::vector<uint8_t> colours;
  int32_t stride;
  if (picture.bits <= 8 && picture.alpha.empty()) {
    // Indices widened to one byte each.
    image.format = PNG_FORMAT_BGR_COLORMAP;
    image.colormap_entries = uint32_t(picture.palette.size());
    for (const RGBQUAD& c : picture.palette) colours.insert(colours.end(), {c.rgbBlue, c.rgbGreen, c.rgbRed});
    rows.resize(size_t(picture.width) * picture.height);
    uint32_t perByte = 8 / picture.bits, mask = (1u << picture.bits) - 1;
    for (int32_t y = 0; y < picture.height; ++y) {
      for (int32_t x = 0; x < picture.width; ++x) {
        uint8_t byte = picture.pixels[size_t(y) * picture.pitch() + x / perByte];
        uint32_t shift = (perByte - 1 - x % perByte) * picture.bits;
        rows[size_t(y) * picture.width + x] = uint8_t((byte >> shift) & mask);
      }
    }
    stride = picture.width;
  } else {
    const uint32_t channels = picture.alpha.empty() ? 3 : 4;
    image.format = channels == 3 ? PNG_FORMAT_BGR : PNG_FORMAT_BGRA;
    rows.resize(size_t(picture.width) * picture.height * channels);
    uint32_t perByte = picture.bits <= 8 ? 8 / picture.bits : 0, mask = (1u << std::min(picture.bits, 8u)) - 1;
    for (int32_t y = 0; y < picture.height; ++y) {
      for (int32_t x = 0; x < picture.width; ++x) {
        uint8_t* to = &rows[(size_t(y) * picture.width + x) * channels];
        if (picture.bits == 24) {
          std::memcpy(to, &picture.pixels[size_t(y) * picture.pitch() + x * 3], 3);
        } else {
          uint8_t byte = picture.pixels[size_t(y) * picture.pitch() + x / perByte];
          const RGBQUAD& c = picture.palette[(byte >> ((perByte - 1 - x % perByte) * picture.bits)) & mask];
          to[0] = c.rgbBlue;
          to[1] = c.rgbGreen;
          to[2] = c.rgbRed;
        }
        if (channels == 4) to[3] = picture.alpha[size_t(y) * picture.alphaPitch() + x];
      }
    }
    stride = picture.width * int32_t(channels);
  }
  if (!png_image_write_to_file(&image, path.c_str(), 0, rows.data(), -stride, colours.empty() ? nullptr : colours.data())) {
    *error = path + ": " + image.message;
    return false;
  }
  return true;
}
#endif

}  // namespace

bool pngSupported() { return RUNA1_IMAGE_PNG != 0; }

bool readPicture(const std::string& path, Picture* picture, std::string* error) {
  if (isPngFile(path)) {
#if RUNA1_IMAGE_PNG
    return readPng(path, picture, error);
#else
    *error = path + ": this build of the tool reads BMP files only";
    return false;
#endif
  }
  return readBmp(path, picture, error);
}

bool writePicture(const std::string& path, const Picture& picture, std::string* error) {
  if (endsWithPng(path)) {
#if RUNA1_IMAGE_PNG
    return writePng(path, picture, error);
#else
    *error = path + ": this build of the tool writes BMP files only";
    return false;
#endif
  }
  return writeBmp(path, picture, error);
}
