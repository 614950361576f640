// A coded stream written from its layout alone, by the test's own writer rather than the
// encoder's: the two header words, then the dictionary, the frequencies and the arithmetic code
// as a list of bits, packed at the end into 32-bit words stored most significant byte first.
// Its arithmetic coder keeps the low end of the interval in 32 bits; a carry out of them walks
// back over the bits already written.
#pragma once

#include <bit>
#include <cstdint>
#include <vector>

class IndependentStream {
 public:
  IndependentStream(uint32_t phraseCount, uint32_t widthWord) : header_{phraseCount, widthWord} {}

  void bits(uint64_t value, uint32_t count) {
    for (uint32_t i = count; i-- > 0;) bits_.push_back((value >> i) & 1);
  }
  void phrase(const std::vector<int32_t>& values, uint32_t width, uint32_t repeat) {
    for (size_t i = 0; i < values.size(); ++i) {
      bits(static_cast<uint32_t>(values[i]) & ((uint64_t{1} << width) - 1), width);
      bits(i + 1 == values.size() ? 1 : 0, 1);
    }
    uint32_t groups = 1;
    while (groups < 4 && (repeat >> (8 * groups)) != 0) ++groups;
    for (uint32_t g = groups; g-- > 0;) {
      bits((repeat >> (8 * g)) & 0xFF, 8);
      bits(g == 0 ? 1 : 0, 1);
    }
  }
  // The frequencies in the order of the phrases; those behind the first 1 take no bits.
  void frequencies(const std::vector<uint32_t>& frequencies) {
    uint32_t width = 32;
    for (uint32_t f : frequencies) {
      bits(f, width);
      if (f == 1) break;
      width = static_cast<uint32_t>(std::bit_width(f));
    }
    for (uint32_t f : frequencies) starts_.push_back(total_), frequencies_.push_back(f), total_ += f;
  }
  void symbol(uint32_t phrase) {
    low_ += (range_ * starts_[phrase] + total_ - 1) / total_;
    range_ = range_ * frequencies_[phrase] / total_;
    if (low_ >> 32) {
      size_t at = bits_.size();
      while (bits_[at - 1]) bits_[--at] = false;
      bits_[at - 1] = true;
      low_ &= 0xFFFFFFFFu;
    }
    while (!(range_ & 0x80000000u)) {
      bits(low_ >> 31, 1);
      low_ = (low_ << 1) & 0xFFFFFFFFu;
      range_ <<= 1;
    }
  }
  std::vector<uint8_t> bytes() {
    std::vector<bool> all = bits_;
    for (int i = 0; i < 32; ++i) all.push_back((low_ >> (31 - i)) & 1);
    while (all.size() % 32) all.push_back(false);
    std::vector<uint8_t> out;
    for (uint32_t word : header_) {
      for (int i = 0; i < 4; ++i) out.push_back(uint8_t(word >> (8 * i)));
    }
    for (size_t at = 0; at < all.size(); at += 8) {
      uint8_t byte = 0;
      for (size_t i = 0; i < 8; ++i) byte = uint8_t(byte << 1 | all[at + i]);
      out.push_back(byte);
    }
    return out;
  }

 private:
  uint32_t header_[2];
  std::vector<bool> bits_;
  std::vector<uint32_t> starts_, frequencies_;
  uint64_t total_ = 0, low_ = 0, range_ = 0xFFFFFFFFu;
};
