// Phrase dictionary and arithmetic coder: the encoder's analysis and writer, and the decoder.
#include "graphics/core/phrase_coder.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <memory>
#include <unordered_map>

namespace {

// Frequencies are scaled so that their total stays far below the smallest range (2^31).
constexpr uint64_t kMaxTotal = 1u << 20;
// Longest repeat of one phrase: four bytes of count.
constexpr uint32_t kMaxRepeat = 1u << 30;
// Runs of other values than the background shorter than this stay single values.
constexpr uint32_t kShortestRun = 4;
// Splitting changes the frequencies by which the next round judges; a few rounds settle.
constexpr int kSplitRounds = 4;

int32_t readSymbol(const void* symbols, uint32_t index, uint32_t mode) {
  bool isSigned = (mode & kMQSigned) != 0;
  switch (mode & 0x7f) {
    case kMQUnit8: {
      uint8_t v = static_cast<const uint8_t*>(symbols)[index];
      return isSigned ? static_cast<int8_t>(v) : v;
    }
    case kMQUnit16: {
      uint16_t v = static_cast<const uint16_t*>(symbols)[index];
      return isSigned ? static_cast<int16_t>(v) : v;
    }
    default:
      return static_cast<const int32_t*>(symbols)[index];
  }
}

// The two kinds of phrase the analysis makes. A run: `length` copies of `value` (a single symbol
// is a run of one). A joined phrase: `length` copies of the background value `value` followed by
// one other value, `literal`.
struct Shape {
  int32_t value;
  int32_t literal;
  uint32_t length;
  bool joined;
  bool operator==(const Shape&) const = default;
};

struct ShapeHash {
  size_t operator()(const Shape& s) const {
    uint64_t h = uint64_t(uint32_t(s.value)) * 0x9E3779B97F4A7C15ull;
    h ^= ((uint64_t(uint32_t(s.literal)) << 32) | s.length) * 0xC2B2AE3D27D4EB4Full;
    h ^= s.joined ? 0x165667B19E3779F9ull : 0;
    return static_cast<size_t>(h ^ (h >> 29));
  }
};

Shape shapeOf(const MQPhrase& phrase) {
  if (phrase.values.size() == 1) return {phrase.values[0], 0, phrase.repeat, false};
  return {phrase.values[0], phrase.values.back(), static_cast<uint32_t>(phrase.values.size() - 1), true};
}

MQPhrase phraseOf(const Shape& shape) {
  if (!shape.joined) return {{shape.value}, shape.length, 0};
  std::vector<int32_t> values(shape.length, shape.value);
  values.push_back(shape.literal);
  return {std::move(values), 1, 0};
}

using ShapeCounts = std::unordered_map<Shape, uint64_t, ShapeHash>;

ShapeCounts countShapes(const MQPhraseTable& table) {
  ShapeCounts counts;
  for (const MQPhrase& phrase : table.phrases) counts[shapeOf(phrase)] += phrase.frequency;
  return counts;
}

// Builds phrases and the parse, interning each phrase once.
class PhraseBuilder {
 public:
  explicit PhraseBuilder(MQPhraseTable* table) : table_(table) {}

  void add(const Shape& shape) {
    auto [at, fresh] = index_.try_emplace(shape, static_cast<uint32_t>(table_->phrases.size()));
    if (fresh) table_->phrases.push_back(phraseOf(shape));
    ++table_->phrases[at->second].frequency;
    table_->parse.push_back(at->second);
  }

  // A run of `length` copies of `value` in phrases as long as a count can say.
  void addRun(int32_t value, uint64_t length) {
    while (length > 0) {
      uint32_t chunk = static_cast<uint32_t>(std::min<uint64_t>(length, kMaxRepeat));
      add({value, 0, chunk, false});
      length -= chunk;
    }
  }

  // The same run in pieces of powers of two, longest first: lengths that many runs share.
  void addBinaryRun(int32_t value, uint32_t length) {
    while (length > 0) {
      uint32_t chunk = std::bit_floor(length);
      add({value, 0, chunk, false});
      length -= chunk;
    }
  }

  // The symbols of `shape` in smaller phrases: a joined phrase as its run and its literal, a run
  // in powers of two.
  void addSplit(const Shape& shape) {
    if (shape.joined) {
      addRun(shape.value, shape.length);
      add({shape.literal, 0, 1, false});
    } else {
      addBinaryRun(shape.value, shape.length);
    }
  }

 private:
  MQPhraseTable* table_;
  std::unordered_map<Shape, uint32_t, ShapeHash> index_;
};

// Replaces every phrase for which `split` holds by its parts.
void splitPhrases(MQPhraseTable* table, const std::vector<bool>& split) {
  MQPhraseTable rebuilt;
  rebuilt.mode = table->mode;
  rebuilt.parse.reserve(table->parse.size());
  PhraseBuilder builder(&rebuilt);
  std::vector<Shape> shapes;
  shapes.reserve(table->phrases.size());
  for (const MQPhrase& phrase : table->phrases) shapes.push_back(shapeOf(phrase));
  for (uint32_t id : table->parse) {
    if (split[id]) {
      builder.addSplit(shapes[id]);
    } else {
      builder.add(shapes[id]);
    }
  }
  *table = std::move(rebuilt);
}

bool isSplittableRun(const MQPhrase& phrase) {
  return phrase.values.size() == 1 && !std::has_single_bit(phrase.repeat);
}

uint32_t valueWidth(const MQPhraseTable& table) {
  bool isSigned = (table.mode & kMQSigned) != 0;
  uint32_t width = 1;
  for (const MQPhrase& phrase : table.phrases) {
    for (int32_t v : phrase.values) {
      uint32_t need = isSigned ? 33 - std::countl_zero(static_cast<uint32_t>(v < 0 ? ~v : v))
                               : 32 - std::countl_zero(static_cast<uint32_t>(v));
      width = std::max(width, need);
    }
  }
  return std::min(width, 32u);
}

uint32_t repeatBytes(uint32_t repeat) {
  uint32_t bytes = 1;
  while (bytes < 4 && (repeat >> (8 * bytes)) != 0) ++bytes;
  return bytes;
}

// Bits of a phrase in the dictionary: its values with their flags, its count, its frequency.
double dictionaryBits(size_t valueCount, uint32_t repeat, uint64_t frequency, uint32_t width) {
  return static_cast<double>(valueCount * (width + 1) + 9 * repeatBytes(repeat) + std::bit_width(frequency));
}

double dictionaryBits(const Shape& shape, uint64_t frequency, uint32_t width) {
  return shape.joined ? dictionaryBits(shape.length + 1, 1, frequency, width)
                      : dictionaryBits(1, shape.length, frequency, width);
}

// Code bits of `count` steps of a phrase of frequency `frequency` among `steps`.
double codeBits(uint64_t count, uint64_t frequency, uint64_t steps) {
  return frequency == 0 ? 0.0 : count * std::log2(static_cast<double>(steps) / frequency);
}

// What the phrases already counted in `others` save when `added` more steps join them.
double sharingGain(uint64_t others, uint64_t added) {
  return others == 0 ? 0.0 : others * std::log2(static_cast<double>(others + added) / others);
}

// Joined phrases that cost more, in the dictionary and the code, than their run and literal
// coded apart.
std::vector<bool> joinedNotWorthKeeping(const MQPhraseTable& table, uint32_t width, bool* any) {
  ShapeCounts counts = countShapes(table);
  uint64_t steps = std::max<size_t>(table.parse.size(), 1);
  std::vector<bool> split(table.phrases.size(), false);
  *any = false;
  for (size_t i = 0; i < table.phrases.size(); ++i) {
    Shape shape = shapeOf(table.phrases[i]);
    if (!shape.joined) continue;
    uint64_t n = table.phrases[i].frequency;
    double kept = codeBits(n, n, steps) + dictionaryBits(shape, n, width);
    double apart = 0;
    for (Shape part : {Shape{shape.value, 0, shape.length, false}, Shape{shape.literal, 0, 1, false}}) {
      auto found = counts.find(part);
      uint64_t others = found == counts.end() ? 0 : found->second;
      apart += codeBits(n, others + n, steps) - sharingGain(others, n);
      if (others == 0) apart += dictionaryBits(part, n, width);
    }
    if (apart < kept) split[i] = *any = true;
  }
  return split;
}

// Runs of lengths too rare to pay their entry: coded in powers of two they take a few more steps.
std::vector<bool> runsNotWorthKeeping(const MQPhraseTable& table, uint32_t width, bool* any) {
  uint64_t steps = std::max<size_t>(table.parse.size(), 1);
  double bits = 0;
  for (const MQPhrase& phrase : table.phrases) bits += codeBits(phrase.frequency, phrase.frequency, steps);
  double bitsPerStep = bits / static_cast<double>(steps);
  std::vector<bool> split(table.phrases.size(), false);
  *any = false;
  for (size_t i = 0; i < table.phrases.size(); ++i) {
    const MQPhrase& phrase = table.phrases[i];
    if (!isSplittableRun(phrase)) continue;
    double extraSteps = static_cast<double>(phrase.frequency) * (std::popcount(phrase.repeat) - 1);
    if (extraSteps * bitsPerStep < dictionaryBits(1, phrase.repeat, phrase.frequency, width)) {
      split[i] = *any = true;
    }
  }
  return split;
}

// The most frequent symbol: the value whose runs the analysis joins to the value behind them.
int32_t mostFrequentSymbol(const void* symbols, uint32_t count, uint32_t mode) {
  std::unordered_map<int32_t, uint32_t> histogram;
  int32_t best = readSymbol(symbols, 0, mode);
  uint32_t bestCount = 0;
  for (uint32_t i = 0; i < count; ++i) {
    int32_t v = readSymbol(symbols, i, mode);
    uint32_t n = ++histogram[v];
    if (n > bestCount) best = v, bestCount = n;
  }
  return best;
}

}  // namespace

namespace {

// One way to cut the symbols: a run up to `shortRun` long joins the value behind it. With
// `backgroundOnly`, only runs of the background do, and other values stand alone below
// kShortestRun copies: what suits transform coefficients, whose zeros run between values. Else
// runs of any value do, which catches frequent pairs of values in pictures stored lossless.
std::unique_ptr<MQPhraseTable> cutIntoPhrases(const void* symbols, uint32_t count, uint32_t mode,
                                              uint32_t shortRun, int32_t background,
                                              bool backgroundOnly) {
  auto table = std::make_unique<MQPhraseTable>();
  table->mode = mode;
  PhraseBuilder builder(table.get());
  uint32_t at = 0;
  while (at < count) {
    int32_t value = readSymbol(symbols, at, mode);
    uint32_t end = at + 1;
    while (end < count && readSymbol(symbols, end, mode) == value) ++end;
    uint32_t length = end - at;
    bool joins = !backgroundOnly || value == background;
    if (joins && length <= shortRun && end < count) {
      builder.add({value, readSymbol(symbols, end, mode), length, true});
      at = end + 1;
    } else if (!joins && length < kShortestRun) {
      for (; at < end; ++at) builder.add({value, 0, 1, false});
    } else {
      builder.addRun(value, length);
      at = end;
    }
  }
  return table;
}

}  // namespace

MQPhraseTable* mqAnalyzePhrases(const void* symbols, uint32_t count, uint32_t mode,
                                uint32_t shortRun) {
  if (count == 0) {
    auto table = std::make_unique<MQPhraseTable>();
    table->mode = mode;
    return table.release();
  }
  // Both ways of cutting, judged by the size of a trial optimisation; the caller optimises the
  // winner itself.
  const int32_t background = mostFrequentSymbol(symbols, count, mode);
  std::unique_ptr<MQPhraseTable> best;
  uint64_t bestBits = UINT64_MAX;
  for (bool backgroundOnly : {true, false}) {
    std::unique_ptr<MQPhraseTable> table = cutIntoPhrases(symbols, count, mode, shortRun, background, backgroundOnly);
    MQPhraseTable trial = *table;
    uint64_t bits = mqOptimizePhrases(&trial);
    if (bits < bestBits) best = std::move(table), bestBits = bits;
  }
  return best.release();
}

uint64_t mqOptimizePhrases(MQPhraseTable* table) {
  bool any = true;
  for (int round = 0; round < kSplitRounds && any; ++round) {
    std::vector<bool> split = joinedNotWorthKeeping(*table, valueWidth(*table), &any);
    if (any) splitPhrases(table, split);
  }
  std::vector<bool> split = runsNotWorthKeeping(*table, valueWidth(*table), &any);
  if (any) splitPhrases(table, split);

  uint32_t width = valueWidth(*table);
  uint64_t steps = std::max<size_t>(table->parse.size(), 1);
  double bits = 64;
  for (const MQPhrase& phrase : table->phrases) {
    bits += dictionaryBits(phrase.values.size(), phrase.repeat, phrase.frequency, width) +
            codeBits(phrase.frequency, phrase.frequency, steps);
  }
  return static_cast<uint64_t>(bits);
}

void mqLimitPhrases(MQPhraseTable* table, uint32_t limit) {
  // The rarest joined phrases go first, then the rarest runs of lengths other than powers of two.
  // Their parts may be new phrases, so this repeats until the limit holds or nothing is left.
  for (bool joined : {true, false}) {
    while (table->phrases.size() > limit) {
      std::vector<uint32_t> candidates;
      for (uint32_t i = 0; i < table->phrases.size(); ++i) {
        const MQPhrase& phrase = table->phrases[i];
        if (joined ? phrase.values.size() > 1 : isSplittableRun(phrase)) candidates.push_back(i);
      }
      if (candidates.empty()) break;
      std::sort(candidates.begin(), candidates.end(), [&](uint32_t a, uint32_t b) {
        return table->phrases[a].frequency < table->phrases[b].frequency;
      });
      std::vector<bool> split(table->phrases.size(), false);
      size_t excess = table->phrases.size() - limit;
      for (size_t i = 0; i < candidates.size() && i < excess; ++i) split[candidates[i]] = true;
      splitPhrases(table, split);
    }
  }
}

void mqFreePhraseTable(MQPhraseTable* table) { delete table; }

void mqInitEncoder(MQEncoder* encoder, std::vector<uint8_t>* out) {
  *encoder = {out, 0, 0, 0, 0xffffffffu};
}

void mqPutBits(MQEncoder* encoder, uint32_t value, uint32_t count) {
  if (count == 0) return;
  uint64_t mask = (uint64_t{1} << count) - 1;
  encoder->bits = (encoder->bits << count) | (value & mask);
  encoder->bitCount += count;
  while (encoder->bitCount >= 8) {
    encoder->bitCount -= 8;
    encoder->out->push_back(static_cast<uint8_t>(encoder->bits >> encoder->bitCount));
  }
  encoder->bits &= (uint64_t{1} << encoder->bitCount) - 1;
}

namespace {

// Adds one at the last written bit: the pending bits first, then the bytes, walking back over
// 0xFF bytes.
void propagateCarry(MQEncoder* encoder) {
  encoder->bits += 1;
  if (encoder->bits >> encoder->bitCount == 0) return;
  encoder->bits &= (uint64_t{1} << encoder->bitCount) - 1;
  std::vector<uint8_t>& out = *encoder->out;
  size_t at = out.size();
  while (at > 0 && out[at - 1] == 0xFF) out[--at] = 0;
  if (at > 0) ++out[at - 1];
}

}  // namespace

void mqPutSymbol(MQEncoder* encoder, uint32_t start, uint32_t frequency, uint32_t total) {
  uint64_t range = encoder->range;
  encoder->low += (range * start + total - 1) / total;
  encoder->range = range * frequency / total;
  if (encoder->low >> 32) {
    propagateCarry(encoder);
    encoder->low &= 0xffffffffu;
  }
  int shift = std::countl_zero(static_cast<uint32_t>(encoder->range));
  if (shift == 0) return;
  mqPutBits(encoder, static_cast<uint32_t>(encoder->low >> (32 - shift)), shift);
  encoder->low = (encoder->low << shift) & 0xffffffffu;
  encoder->range <<= shift;
}

void mqFlushEncoder(MQEncoder* encoder) {
  mqPutBits(encoder, static_cast<uint32_t>(encoder->low), 32);
  if (encoder->bitCount > 0) mqPutBits(encoder, 0, 8 - encoder->bitCount);
  while (encoder->out->size() % 4 != 0) encoder->out->push_back(0);
}

namespace {

void putWord(std::vector<uint8_t>& out, uint32_t value) {
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

}  // namespace

std::vector<uint8_t> mqEncodeStream(MQPhraseTable* table) {
  // Scale the counts to the coder's total, keeping every phrase at least 1, then order the
  // phrases by falling frequency.
  uint64_t total = 0;
  for (const MQPhrase& phrase : table->phrases) total += phrase.frequency;
  if (total > kMaxTotal) {
    for (MQPhrase& phrase : table->phrases) {
      phrase.frequency = static_cast<uint32_t>(std::max<uint64_t>(1, phrase.frequency * kMaxTotal / total));
    }
  }
  std::vector<uint32_t> order(table->phrases.size());
  for (uint32_t i = 0; i < order.size(); ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) {
    return table->phrases[a].frequency > table->phrases[b].frequency;
  });
  std::vector<uint32_t> rank(order.size()), start(order.size());
  total = 0;
  for (uint32_t r = 0; r < order.size(); ++r) {
    rank[order[r]] = r;
    start[r] = static_cast<uint32_t>(total);
    total += table->phrases[order[r]].frequency;
  }

  std::vector<uint8_t> out;
  bool isSigned = (table->mode & kMQSigned) != 0;
  uint32_t width = valueWidth(*table);
  putWord(out, static_cast<uint32_t>(order.size()));
  putWord(out, width | (isSigned ? 0x80000000u : 0u));
  MQEncoder encoder;
  mqInitEncoder(&encoder, &out);
  for (uint32_t id : order) {
    const MQPhrase& phrase = table->phrases[id];
    for (size_t i = 0; i < phrase.values.size(); ++i) {
      mqPutBits(&encoder, static_cast<uint32_t>(phrase.values[i]), width);
      mqPutBits(&encoder, i + 1 == phrase.values.size() ? 1 : 0, 1);
    }
    uint32_t bytes = repeatBytes(phrase.repeat);
    for (uint32_t b = bytes; b-- > 0;) {
      mqPutBits(&encoder, (phrase.repeat >> (8 * b)) & 0xff, 8);
      mqPutBits(&encoder, b == 0 ? 1 : 0, 1);
    }
  }
  uint32_t previousBits = 32;
  for (uint32_t id : order) {
    uint32_t frequency = table->phrases[id].frequency;
    mqPutBits(&encoder, frequency, previousBits);
    if (frequency == 1) break;
    previousBits = 32 - std::countl_zero(frequency);
  }
  for (uint32_t id : table->parse) {
    uint32_t r = rank[id];
    mqPutSymbol(&encoder, start[r], table->phrases[id].frequency, static_cast<uint32_t>(total));
  }
  mqFlushEncoder(&encoder);
  return out;
}

std::vector<uint8_t> mqEncodeSymbols(const void* symbols, uint32_t count, uint32_t mode,
                                     uint32_t shortRun, uint32_t phraseLimit) {
  std::unique_ptr<MQPhraseTable, void (*)(MQPhraseTable*)> table(
      mqAnalyzePhrases(symbols, count, mode, shortRun), mqFreePhraseTable);
  mqOptimizePhrases(table.get());
  mqLimitPhrases(table.get(), phraseLimit);
  return mqEncodeStream(table.get());
}

// ---- Decoder ---------------------------------------------------------------------------------

namespace {

// What the decoding loop needs of a phrase, in one place.
struct DecoderPhrase {
  uint32_t start, frequency, end;  // end = start + frequency
  uint32_t repeat;
  uint32_t first;  // index of the first value in MQDecoder::values
  uint32_t length;  // number of values
};

// Reads the bit stream: 32-bit words, most significant byte first, zeros behind the data.
struct BitReader {
  const uint8_t* data;
  size_t dataSize;
  size_t next;  // byte offset of the next word to load
  uint64_t reg;  // bits left-aligned
  uint32_t avail;

  uint32_t loadWord() {
    uint32_t word = 0;
    if (next + 4 <= dataSize) {
      std::memcpy(&word, data + next, 4);
      next += 4;
      return __builtin_bswap32(word);
    }
    for (int i = 0; i < 4; ++i, ++next) {
      word = (word << 8) | (next < dataSize ? data[next] : 0);
    }
    return word;
  }
  uint32_t bits(uint32_t count) {
    if (count == 0) return 0;
    if (avail < count) {
      reg |= static_cast<uint64_t>(loadWord()) << (32 - avail);
      avail += 32;
    }
    uint32_t v = static_cast<uint32_t>(reg >> (64 - count));
    reg <<= count;
    avail -= count;
    return v;
  }
  // True once reading went further than the read-ahead of a real stream: a dictionary that
  // runs on into the zeros behind the data is damage.
  bool exhausted() const { return next > dataSize + 8; }
};

}  // namespace

struct MQDecoder {
  BitReader reader;
  uint32_t mode;
  uint32_t total;
  double totalAsDouble;
#if defined(__SIZEOF_INT128__)
  // floor(x / total) = floor(x * magic / 2^magicShift) for every x below 2^63, with
  // magic = ceil(2^magicShift / total) and magicShift = 63 + ceil(log2 total).
  uint64_t magic;
  uint32_t magicShift;
#else
  double reciprocalTotal;  // 1 / total, for estimates of the quotients by total
#endif
  std::vector<int32_t> values;  // the values of all phrases, one after the other
  std::vector<DecoderPhrase> phrases;
  // The lookup of a scaled code: the table gives for each bucket of 2^bucketShift cumulative
  // values the first phrase that reaches into it; from there a scan over the phrases' ends
  // finds the phrase. With at least two buckets per phrase the scan is mostly empty.
  uint32_t bucketShift;
  std::vector<uint32_t> buckets;

  const DecoderPhrase& findPhrase(uint32_t value, uint32_t* index) const {
    uint32_t p = buckets[value >> bucketShift];
    while (value >= phrases[p].end) ++p;
    *index = p;
    return phrases[p];
  }
};

MQDecoder* mqOpenDecoder(void* statePointer, uint32_t size, const void* data, uint32_t mode,
                         uint32_t tableLimit, void* /*tableMemory*/, size_t dataSize) {
  uint32_t unit = mode & 0x7f;
  if (size != sizeof(MQDecoderState) || unit < kMQUnit8 || unit > kMQUnit32) return nullptr;
  auto d = std::make_unique<MQDecoder>();
  BitReader& in = d->reader;
  in = {static_cast<const uint8_t*>(data), dataSize, 0, 0, 64};
  in.reg = static_cast<uint64_t>(in.loadWord()) << 32;
  in.reg |= in.loadWord();
  uint32_t phraseCount = in.bits(32);
  phraseCount = __builtin_bswap32(phraseCount);
  uint32_t widthWord = __builtin_bswap32(in.bits(32));
  bool isSigned = (widthWord & 0x80000000u) != 0;
  uint32_t width = widthWord & 0x7fffffffu;
  d->mode = mode | (isSigned ? uint32_t{kMQSigned} : 0u);
  // A phrase takes at least one value bit, its flag and nine bits of count.
  if (phraseCount == 0 || width == 0 || width > 32 || phraseCount > dataSize * 8 / 11 + 1) {
    return nullptr;
  }
  d->phrases.reserve(phraseCount);
  for (uint32_t p = 0; p < phraseCount; ++p) {
    DecoderPhrase phrase{};
    phrase.first = static_cast<uint32_t>(d->values.size());
    for (;;) {
      uint32_t raw = in.bits(width);
      int32_t v = static_cast<int32_t>(raw);
      if (isSigned && width < 32 && (raw >> (width - 1))) v = static_cast<int32_t>(raw | (~0u << width));
      d->values.push_back(v);
      if (in.bits(1)) break;
      if (in.exhausted()) return nullptr;
    }
    phrase.length = static_cast<uint32_t>(d->values.size()) - phrase.first;
    uint32_t count = 0;
    for (int group = 0; group < 4; ++group) {
      count = (count << 8) | in.bits(8);
      if (in.bits(1)) break;
    }
    if (count == 0 || in.exhausted()) return nullptr;
    phrase.repeat = count;
    d->phrases.push_back(phrase);
  }
  uint64_t total = 0;
  uint32_t previousBits = 32;
  bool ones = false;
  for (DecoderPhrase& phrase : d->phrases) {
    uint32_t f = ones ? 1 : in.bits(previousBits);
    if (f == 1) ones = true;
    previousBits = 32 - std::countl_zero(f);
    phrase.start = static_cast<uint32_t>(total);
    phrase.frequency = f;
    total += f;
    phrase.end = static_cast<uint32_t>(total);
    if (total > 0x80000000u) return nullptr;
  }
  if (total == 0) return nullptr;
  d->total = static_cast<uint32_t>(total);
#if defined(__SIZEOF_INT128__)
  d->magicShift = 63 + static_cast<uint32_t>(std::bit_width(d->total - 1));
  d->magic = static_cast<uint64_t>(((static_cast<unsigned __int128>(1) << d->magicShift) + d->total - 1) / d->total);
#else
  d->reciprocalTotal = 1.0 / static_cast<double>(total);
#endif

  d->totalAsDouble = static_cast<double>(total);

  // Buckets: about two per phrase, no more than the table limit (and 2^16) allows, none
  // narrower than one value.
  uint32_t bucketCount = std::bit_ceil(std::min<uint64_t>(2ull * phraseCount, 1u << 16));
  bucketCount = std::min(bucketCount, std::bit_floor(std::max(tableLimit, 1u)));
  bucketCount = std::min(bucketCount, std::bit_floor(d->total));
  d->bucketShift = static_cast<uint32_t>(std::bit_width(d->total - 1)) - std::countr_zero(bucketCount);
  d->buckets.resize(static_cast<size_t>((d->total - 1) >> d->bucketShift) + 1);
  uint32_t p = 0;
  for (uint32_t bucket = 0; bucket < d->buckets.size(); ++bucket) {
    while ((bucket << d->bucketShift) >= d->phrases[p].end) ++p;
    d->buckets[bucket] = p;
  }

  auto* state = static_cast<MQDecoderState*>(statePointer);
  *state = {};
  state->size = sizeof(MQDecoderState);
  state->range = 0xffffffffu;
  state->pending = -1;
  state->code = in.bits(32);
  return d.release();
}

namespace {

// Writes symbols into consecutive units of T, stored by truncation.
template <typename T>
struct LinearSink {
  T* dst;
  void fill(uint32_t at, uint32_t count, int32_t value) {
    std::fill(dst + at, dst + at + count, static_cast<T>(value));
  }
  void copy(uint32_t at, const int32_t* values, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) dst[at + i] = static_cast<T>(values[i]);
  }
};

// Writes the i-th symbol to dst[order[i]] and skips runs of zeros; `end` follows the last
// non-zero one (or, after a phrase of several values, the last of them).
struct ScatterSink {
  int32_t* dst;
  const uint16_t* order;
  uint32_t end = 0;
  void fill(uint32_t at, uint32_t count, int32_t value) {
    if (value == 0) return;
    for (uint32_t i = 0; i < count; ++i) dst[order[at + i]] = value;
    end = at + count;
  }
  void copy(uint32_t at, const int32_t* values, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) dst[order[at + i]] = values[i];
    end = at + count;
  }
};

// Continues the pending phrase at symbol `at` for at most `room` symbols; gives the number
// written.
template <typename Sink>
[[gnu::always_inline]] inline uint32_t writePhrase(const MQDecoder& d, MQDecoderState* s, Sink& sink, uint32_t at,
                                                 uint32_t room) {
  const DecoderPhrase& phrase = d.phrases[static_cast<uint32_t>(s->pending)];
  const int32_t* values = d.values.data() + phrase.first;
  uint32_t written = 0;
  if (phrase.length == 1) {
    written = std::min(s->repeatsLeft, room);
    sink.fill(at, written, values[0]);
    s->repeatsLeft -= written;
  } else {
    while (s->repeatsLeft > 0 && written < room) {
      uint32_t n = std::min(phrase.length - s->position, room - written);
      sink.copy(at + written, values + s->position, n);
      written += n;
      s->position += n;
      if (s->position == phrase.length) {
        s->position = 0;
        --s->repeatsLeft;
      }
    }
  }
  if (s->repeatsLeft == 0) s->pending = -1;
  return written;
}

// The three quotients of a decoding step: the scaled code, and the range scaled by a phrase's
// bounds, all truncated (the last rounded up).
struct IntegerQuotients {
  uint64_t total;
  explicit IntegerQuotients(const MQDecoder& d) : total(d.total) {}
  uint64_t code(uint64_t code, uint64_t range) const { return code * total / range; }
  void setRange(uint64_t) {}
  uint64_t floorScaled(uint64_t range, uint64_t x) const { return range * x / total; }
  uint64_t ceilScaled(uint64_t range, uint64_t x) const { return (range * x + total - 1) / total; }
};

// floor(product / divisor) from an estimate that is at most one off either way; the products
// of a step stay below 2^63, so neither test overflows.
uint64_t exactQuotient(uint64_t estimate, uint64_t product, uint64_t divisor) {
  uint64_t q = estimate;
  while (q > 0 && q * divisor > product) --q;
  while (product - q * divisor >= divisor) ++q;
  return q;
}

// The same quotients without integer division: the scaled code by a floating-point estimate
// corrected to the exact floor (one division per step, started as soon as the range is known),
// the quotients by the fixed total by a multiplication with its reciprocal: exact in 128 bits
// where the compiler has them, else an estimate corrected like the first.
struct FloatingQuotients {
  uint64_t total;
  double totalAsDouble;
#if defined(__SIZEOF_INT128__)
  uint64_t magic;
  uint32_t magicShift;
  explicit FloatingQuotients(const MQDecoder& d)
      : total(d.total), totalAsDouble(d.totalAsDouble), magic(d.magic), magicShift(d.magicShift) {}
#else
  double reciprocalTotal;
  explicit FloatingQuotients(const MQDecoder& d)
      : total(d.total), totalAsDouble(d.totalAsDouble), reciprocalTotal(d.reciprocalTotal) {}
#endif
  double totalPerRange = 0;  // total / range, taken as soon as the range is known

  // The estimates stay below 2^63: the signed conversion is exact and needs no range test.
  static uint64_t truncate(double value) { return static_cast<uint64_t>(static_cast<int64_t>(value)); }
  void setRange(uint64_t range) { totalPerRange = totalAsDouble / static_cast<double>(static_cast<int64_t>(range)); }
  uint64_t code(uint64_t code, uint64_t range) const {
    uint64_t estimate = truncate(static_cast<double>(static_cast<int64_t>(code)) * totalPerRange);
    return exactQuotient(estimate, code * total, range);
  }
  // The products of a step stay below 2^63.
  uint64_t byTotal(uint64_t product) const {
#if defined(__SIZEOF_INT128__)
    return static_cast<uint64_t>((static_cast<unsigned __int128>(product) * magic) >> magicShift);
#else
    return exactQuotient(truncate(static_cast<double>(static_cast<int64_t>(product)) * reciprocalTotal), product, total);
#endif
  }
  uint64_t floorScaled(uint64_t range, uint64_t x) const { return byTotal(range * x); }
  uint64_t ceilScaled(uint64_t range, uint64_t x) const { return byTotal(range * x + total - 1); }
};

template <typename Quotients, typename Sink>
uint32_t decodeSymbols(MQDecoder* d, MQDecoderState* shared, Sink& sink, uint32_t count) {
  // The loop works on copies of the state and the reader, which the stores of symbols then
  // cannot be taken to change.
  MQDecoderState state = *shared;
  BitReader reader = d->reader;
  MQDecoderState* s = &state;
  Quotients quotients(*d);
  quotients.setRange(s->range);
  uint32_t out = 0;
  if (s->pending >= 0) out += writePhrase(*d, s, sink, 0, count);
  const uint32_t total = d->total;
  while (out < count) {
    uint64_t range = s->range;
    uint64_t value = std::min<uint64_t>(quotients.code(s->code, range), total - 1);
    uint32_t p;
    const DecoderPhrase& phrase = d->findPhrase(static_cast<uint32_t>(value), &p);
    uint32_t newRange = static_cast<uint32_t>(quotients.floorScaled(range, phrase.frequency));
    uint32_t low = static_cast<uint32_t>(quotients.ceilScaled(range, phrase.start));
    uint32_t code = s->code - low;
    int shift = std::countl_zero(newRange);
    newRange <<= shift;
    quotients.setRange(newRange);
    if (shift > 0) code = (code << shift) | reader.bits(shift);
    s->range = newRange;
    s->code = code;
    s->pending = static_cast<int32_t>(p);
    s->repeatsLeft = phrase.repeat;
    s->position = 0;
    out += writePhrase(*d, s, sink, out, count - out);
  }
  *shared = state;
  d->reader = reader;
  return count;
}

template <typename Quotients>
uint32_t decodeByUnit(MQDecoder* d, void* state, void* dst, uint32_t count) {
  auto* s = static_cast<MQDecoderState*>(state);
  switch (d->mode & 0x7f) {
    case kMQUnit8: {
      LinearSink<uint8_t> sink{static_cast<uint8_t*>(dst)};
      return decodeSymbols<Quotients>(d, s, sink, count);
    }
    case kMQUnit16: {
      LinearSink<uint16_t> sink{static_cast<uint16_t*>(dst)};
      return decodeSymbols<Quotients>(d, s, sink, count);
    }
    default: {
      LinearSink<uint32_t> sink{static_cast<uint32_t*>(dst)};
      return decodeSymbols<Quotients>(d, s, sink, count);
    }
  }
}

}  // namespace

uint32_t mqDecodeFloat(MQDecoder* decoder, void* state, void* dst, uint32_t count) {
  return decodeByUnit<FloatingQuotients>(decoder, state, dst, count);
}

uint32_t mqDecodeInteger(MQDecoder* decoder, void* state, void* dst, uint32_t count) {
  return decodeByUnit<IntegerQuotients>(decoder, state, dst, count);
}

uint32_t mqDecodeScattered(MQDecoder* decoder, void* state, int32_t* dst, const uint16_t* order,
                           uint32_t count) {
  ScatterSink sink{dst, order};
  decodeSymbols<FloatingQuotients>(decoder, static_cast<MQDecoderState*>(state), sink, count);
  return sink.end;
}

void mqCloseDecoder(MQDecoder* decoder) { delete decoder; }

MOLAQDecoder::MOLAQDecoder(const void* data, size_t dataSize, uint32_t tableLimit)
    : decoder_(mqOpenDecoder(&state_, sizeof(state_), data, kMQUnit8, tableLimit, nullptr, dataSize)) {}

MOLAQDecoder::~MOLAQDecoder() { mqCloseDecoder(decoder_); }

bool MOLAQDecoder::Read(void* dst, uint32_t count) {
  if (decoder_ == nullptr) return false;
  mqDecode(decoder_, &state_, dst, count);
  return true;
}
