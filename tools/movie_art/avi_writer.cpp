#include "tools/movie_art/avi_writer.h"

namespace movie_art {

namespace {

constexpr uint32_t kHasIndex = 0x10;  // AVIF_HASINDEX
constexpr uint32_t kKeyFrame = 0x10;  // AVIIF_KEYFRAME
constexpr uint32_t kBitmapHeaderSize = 40;

class Writer {
 public:
  std::vector<uint8_t> bytes;

  void u16(uint32_t value) {
    bytes.push_back(static_cast<uint8_t>(value));
    bytes.push_back(static_cast<uint8_t>(value >> 8));
  }
  void u32(uint32_t value) {
    u16(value & 0xFFFF);
    u16(value >> 16);
  }
  void fourcc(const char* code) { bytes.insert(bytes.end(), code, code + 4); }
  // A chunk's or list's code and a size field to fill in later; gives the size field's place.
  size_t open(const char* code) {
    fourcc(code);
    size_t sizeAt = bytes.size();
    u32(0);
    return sizeAt;
  }
  void close(size_t sizeAt) {
    uint32_t size = static_cast<uint32_t>(bytes.size() - sizeAt - 4);
    for (int i = 0; i < 4; ++i) bytes[sizeAt + i] = static_cast<uint8_t>(size >> (8 * i));
    if (size & 1) bytes.push_back(0);
  }
};

}  // namespace

uint8_t frameGrey(uint32_t frame) { return static_cast<uint8_t>(20 + 4 * frame); }

std::vector<uint8_t> writeAvi(const GreyMovie& movie) {
  const uint32_t frames = static_cast<uint32_t>(movie.greys.size());
  const uint32_t rowBytes = (movie.width * 3 + 3) & ~3u;
  const uint32_t frameBytes = rowBytes * movie.height;
  Writer w;
  size_t riff = w.open("RIFF");
  w.fourcc("AVI ");
  size_t headers = w.open("LIST");
  w.fourcc("hdrl");
  size_t main = w.open("avih");
  w.u32(1000000 / movie.framesPerSecond);
  w.u32(frameBytes * movie.framesPerSecond);
  w.u32(0);  // padding granularity
  w.u32(kHasIndex);
  w.u32(frames);
  w.u32(0);  // initial frames
  w.u32(1);  // streams
  w.u32(frameBytes);
  w.u32(movie.width);
  w.u32(movie.height);
  for (int i = 0; i < 4; ++i) w.u32(0);
  w.close(main);
  size_t stream = w.open("LIST");
  w.fourcc("strl");
  size_t streamHeader = w.open("strh");
  w.fourcc("vids");
  w.fourcc("DIB ");
  w.u32(0);  // flags
  w.u16(0);  // priority
  w.u16(0);  // language
  w.u32(0);  // initial frames
  w.u32(1);  // scale
  w.u32(movie.framesPerSecond);  // rate
  w.u32(0);  // start
  w.u32(frames);
  w.u32(frameBytes);
  w.u32(0xFFFFFFFF);  // quality: the default
  w.u32(0);           // sample size: varies
  w.u16(0);
  w.u16(0);
  w.u16(movie.width);
  w.u16(movie.height);
  w.close(streamHeader);
  size_t format = w.open("strf");
  w.u32(kBitmapHeaderSize);
  w.u32(movie.width);
  w.u32(movie.height);
  w.u16(1);   // planes
  w.u16(24);  // bits
  w.u32(0);   // BI_RGB
  w.u32(frameBytes);
  for (int i = 0; i < 4; ++i) w.u32(0);
  w.close(format);
  w.close(stream);
  w.close(headers);

  size_t frameList = w.open("LIST");
  const size_t listStart = frameList + 4;  // index offsets count from the list's "movi"
  w.fourcc("movi");
  std::vector<uint32_t> offsets;
  for (uint8_t grey : movie.greys) {
    offsets.push_back(static_cast<uint32_t>(w.bytes.size() - listStart));
    size_t frame = w.open("00db");
    w.bytes.insert(w.bytes.end(), frameBytes, grey);
    w.close(frame);
  }
  w.close(frameList);
  size_t index = w.open("idx1");
  for (uint32_t offset : offsets) {
    w.fourcc("00db");
    w.u32(kKeyFrame);
    w.u32(offset);
    w.u32(frameBytes);
  }
  w.close(index);
  w.close(riff);
  return w.bytes;
}

}  // namespace movie_art
