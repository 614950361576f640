#include "sound/synth/soundfont.h"

#include <cstring>
#include <fstream>
#include <iterator>

namespace {

// Zero frames behind the sample data, so that interpolation may read one frame past any end.
constexpr size_t kGuardFrames = 4;

uint32_t le32(const uint8_t* p) { return p[0] | p[1] << 8 | p[2] << 16 | static_cast<uint32_t>(p[3]) << 24; }
uint16_t le16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | p[1] << 8); }

struct Span {
  const uint8_t* data = nullptr;
  size_t size = 0;
};

// A name of 20 bytes, NUL-padded or not.
std::string recordName(const uint8_t* p) {
  size_t length = 0;
  while (length < 20 && p[length]) ++length;
  return std::string(reinterpret_cast<const char*>(p), length);
}

class Parser {
 public:
  explicit Parser(std::string* error) : error_(error) {}

  bool fail(const std::string& message) {
    *error_ = message;
    return false;
  }

  // The sub-chunks of a list body: each id names a slot of `wanted`; others are passed over.
  bool chunks(Span body, const char* where, std::initializer_list<std::pair<const char*, Span*>> wanted) {
    size_t at = 0;
    while (body.size - at >= 8) {
      const uint8_t* header = body.data + at;
      uint32_t size = le32(header + 4);
      if (size > body.size - at - 8)
        return fail("chunk '" + std::string(reinterpret_cast<const char*>(header), 4) + "' in " + where +
                    " runs past its end");
      for (auto [id, slot] : wanted)
        if (std::memcmp(header, id, 4) == 0) *slot = {header + 8, size};
      at += 8 + size + (size & 1);
      if (at > body.size) break;
    }
    return true;
  }

  // A list chunk of the given type among the chunks of `body`.
  bool list(Span body, const char* type, Span* found) {
    size_t at = 0;
    while (body.size - at >= 12) {
      const uint8_t* header = body.data + at;
      uint32_t size = le32(header + 4);
      if (size > body.size - at - 8) return fail("a chunk of the file runs past its end");
      if (std::memcmp(header, "LIST", 4) == 0 && size >= 4 && std::memcmp(header + 8, type, 4) == 0) {
        *found = {header + 12, size - 4};
        return true;
      }
      at += 8 + size + (size & 1);
      if (at > body.size) break;
    }
    return fail(std::string("the file has no '") + type + "' list");
  }

  // Records of `size` bytes, the last one the terminal record; gives their count with it.
  bool records(Span chunk, const char* id, size_t size, size_t* count) {
    if (!chunk.data) return fail(std::string("the file has no '") + id + "' chunk");
    if (chunk.size % size != 0) return fail(std::string("the '") + id + "' chunk is not a whole number of records");
    *count = chunk.size / size;
    if (*count < 2) return fail(std::string("the '") + id + "' chunk has no terminal record");
    return true;
  }

 private:
  std::string* error_;
};

bool isAddressGenerator(uint16_t g) {
  return g == kGenStartOffset || g == kGenEndOffset || g == kGenLoopStartOffset || g == kGenLoopEndOffset ||
         g == kGenStartCoarseOffset || g == kGenEndCoarseOffset || g == kGenLoopStartCoarseOffset ||
         g == kGenLoopEndCoarseOffset;
}

// Generators a preset zone adds to the instrument's values; the rest only instruments may set.
bool presetAdds(uint16_t g) {
  return !isAddressGenerator(g) && g != kGenInstrument && g != kGenKeyRange && g != kGenVelRange &&
         g != kGenKeynum && g != kGenVelocity && g != kGenSampleId && g != kGenSampleModes &&
         g != kGenExclusiveClass && g != kGenRootKey;
}

void setDefaults(int32_t* value) {
  std::fill(value, value + kGeneratorCount, 0);
  value[kGenFilterCutoff] = 13500;
  for (uint16_t g : {kGenDelayVolEnv, kGenAttackVolEnv, kGenHoldVolEnv, kGenDecayVolEnv, kGenReleaseVolEnv})
    value[g] = -12000;
  value[kGenScaleTuning] = 100;
  value[kGenRootKey] = -1;
  value[kGenKeynum] = -1;
  value[kGenVelocity] = -1;
}

// The zones of instruments or presets: items point at bags, bags at generators. `link` is the
// generator that names the next level and `links` how many there are of it.
bool readItems(Parser& parser, const char* kind, Span headers, size_t headerSize, size_t headerCount,
               size_t bagIndexAt, Span bags, size_t bagCount, Span generators, size_t generatorCount,
               uint16_t link, size_t links, std::vector<SoundFontItem>* items) {
  for (size_t i = 0; i + 1 < headerCount; ++i) {
    const uint8_t* header = headers.data + i * headerSize;
    SoundFontItem item;
    item.name = recordName(header);
    if (headerSize == 38) {
      item.program = le16(header + 20);
      item.bank = le16(header + 22);
    }
    size_t firstBag = le16(header + bagIndexAt);
    size_t endBag = le16(header + headerSize + bagIndexAt);
    if (firstBag > endBag || endBag >= bagCount)
      return parser.fail(std::string(kind) + " '" + item.name + "' has zone indices out of order or out of range");
    for (size_t bag = firstBag; bag < endBag; ++bag) {
      size_t firstGenerator = le16(bags.data + bag * 4);
      size_t endGenerator = le16(bags.data + bag * 4 + 4);
      if (firstGenerator > endGenerator || endGenerator >= generatorCount)
        return parser.fail(std::string(kind) + " '" + item.name +
                           "' has generator indices out of order or out of range");
      SoundFontZone zone = item.global;
      zone.link = -1;
      for (size_t g = firstGenerator; g < endGenerator; ++g) {
        const uint8_t* record = generators.data + g * 4;
        uint16_t which = le16(record);
        if (which == kGenKeyRange) {
          zone.keyLow = record[2];
          zone.keyHigh = record[3];
        } else if (which == kGenVelRange) {
          zone.velocityLow = record[2];
          zone.velocityHigh = record[3];
        } else if (which == link) {
          zone.link = le16(record + 2);
          if (static_cast<size_t>(zone.link) >= links)
            return parser.fail(std::string(kind) + " '" + item.name + "' names " +
                               (link == kGenInstrument ? "an instrument" : "a sample") + " that does not exist");
          break;  // the link ends the zone's generators
        } else if (which < kGeneratorCount) {
          zone.value[which] = static_cast<int16_t>(le16(record + 2));
          zone.set[which] = true;
        }
      }
      if (zone.link >= 0) item.zones.push_back(zone);
      else if (bag == firstBag) item.global = zone;  // a first zone without a link is global
    }
    items->push_back(std::move(item));
  }
  return true;
}

}  // namespace

bool SoundFont::loadFile(const std::string& path, std::string* error) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    *error = "cannot open " + path;
    return false;
  }
  std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  return load(bytes.data(), bytes.size(), error);
}

bool SoundFont::load(const uint8_t* data, size_t size, std::string* error) {
  *this = SoundFont{};
  Parser parser(error);
  if (size < 12 || std::memcmp(data, "RIFF", 4) != 0 || std::memcmp(data + 8, "sfbk", 4) != 0)
    return parser.fail("not a SoundFont 2 file (no RIFF 'sfbk' header)");
  uint32_t riffSize = le32(data + 4);
  if (riffSize < 4 || riffSize > size - 8) return parser.fail("the RIFF chunk runs past the end of the file");
  Span body{data + 12, riffSize - 4u};

  Span sampleList, presetList, smpl;
  if (!parser.list(body, "sdta", &sampleList) || !parser.list(body, "pdta", &presetList)) return false;
  if (!parser.chunks(sampleList, "'sdta'", {{"smpl", &smpl}})) return false;
  if (!smpl.data) return parser.fail("the file has no 'smpl' chunk");
  Span phdr, pbag, pgen, inst, ibag, igen, shdr;
  if (!parser.chunks(presetList, "'pdta'",
                     {{"phdr", &phdr}, {"pbag", &pbag}, {"pgen", &pgen}, {"inst", &inst}, {"ibag", &ibag},
                      {"igen", &igen}, {"shdr", &shdr}}))
    return false;
  size_t presetCount, presetBags, presetGenerators, instrumentCount, instrumentBags, instrumentGenerators,
      sampleCount;
  if (!parser.records(phdr, "phdr", 38, &presetCount) || !parser.records(pbag, "pbag", 4, &presetBags) ||
      !parser.records(pgen, "pgen", 4, &presetGenerators) || !parser.records(inst, "inst", 22, &instrumentCount) ||
      !parser.records(ibag, "ibag", 4, &instrumentBags) || !parser.records(igen, "igen", 4, &instrumentGenerators) ||
      !parser.records(shdr, "shdr", 46, &sampleCount))
    return false;

  size_t frames = smpl.size / 2;
  sampleData_.resize(frames + kGuardFrames);
  for (size_t i = 0; i < frames; ++i) sampleData_[i] = static_cast<int16_t>(le16(smpl.data + 2 * i));

  for (size_t i = 0; i + 1 < sampleCount; ++i) {
    const uint8_t* record = shdr.data + i * 46;
    SoundFontSample sample{recordName(record), le32(record + 20), le32(record + 24), le32(record + 28),
                           le32(record + 32),  le32(record + 36), record[40],        static_cast<int8_t>(record[41])};
    if (sample.start > sample.end || sample.end > frames)
      return parser.fail("sample '" + sample.name + "' lies outside the sample data");
    if (sample.sampleRate == 0) return parser.fail("sample '" + sample.name + "' has a rate of 0");
    if (sample.loopStart < sample.start || sample.loopEnd > sample.end || sample.loopStart >= sample.loopEnd) {
      sample.loopStart = sample.start;
      sample.loopEnd = sample.end;
    }
    samples_.push_back(std::move(sample));
  }
  return readItems(parser, "instrument", inst, 22, instrumentCount, 20, ibag, instrumentBags, igen,
                   instrumentGenerators, kGenSampleId, samples_.size(), &instruments_) &&
         readItems(parser, "preset", phdr, 38, presetCount, 24, pbag, presetBags, pgen, presetGenerators,
                   kGenInstrument, instruments_.size(), &presets_);
}

const SoundFontItem* SoundFont::preset(uint16_t bank, uint16_t program) const {
  for (const SoundFontItem& item : presets_)
    if (item.bank == bank && item.program == program) return &item;
  return nullptr;
}

void SoundFont::regions(const SoundFontItem& preset, int key, int velocity,
                        std::vector<SoundFontRegion>* regions) const {
  for (const SoundFontZone& presetZone : preset.zones) {
    if (!presetZone.answers(key, velocity)) continue;
    for (const SoundFontZone& zone : instruments_[presetZone.link].zones) {
      if (!zone.answers(key, velocity)) continue;
      SoundFontRegion region{&samples_[zone.link], {}};
      setDefaults(region.value);
      for (uint16_t g = 0; g < kGeneratorCount; ++g) {
        if (zone.set[g]) region.value[g] = zone.value[g];
        if (presetZone.set[g] && presetAdds(g)) region.value[g] += presetZone.value[g];
      }
      regions->push_back(region);
    }
  }
}
