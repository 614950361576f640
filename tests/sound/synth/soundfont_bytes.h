// A small SoundFont 2 written by the tests: one looped sine sample of 440 Hz (its key 69), one
// instrument over it, and the presets bank 0 program 0 and bank 128 program 0 on it.
#pragma once

#include <cmath>
#include <cstdint>
#include <string>

inline std::string le(uint32_t value, int bytes) {
  std::string out;
  for (int i = 0; i < bytes; ++i) out += static_cast<char>(value >> (8 * i));
  return out;
}

inline std::string riffChunk(const char* id, const std::string& body) {
  return std::string(id, 4) + le(static_cast<uint32_t>(body.size()), 4) + body + (body.size() % 2 ? std::string(1, '\0') : "");
}

inline std::string riffList(const char* type, const std::string& body) { return riffChunk("LIST", std::string(type, 4) + body); }

inline std::string name20(const std::string& name) { return (name + std::string(20, '\0')).substr(0, 20); }

constexpr uint32_t kSineRate = 44000;
constexpr uint32_t kSineFrames = 1000;  // ten periods of 440 Hz: the loop closes on itself

inline std::string sineSoundFont() {
  std::string smpl;
  for (uint32_t i = 0; i < kSineFrames; ++i)
    smpl += le(static_cast<uint16_t>(static_cast<int16_t>(std::lround(16000 * std::sin(2 * 3.14159265358979 * 440 * i / kSineRate)))), 2);
  smpl += std::string(46 * 2, '\0');
  auto preset = [](const char* name, uint16_t bank, uint16_t bag) {
    return name20(name) + le(0, 2) + le(bank, 2) + le(bag, 2) + std::string(12, '\0');
  };
  std::string phdr = preset("Sine", 0, 0) + preset("Sine Drums", 128, 1) + preset("EOP", 0, 2);
  std::string pbag = le(0, 2) + le(0, 2) + le(1, 2) + le(0, 2) + le(2, 2) + le(0, 2);
  std::string pgen = le(41, 2) + le(0, 2) + le(41, 2) + le(0, 2) + le(0, 4);
  std::string inst = name20("Sine") + le(0, 2) + name20("EOI") + le(1, 2);
  std::string ibag = le(0, 2) + le(0, 2) + le(2, 2) + le(0, 2);
  std::string igen = le(54, 2) + le(1, 2) + le(53, 2) + le(0, 2) + le(0, 4);
  std::string shdr = name20("sine") + le(0, 4) + le(kSineFrames, 4) + le(0, 4) + le(kSineFrames, 4) +
                     le(kSineRate, 4) + le(69, 1) + le(0, 1) + le(0, 2) + le(1, 2) + name20("EOS") + std::string(26, '\0');
  std::string pdta = riffChunk("phdr", phdr) + riffChunk("pbag", pbag) + riffChunk("pmod", std::string(10, '\0')) +
                     riffChunk("pgen", pgen) + riffChunk("inst", inst) + riffChunk("ibag", ibag) +
                     riffChunk("imod", std::string(10, '\0')) + riffChunk("igen", igen) + riffChunk("shdr", shdr);
  std::string body = "sfbk" + riffList("INFO", riffChunk("ifil", le(2, 2) + le(1, 2))) +
                     riffList("sdta", riffChunk("smpl", smpl)) + riffList("pdta", pdta);
  return riffChunk("RIFF", body);
}
