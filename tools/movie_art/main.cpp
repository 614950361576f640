// movie_art: the test movies of movie playback.
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tools/movie_art/avi_writer.h"

namespace {

constexpr char kUsage[] =
    "usage: movie_art FOLDER\n"
    "  Writes into FOLDER frames.avi, 50 frames of 160x120 at 10 per second, frame N of the\n"
    "  grey 20 + 4N, and damaged.avi, the same movie cut off in its third frame.\n";

constexpr uint32_t kFrames = 50;

bool writeFile(const std::filesystem::path& path, const std::vector<uint8_t>& bytes, size_t length) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(length));
  return static_cast<bool>(file);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0) {
    std::fputs(kUsage, argc == 2 ? stdout : stderr);
    return argc == 2 ? 0 : 2;
  }
  movie_art::GreyMovie movie;
  for (uint32_t frame = 0; frame < kFrames; ++frame) movie.greys.push_back(movie_art::frameGrey(frame));
  std::vector<uint8_t> avi = movie_art::writeAvi(movie);
  const size_t frameBytes = 160 * 3 * 120;
  const size_t damagedLength = avi.size() - (kFrames - 2) * (frameBytes + 8) - 16 * kFrames - 8 + frameBytes / 2;
  std::filesystem::path folder = argv[1];
  std::error_code failure;
  std::filesystem::create_directories(folder, failure);
  if (!writeFile(folder / "frames.avi", avi, avi.size()) || !writeFile(folder / "damaged.avi", avi, damagedLength)) {
    std::fprintf(stderr, "movie_art: cannot write into %s\n", folder.string().c_str());
    return 1;
  }
  return 0;
}
