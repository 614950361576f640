// mqimage: codes PNG and BMP pictures into the engine's picture files, decodes them back and
// tells what a picture file holds.
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>

#include "base/library.h"
#include "files/vrf_file.h"
#include "graphics/molaq_image_encoder.h"
#include "tools/image/picture_io.h"

namespace {

const char kUsage[] =
    "usage: mqimage encode [options] INPUT OUTPUT   code a PNG or BMP picture\n"
    "       mqimage decode [--scale S] INPUT OUTPUT write a picture file as PNG or BMP\n"
    "       mqimage info INPUT                      show what a picture file holds\n"
    "       mqimage --help\n"
    "Pictures of 1, 4 or 8 bits with a palette are stored lossless. 24-bit pictures go through\n"
    "the block transform; an alpha channel of a PNG is stored lossless as an 8-bit plane.\n"
    "encode options:\n"
    "  --quality Q          1 (smallest) to 100 (finest), default 75: sets the four below,\n"
    "                       which, given as well, override it\n"
    "  --block 3|4|5        log2 of the block side (8, 16 or 32 pixels)\n"
    "  --chroma 444|422|420 chroma resolution\n"
    "  --curve A,B,C        quantiser steps (0 finest .. 14 coarsest; 7 keeps whole levels) at\n"
    "                       the lowest, middle and highest frequency\n"
    "  --threshold T        coefficients up to T in magnitude become 0\n"
    "decode options:\n"
    "  --scale S            blow a 24-bit picture up by 2^S, S 0 to 3 (3 needs chroma 444)\n"
    "The output is a PNG if its name ends in .png, a BMP otherwise.\n";

int usageError(const std::string& text) {
  std::cerr << "mqimage: " << text << "\n" << kUsage;
  return 2;
}

int failure(const std::string& text) {
  std::cerr << "mqimage: " << text << "\n";
  return 1;
}

bool parseNumber(const char* text, int32_t low, int32_t high, int32_t* out) {
  char* end = nullptr;
  long value = std::strtol(text, &end, 10);
  if (end == text || *end != 0 || value < low || value > high) return false;
  *out = int32_t(value);
  return true;
}

int encode(int argc, char** argv) {
  // The quality sets all options first, wherever it stands; the others then override it.
  MOLAQEncodeOptions options;
  for (int at = 2; at + 1 < argc && std::strncmp(argv[at], "--", 2) == 0; at += 2) {
    int32_t quality;
    if (std::strcmp(argv[at], "--quality") != 0) continue;
    if (!parseNumber(argv[at + 1], 1, 100, &quality)) return usageError("--quality takes 1 to 100");
    options = mqEncodeOptionsForQuality(quality);
  }
  int at = 2;
  for (; at + 1 < argc && std::strncmp(argv[at], "--", 2) == 0; at += 2) {
    std::string option = argv[at];
    const char* value = argv[at + 1];
    int32_t number;
    if (option == "--quality") {
    } else if (option == "--block" && parseNumber(value, 3, 5, &number)) {
      options.blockSize = uint32_t(number);
    } else if (option == "--chroma" && (!std::strcmp(value, "444") || !std::strcmp(value, "422") || !std::strcmp(value, "420"))) {
      options.chromaFormat = !std::strcmp(value, "444") ? kChroma444 : !std::strcmp(value, "422") ? kChroma422 : kChroma420;
    } else if (option == "--curve" &&
               std::sscanf(value, "%lf,%lf,%lf", &options.curve[0], &options.curve[1], &options.curve[2]) == 3) {
    } else if (option == "--threshold" && parseNumber(value, 0, 1 << 20, &number)) {
      options.threshold = uint32_t(number);
    } else {
      return usageError("bad option or value: " + option + " " + value);
    }
  }
  if (argc - at != 2) return usageError("encode needs INPUT and OUTPUT");
  Picture picture;
  std::string error;
  if (!readPicture(argv[at], &picture, &error)) return failure(error);
  struct {
    BITMAPINFOHEADER header;
    RGBQUAD colours[256];
  } info{};
  info.header = {40, picture.width, picture.height, 1, uint16_t(picture.bits), 0, 0, 0, 0, 0, 0};
  std::copy(picture.palette.begin(), picture.palette.end(), info.colours);
  ImageInfo alpha{32, picture.alpha.data(), picture.width, picture.height, 8,
                  int32_t(picture.alphaPitch()), picture.alphaPitch() * uint32_t(picture.height), 0};
  MOLAQImageFile file;
  if (mqEncodeImageFile(reinterpret_cast<const BITMAPINFO*>(&info), picture.pixels.data(),
                        picture.alpha.empty() ? nullptr : &alpha, options, &file) != 0) {
    return failure(std::string(argv[at]) + ": a picture of this size or depth cannot be coded");
  }
  if (mqWriteImageFile(argv[at + 1], file) != 0) return failure(std::string("cannot write ") + argv[at + 1]);
  size_t bytes = file.image.size() + file.alpha.size();
  std::printf("%s: %dx%d, %u bits, %zu bytes coded, %.3f bits per pixel\n", argv[at + 1], picture.width,
              picture.height, picture.bits, bytes, bytes * 8.0 / (double(picture.width) * picture.height));
  return 0;
}

int decode(int argc, char** argv) {
  int32_t scale = 0;
  int at = 2;
  if (argc > at + 1 && std::strcmp(argv[at], "--scale") == 0) {
    if (!parseNumber(argv[at + 1], 0, 3, &scale)) return usageError("--scale takes 0 to 3");
    at += 2;
  }
  if (argc - at != 2) return usageError("decode needs INPUT and OUTPUT");
  MOLAQImage image(kConversionNone);
  if (image.ReadImageFile(argv[at], scale) != 0 || image.Pixels() == nullptr) {
    return failure(std::string(argv[at]) + " is no picture file and no BMP file");
  }
  const BITMAPINFOHEADER& h = image.Header();
  Picture picture;
  picture.width = h.biWidth;
  picture.height = h.biHeight;
  picture.bits = h.biBitCount;
  picture.pixels.assign(image.Pixels(), image.Pixels() + size_t(picture.pitch()) * picture.height);
  if (picture.bits <= 8) {
    picture.palette.resize(size_t{1} << picture.bits);
    image.GetPaletteEntries(0, uint32_t(picture.palette.size()), picture.palette.data());
  }
  if (const ImageInfo* alpha = image.AlphaInfo()) {
    picture.alpha.assign(size_t(picture.alphaPitch()) * picture.height, 0);
    for (int32_t y = 0; y < picture.height; ++y) {
      for (int32_t x = 0; x < picture.width; ++x) {
        const uint8_t* row = alpha->pixels + size_t(y) * alpha->pitch;
        picture.alpha[size_t(y) * picture.alphaPitch() + x] =
            alpha->bits == 8 ? row[x] : ((row[x / 8] >> (7 - x % 8)) & 1) * 255;
      }
    }
  }
  std::string error;
  if (!writePicture(argv[at + 1], picture, &error)) return failure(error);
  return 0;
}

int info(const char* path) {
  VRFDirectReader reader;
  if (reader.Open(path, VRFDirectReader::kRead | VRFDirectReader::kShareRead, nullptr) != 0 ||
      reader.GetHeader().fileType != kImageFileType) {
    return failure(std::string(path) + " is no picture file");
  }
  uint64_t id = vrfId("ImageInf");
  ImageHeader h{};
  if (reader.DescendRecord(&id) != 0 || reader.Read(&h, sizeof h) != sizeof h) {
    return failure(std::string(path) + " has no picture header");
  }
  reader.AscendRecord();
  std::printf("%s: %u x %u, %u bits\n", path, h.width, h.height, h.bits);
  if (h.bits == 24) {
    uint32_t q[32];
    mqMakeQuantTable(q, int32_t(h.blockSize), h.curveA, h.curveB, h.curveC);
    uint32_t last = (1u << std::min(h.blockSize, 5u)) - 1;
    std::printf("  chroma %06x, blocks of %u, quantiser steps %u..%u\n", h.chromaFormat,
                1u << std::min(h.blockSize, 5u), q[0], q[last]);
  }
  while (reader.DescendRecord(nullptr) == 0) {
    uint64_t recordId = reader.GetRecordId();
    char name[9] = {};
    for (int i = 0; i < 8; ++i) name[i] = char(recordId >> (8 * i));
    std::printf("  record %-8s %llu bytes\n", name, static_cast<unsigned long long>(reader.GetLength()));
    reader.AscendRecord();
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
    std::cout << kUsage;
    if (!pngSupported()) std::cout << "This build reads and writes BMP files only (no PNG).\n";
    return 0;
  }
  if (argc < 2) return usageError("no command given");
  vkInitialize(VK_LIBRARY_VERSION);
  std::string command = argv[1];
  int result;
  if (command == "encode") {
    result = encode(argc, argv);
  } else if (command == "decode") {
    result = decode(argc, argv);
  } else if (command == "info" && argc == 3) {
    result = info(argv[2]);
  } else {
    result = usageError("unknown command or wrong number of arguments: " + command);
  }
  vkUninitialize();
  return result;
}
