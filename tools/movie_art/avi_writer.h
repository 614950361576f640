// An AVI file of one video stream of uncompressed 24-bit frames, each of one grey, with an
// index: the plainest movie that every system's video player opens.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace movie_art {

struct GreyMovie {
  uint32_t width = 160;
  uint32_t height = 120;
  uint32_t framesPerSecond = 10;
  std::vector<uint8_t> greys;  // one frame per entry
};

// The grey of frame `frame` in the test movies: 20, 24, 28, ... so that any frame is known by
// its grey alone, whatever order the player gives the colour channels in.
uint8_t frameGrey(uint32_t frame);

std::vector<uint8_t> writeAvi(const GreyMovie& movie);

}  // namespace movie_art
