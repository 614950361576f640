// Rate and distortion of the picture coder beside libjpeg-turbo's baseline coder (the one cjpeg
// runs: 4:2:0, standard tables and Huffman codes) on the same photographs. For each photograph
// (a JPEG file, halved in both directions by 2x2 means to wash out its own JPEG artefacts) it
// prints one line per setting: bits per pixel, PSNR over R, G and B, PSNR of luminance, and for
// the picture coder the phrase steps per pixel (each step is one arithmetic decode).
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <jpeglib.h>

#include "bench/jpeg_peer.h"
#include "graphics/core/molaq.h"
#include "graphics/molaq_image_encoder.h"

namespace {

struct Picture {
  int32_t width = 0, height = 0;
  std::vector<uint8_t> bgr;  // bottom-up DIB rows
  int32_t pitch() const { return (width * 3 + 3) & ~3; }
};

void jpegError(j_common_ptr cinfo) {
  char text[JMSG_LENGTH_MAX];
  (*cinfo->err->format_message)(cinfo, text);
  std::fprintf(stderr, "picture_quality_report: %s\n", text);
  std::exit(1);
}

// Decodes a JPEG into top-down BGR rows.
std::vector<uint8_t> jpegDecodeRows(const uint8_t* data, size_t size, int32_t* width, int32_t* height) {
  jpeg_decompress_struct cinfo;
  jpeg_error_mgr error;
  cinfo.err = jpeg_std_error(&error);
  error.error_exit = jpegError;
  jpeg_create_decompress(&cinfo);
  jpeg_mem_src(&cinfo, data, static_cast<unsigned long>(size));
  jpeg_read_header(&cinfo, TRUE);
  cinfo.out_color_space = JCS_EXT_BGR;
  jpeg_start_decompress(&cinfo);
  *width = int32_t(cinfo.output_width);
  *height = int32_t(cinfo.output_height);
  std::vector<uint8_t> rows(size_t(*width) * 3 * *height);
  while (cinfo.output_scanline < cinfo.output_height) {
    JSAMPROW row = &rows[size_t(cinfo.output_scanline) * *width * 3];
    jpeg_read_scanlines(&cinfo, &row, 1);
  }
  jpeg_finish_decompress(&cinfo);
  jpeg_destroy_decompress(&cinfo);
  return rows;
}

bool loadPhoto(const char* path, Picture* out) {
  FILE* file = std::fopen(path, "rb");
  if (file == nullptr) return false;
  std::vector<uint8_t> bytes;
  uint8_t buffer[65536];
  for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, file)) > 0;) bytes.insert(bytes.end(), buffer, buffer + n);
  std::fclose(file);
  int32_t w, h;
  std::vector<uint8_t> rows = jpegDecodeRows(bytes.data(), bytes.size(), &w, &h);
  out->width = w / 2;
  out->height = h / 2;
  out->bgr.assign(size_t(out->pitch()) * out->height, 0);
  for (int32_t y = 0; y < out->height; ++y) {
    for (int32_t x = 0; x < out->width * 3; ++x) {
      const uint8_t* top = &rows[size_t(2 * y) * w * 3 + (x / 3) * 6 + x % 3];
      int sum = top[0] + top[3] + top[w * 3] + top[w * 3 + 3];
      out->bgr[size_t(out->height - 1 - y) * out->pitch() + x] = uint8_t((sum + 2) / 4);
    }
  }
  return true;
}

struct Distortion {
  double rgb, luma;
};

double toDecibels(double squares, double count) {
  return 10 * std::log10(255.0 * 255.0 * count / std::max(squares, 1e-9));
}

Distortion measure(const Picture& a, const std::vector<uint8_t>& b) {
  double rgb = 0, luma = 0;
  for (int32_t y = 0; y < a.height; ++y) {
    const uint8_t* p = &a.bgr[size_t(y) * a.pitch()];
    const uint8_t* q = &b[size_t(y) * a.pitch()];
    for (int32_t x = 0; x < a.width * 3; x += 3) {
      double db = p[x] - q[x], dg = p[x + 1] - q[x + 1], dr = p[x + 2] - q[x + 2];
      rgb += db * db + dg * dg + dr * dr;
      double dy = 0.299 * dr + 0.587 * dg + 0.114 * db;
      luma += dy * dy;
    }
  }
  double pixels = double(a.width) * a.height;
  return {toDecibels(rgb, 3 * pixels), toDecibels(luma, pixels)};
}

void reportJpeg(const Picture& p, int quality) {
  std::vector<uint8_t> coded = jpegCompressDib(p.bgr.data(), p.width, p.height, p.pitch(), quality);
  int32_t w, h;
  std::vector<uint8_t> rows = jpegDecodeRows(coded.data(), coded.size(), &w, &h);
  std::vector<uint8_t> bottomUp(size_t(p.pitch()) * p.height, 0);
  for (int32_t y = 0; y < h; ++y) std::memcpy(&bottomUp[size_t(h - 1 - y) * p.pitch()], &rows[size_t(y) * w * 3], size_t(w) * 3);
  Distortion d = measure(p, bottomUp);
  std::printf("  jpeg q%-3d          %6.3f bpp  %6.2f dB RGB  %6.2f dB Y\n", quality,
              coded.size() * 8.0 / (double(p.width) * p.height), d.rgb, d.luma);
}

// Phrase steps of a coded picture: a step starts whenever no phrase is pending.
uint64_t countPhraseSteps(const ImageHeader& header, const std::vector<uint8_t>& stream) {
  MQDecoderState state;
  MQDecoder* decoder = mqOpenDecoder(&state, sizeof state, stream.data(), kMQUnit32 | kMQSigned,
                                     kMQTableLimit, nullptr, stream.size());
  if (decoder == nullptr) return 0;
  uint32_t n = 1u << header.blockSize, macro = 2 * n;
  uint32_t blocks = header.chromaFormat == kChroma444 ? 12 : header.chromaFormat == kChroma422 ? 8 : 6;
  uint64_t symbols = uint64_t((header.width + macro - 1) / macro) * ((header.height + macro - 1) / macro) * blocks * n * n;
  uint64_t steps = 0;
  int32_t value;
  for (uint64_t i = 0; i < symbols; ++i) {
    if (state.pending < 0) ++steps;
    mqDecode(decoder, &state, &value, 1);
  }
  mqCloseDecoder(decoder);
  return steps;
}

void reportPicture(const Picture& p, const MOLAQEncodeOptions& options, const char* label) {
  struct {
    BITMAPINFOHEADER header;
    RGBQUAD colours[1];
  } info{};
  info.header = {40, p.width, p.height, 1, 24, 0, 0, 0, 0, 0, 0};
  MOLAQImageFile file;
  if (mqEncodeImageFile(reinterpret_cast<const BITMAPINFO*>(&info), p.bgr.data(), nullptr, options, &file) != 0) {
    std::fprintf(stderr, "picture_quality_report: cannot code %s\n", label);
    std::exit(1);
  }
  std::vector<uint8_t> decoded(size_t(p.pitch()) * p.height, 0);
  mqDecompressImage(&file.header, decoded.data(), 24, p.pitch(), file.image.data(), 0, false,
                    kMQTableLimit, nullptr, file.image.size());
  Distortion d = measure(p, decoded);
  double pixels = double(p.width) * p.height;
  std::printf("  %-18s %6.3f bpp  %6.2f dB RGB  %6.2f dB Y  %5.3f steps/pixel\n", label,
              file.image.size() * 8.0 / pixels, d.rgb, d.luma,
              double(countPhraseSteps(file.header, file.image)) / pixels);
}

const char kUsage[] =
    "usage: picture_quality_report [--curves] PHOTO.jpg...\n"
    "Codes each photograph at qualities of mqimage --quality and of JPEG, and prints bits per\n"
    "pixel, PSNR (RGB and luminance) and phrase steps per pixel.\n"
    "--curves adds the curves (f, f+1, f+2) with threshold 1 at blocks of 8, 4:2:0.\n";

}  // namespace

int main(int argc, char** argv) {
  bool curves = false;
  int first = 1;
  if (argc > 1 && std::strcmp(argv[1], "--curves") == 0) curves = true, first = 2;
  if (first >= argc || std::strcmp(argv[1], "--help") == 0) {
    std::fputs(kUsage, first >= argc ? stderr : stdout);
    return first >= argc ? 2 : 0;
  }
  for (int i = first; i < argc; ++i) {
    Picture photo;
    if (!loadPhoto(argv[i], &photo)) {
      std::fprintf(stderr, "picture_quality_report: cannot read %s\n", argv[i]);
      return 1;
    }
    std::printf("%s (%dx%d)\n", argv[i], photo.width, photo.height);
    if (curves) {
      for (double fine = 5; fine <= 8; fine += 1) {
        MOLAQEncodeOptions options;
        options = MOLAQEncodeOptions{kChroma420, 3, {fine, fine + 1, fine + 2}, 1};
        char label[32];
        std::snprintf(label, sizeof label, "curve %d,%d,%d", int(fine), int(fine) + 1, int(fine) + 2);
        reportPicture(photo, options, label);
      }
    }
    for (int quality : {10, 20, 30, 40, 50, 60, 75, 85, 90, 95}) {
      char label[32];
      std::snprintf(label, sizeof label, "quality %d", quality);
      reportPicture(photo, mqEncodeOptionsForQuality(quality), label);
    }
    for (int quality : {10, 20, 30, 40, 50, 60, 75, 85, 90, 95}) reportJpeg(photo, quality);
  }
  return 0;
}
