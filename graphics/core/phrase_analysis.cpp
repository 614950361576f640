// The encoder's analysis: cuts an array of symbols into phrases, then splits the phrases that do
// not pay their place in the dictionary.
#include "graphics/core/phrase_coder.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <memory>
#include <unordered_map>

namespace {

// Longest repeat of one phrase: four bytes of count.
constexpr uint32_t kMaxRepeat = 1u << 30;
// Runs of other values than the background shorter than this stay single values.
constexpr uint32_t kShortestRun = 4;
// Splitting changes the frequencies by which the next round judges; a few rounds settle.
constexpr int kSplitRounds = 4;
// What a step that the decoder does not take is worth in bits of the stream: a phrase that
// costs a little size but saves many steps is kept.
constexpr double kStepBits = 2.0;

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

}  // namespace

uint32_t mqPhraseValueWidth(const MQPhraseTable& table) {
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

uint32_t mqPhraseRepeatBytes(uint32_t repeat) {
  uint32_t bytes = 1;
  while (bytes < 4 && (repeat >> (8 * bytes)) != 0) ++bytes;
  return bytes;
}

namespace {

// Bits of a phrase in the dictionary: its values with their flags, its count, its frequency.
double dictionaryBits(size_t valueCount, uint32_t repeat, uint64_t frequency, uint32_t width) {
  return static_cast<double>(valueCount * (width + 1) + 9 * mqPhraseRepeatBytes(repeat) + std::bit_width(frequency));
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
    if (apart + kStepBits * static_cast<double>(n) < kept) split[i] = *any = true;
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
    if (extraSteps * (bitsPerStep + kStepBits) < dictionaryBits(1, phrase.repeat, phrase.frequency, width)) {
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
    std::vector<bool> split = joinedNotWorthKeeping(*table, mqPhraseValueWidth(*table), &any);
    if (any) splitPhrases(table, split);
  }
  std::vector<bool> split = runsNotWorthKeeping(*table, mqPhraseValueWidth(*table), &any);
  if (any) splitPhrases(table, split);

  uint32_t width = mqPhraseValueWidth(*table);
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

namespace {

// A joined pair holds at most this many values: longer ones never pay their place in the
// dictionary, and they would only slow the analysis down.
constexpr uint64_t kLongestJoinedPair = 256;

uint64_t expandedLength(const MQPhrase& phrase) { return uint64_t{phrase.repeat} * phrase.values.size(); }

// f log2 f, the part of a phrase of frequency f in the code's size (steps log2 steps less the
// sum of these over the phrases).
double frequencyTerm(uint64_t f) { return f == 0 ? 0.0 : static_cast<double>(f) * std::log2(static_cast<double>(f)); }

// A pair of phrases that follow each other `count` times, and what joining them saves in bits.
struct PairCandidate {
  uint32_t first, second;
  uint64_t count;
  double gain;
};

// Counts the pairs of neighbours in the parse; a run of one phrase counts its pairs without
// overlap, as the join replaces them.
std::unordered_map<uint64_t, uint64_t> countPairs(const std::vector<uint32_t>& parse) {
  std::unordered_map<uint64_t, uint64_t> pairs;
  pairs.reserve(parse.size() / 2);
  uint64_t lastKey = UINT64_MAX;
  size_t lastAt = 0;
  for (size_t i = 0; i + 1 < parse.size(); ++i) {
    uint64_t key = (uint64_t{parse[i]} << 32) | parse[i + 1];
    if (key == lastKey && lastAt + 1 == i) continue;
    ++pairs[key];
    lastKey = key;
    lastAt = i;
  }
  return pairs;
}

// What joining `count` occurrences of the pair saves: code bits, less the joined phrase's
// entry, plus the entries of parts that no step uses any more.
double joinGain(const MQPhraseTable& table, uint32_t a, uint32_t b, uint64_t count, uint32_t width) {
  const uint64_t steps = table.parse.size(), fa = table.phrases[a].frequency, fb = table.phrases[b].frequency;
  const uint64_t after = steps - count;
  double codeBefore = frequencyTerm(steps) - frequencyTerm(fa) - (a == b ? 0.0 : frequencyTerm(fb));
  double codeAfter = frequencyTerm(after) - frequencyTerm(count);
  if (a == b) {
    codeAfter -= frequencyTerm(fa - 2 * count);
  } else {
    codeAfter -= frequencyTerm(fa - count) + frequencyTerm(fb - count);
  }
  const MQPhrase& pa = table.phrases[a];
  const MQPhrase& pb = table.phrases[b];
  double gain = codeBefore - codeAfter - dictionaryBits(expandedLength(pa) + expandedLength(pb), 1, count, width);
  if (fa == count + (a == b ? count : 0)) gain += dictionaryBits(pa.values.size(), pa.repeat, fa, width);
  if (a != b && fb == count) gain += dictionaryBits(pb.values.size(), pb.repeat, fb, width);
  return gain;
}

// The pairs worth joining in one round, best first, no phrase in two of them (so that the
// counts hold), at most `room` of them.
std::vector<PairCandidate> pairsToJoin(const MQPhraseTable& table, uint32_t width, size_t room) {
  std::vector<PairCandidate> candidates;
  for (auto [key, count] : countPairs(table.parse)) {
    uint32_t a = static_cast<uint32_t>(key >> 32), b = static_cast<uint32_t>(key);
    if (count < 2 || expandedLength(table.phrases[a]) + expandedLength(table.phrases[b]) > kLongestJoinedPair) continue;
    double gain = joinGain(table, a, b, count, width) + kStepBits * static_cast<double>(count);
    if (gain > 0) candidates.push_back({a, b, count, gain});
  }
  std::sort(candidates.begin(), candidates.end(), [](const PairCandidate& x, const PairCandidate& y) {
    return x.gain != y.gain ? x.gain > y.gain : (x.first != y.first ? x.first < y.first : x.second < y.second);
  });
  std::vector<bool> taken(table.phrases.size(), false);
  std::vector<PairCandidate> chosen;
  for (const PairCandidate& c : candidates) {
    if (chosen.size() == room) break;
    if (taken[c.first] || taken[c.second]) continue;
    taken[c.first] = taken[c.second] = true;
    chosen.push_back(c);
  }
  return chosen;
}

// Replaces the chosen pairs by new phrases of their values, left to right, and drops the
// phrases that no step uses any more.
void joinPairs(MQPhraseTable* table, const std::vector<PairCandidate>& chosen) {
  std::vector<std::pair<uint32_t, uint32_t>> joinsWith(table->phrases.size(), {UINT32_MAX, 0});
  for (const PairCandidate& c : chosen) {
    MQPhrase joined;
    for (uint32_t id : {c.first, c.second}) {
      const MQPhrase& part = table->phrases[id];
      for (uint32_t r = 0; r < part.repeat; ++r) joined.values.insert(joined.values.end(), part.values.begin(), part.values.end());
    }
    joinsWith[c.first] = {c.second, static_cast<uint32_t>(table->phrases.size())};
    table->phrases.push_back(std::move(joined));
  }
  std::vector<uint32_t> parse;
  parse.reserve(table->parse.size());
  for (size_t i = 0; i < table->parse.size(); ++i) {
    uint32_t id = table->parse[i];
    if (id < joinsWith.size() && i + 1 < table->parse.size() && joinsWith[id].first == table->parse[i + 1]) {
      parse.push_back(joinsWith[id].second);
      ++i;
    } else {
      parse.push_back(id);
    }
  }
  std::vector<uint32_t> frequency(table->phrases.size(), 0);
  for (uint32_t id : parse) ++frequency[id];
  std::vector<uint32_t> renumbered(table->phrases.size(), UINT32_MAX);
  std::vector<MQPhrase> kept;
  for (uint32_t id = 0; id < table->phrases.size(); ++id) {
    if (frequency[id] == 0) continue;
    renumbered[id] = static_cast<uint32_t>(kept.size());
    kept.push_back(std::move(table->phrases[id]));
    kept.back().frequency = frequency[id];
  }
  for (uint32_t& id : parse) id = renumbered[id];
  table->phrases = std::move(kept);
  table->parse = std::move(parse);
}

}  // namespace

void mqJoinPhrasePairs(MQPhraseTable* table, uint32_t limit) {
  const uint32_t width = mqPhraseValueWidth(*table);
  while (table->phrases.size() < limit) {
    std::vector<PairCandidate> chosen = pairsToJoin(*table, width, limit - table->phrases.size());
    if (chosen.empty()) break;
    joinPairs(table, chosen);
  }
}

void mqFreePhraseTable(MQPhraseTable* table) { delete table; }
