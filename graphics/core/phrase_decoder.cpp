// The decoder: reads the dictionary of a coded stream and writes out the phrases of its indices.
#include "graphics/core/phrase_coder.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <memory>
#include <type_traits>

namespace {

// A phrase's share of the code: [start, end) of the total. These stand apart from the rest of
// the phrase, packed, since every step's lookup waits for them.
struct PhraseInterval {
  uint32_t start, end;
};

// What writing a phrase out needs.
struct DecoderPhrase {
  uint32_t repeat;
  uint32_t first;  // index of the first value in MQDecoder::values
  uint32_t length;  // number of values
  // The phrase written out whole, for the scattered decoder: its symbols (values times repeat),
  // kNotDirect if they are too many or too many of them are non-zero; its non-zero symbols
  // beyond the first kNonZeroSlots, listed in MQDecoder::moreNonZeros; one past the last
  // non-zero symbol, 0 if there is none.
  uint32_t span;
  uint32_t firstMoreNonZeros, moreNonZeroCount;
  uint32_t reach;
};

// The first non-zero symbols of a phrase written out whole stand in this many slots of
// MQDecoder::nonZeroSlots, which are all written, whatever the phrase: a fixed number of
// stores instead of a loop whose length the processor cannot foresee. A phrase with fewer
// fills its first slots with zeros for its first symbol, which stay behind its own values.
constexpr uint32_t kNonZeroSlots = 4;

constexpr uint32_t kNotDirect = UINT32_MAX;
// Phrases of more symbols or more non-zero ones are written out through the pending state.
constexpr uint64_t kLongestDirectSpan = 1u << 16;
constexpr uint64_t kMostDirectNonZeros = 256;

// A non-zero symbol of a phrase written out whole: its offset from the phrase's first symbol.
struct NonZeroSymbol {
  uint32_t offset;
  int32_t value;
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
  // Bits read so far.
  uint64_t position() const { return uint64_t{next} * 8 - avail; }
};

// Reads the code behind the dictionary: a copy of its bytes with zeros behind, so that every
// read is one unaligned load, whatever the position. Reading on past the copy gives zeros.
class CodeReader {
 public:
  CodeReader() = default;
  CodeReader(const uint8_t* data, size_t dataSize, uint64_t position) {
    size_t first = std::min<uint64_t>(position / 8, dataSize);
    bytes_.assign(data + first, data + dataSize);
    bytes_.resize(bytes_.size() + kPadding, 0);
    position_ = position - uint64_t{first} * 8;
    lastLoad_ = bytes_.size() - 8;
  }
  // The next `count` bits, 0 to 32, as a number; moves on by them.
  uint32_t bits(uint32_t count) {
    uint64_t at = position_ >> 3;
    uint64_t window = 0;
    if (at <= lastLoad_) {
      std::memcpy(&window, bytes_.data() + at, sizeof window);
      window = __builtin_bswap64(window) << (position_ & 7);
    }
    position_ += count;
    return static_cast<uint32_t>((window >> 32) >> (32 - count));
  }

 private:
  static constexpr size_t kPadding = 16;
  std::vector<uint8_t> bytes_;
  uint64_t position_ = 0;
  uint64_t lastLoad_ = 0;
};

}  // namespace

struct MQDecoder {
  BitReader reader;  // the dictionary's
  CodeReader code;
  uint32_t mode;
  uint32_t total;
  // log2 of the total where it is a power of two, as the encoder makes it, else -1.
  int32_t totalShift;
#if defined(__SIZEOF_INT128__)
  // floor(x / total) = floor(x * magic / 2^(64 + magicShift)) for every x below 2^63, with
  // magic = ceil(2^(64 + magicShift) / total) and magicShift = ceil(log2 total) - 1, for totals
  // above 1 (a total of 1 divides nothing).
  uint64_t magic = 0;
  uint32_t magicShift = 0;
  // The fixed-point factors of the estimates (see EstimatedQuotients): total / range and
  // total / frequency scaled so that their high product is total^2 / (range * frequency) << 32,
  // for totals up to 2^30 (beyond, decoding divides).
  uint32_t rangeScaleShift = 0;  // total / range is scaled by 2^rangeScaleShift
  double scaledTotal = 0;  // total << rangeScaleShift
  using FrequencyFactor = uint64_t;  // total / frequency << (63 - ceil(log2 total))
#else
  double reciprocalTotal;  // 1 / total, for estimates of the quotients by total
  double scaledTotal;  // the total
  using FrequencyFactor = double;  // total / frequency
#endif
  bool estimates;  // whether the quotients of a step come from estimates
  std::vector<int32_t> values;  // the values of all phrases, one after the other
  std::vector<PhraseInterval> intervals;
  std::vector<FrequencyFactor> totalPerFrequency;  // of each phrase
  std::vector<DecoderPhrase> phrases;
  std::vector<NonZeroSymbol> nonZeroSlots;  // kNonZeroSlots a phrase
  std::vector<NonZeroSymbol> moreNonZeros;
  // The lookup of a scaled code: the table gives for each bucket of 2^bucketShift cumulative
  // values the first phrase that reaches into it; from there a scan over the phrases' ends
  // finds the phrase. With several buckets per phrase the scan is mostly empty.
  uint32_t bucketShift;
  std::vector<uint32_t> buckets;

  uint32_t findPhrase(uint32_t value) const {
    uint32_t p = buckets[value >> bucketShift];
    while (value >= intervals[p].end) ++p;
    return p;
  }
};

namespace {

// Fills the whole-phrase fields of `phrase` and its slots from its values.
// `nonZeros` is room for the list, reused from phrase to phrase.
void listNonZeros(MQDecoder* d, DecoderPhrase* phrase, std::vector<NonZeroSymbol>& nonZeros) {
  const int32_t* values = d->values.data() + phrase->first;
  const uint64_t nonZerosPerRepeat = static_cast<uint64_t>(std::count_if(values, values + phrase->length, [](int32_t v) { return v != 0; }));
  const uint64_t span = uint64_t{phrase->length} * phrase->repeat;
  nonZeros.clear();
  phrase->reach = 0;
  if (span > kLongestDirectSpan || nonZerosPerRepeat * phrase->repeat > kMostDirectNonZeros) {
    phrase->span = kNotDirect;
  } else {
    phrase->span = static_cast<uint32_t>(span);
    for (uint32_t r = 0; r < phrase->repeat && nonZerosPerRepeat > 0; ++r) {
      for (uint32_t i = 0; i < phrase->length; ++i) {
        if (values[i] == 0) continue;
        uint32_t at = r * phrase->length + i;
        nonZeros.push_back({at, values[i]});
        phrase->reach = at + 1;
      }
    }
  }
  const size_t inSlots = std::min<size_t>(nonZeros.size(), kNonZeroSlots);
  d->nonZeroSlots.insert(d->nonZeroSlots.end(), kNonZeroSlots - inSlots, NonZeroSymbol{0, 0});
  d->nonZeroSlots.insert(d->nonZeroSlots.end(), nonZeros.begin(), nonZeros.begin() + inSlots);
  phrase->firstMoreNonZeros = static_cast<uint32_t>(d->moreNonZeros.size());
  phrase->moreNonZeroCount = static_cast<uint32_t>(nonZeros.size() - inSlots);
  d->moreNonZeros.insert(d->moreNonZeros.end(), nonZeros.begin() + inSlots, nonZeros.end());
}

}  // namespace

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
  // Values of width 0 are all zero. A dictionary that runs on past the data's read-ahead is
  // refused below; every phrase takes at least one byte of it.
  if (phraseCount == 0 || width > 32) return nullptr;
  d->phrases.reserve(std::min<size_t>(phraseCount, dataSize));
  for (uint32_t p = 0; p < phraseCount; ++p) {
    DecoderPhrase phrase{};
    phrase.first = static_cast<uint32_t>(d->values.size());
    for (;;) {
      uint32_t raw = in.bits(width);
      int32_t v = static_cast<int32_t>(raw);
      if (isSigned && width > 0 && width < 32 && (raw >> (width - 1))) v = static_cast<int32_t>(raw | (~0u << width));
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
  d->intervals.reserve(d->phrases.size());
  for (size_t p = 0; p < d->phrases.size(); ++p) {
    uint32_t f = ones ? 1 : in.bits(previousBits);
    if (f == 1) ones = true;
    previousBits = 32 - std::countl_zero(f);
    uint32_t start = static_cast<uint32_t>(total);
    total += f;
    if (total > 0x80000000u) return nullptr;
    d->intervals.push_back({start, static_cast<uint32_t>(total)});
  }
  if (total == 0) return nullptr;
  d->total = static_cast<uint32_t>(total);
  d->totalShift = std::has_single_bit(d->total) ? std::countr_zero(d->total) : -1;
#if defined(__SIZEOF_INT128__)
  const uint32_t totalBits = static_cast<uint32_t>(std::bit_width(d->total - 1));
  if (d->total > 1) {
    d->magicShift = totalBits - 1;
    d->magic = static_cast<uint64_t>(((static_cast<unsigned __int128>(1) << (64 + d->magicShift)) + d->total - 1) / d->total);
  }
  d->estimates = totalBits <= 30;
  d->rangeScaleShift = 33 + totalBits;
  d->scaledTotal = std::ldexp(static_cast<double>(total), static_cast<int>(d->rangeScaleShift));
  // A phrase of frequency 0 is never decoded; its factor is never used.
  for (const PhraseInterval& interval : d->intervals) {
    uint32_t f = interval.end - interval.start;
    d->totalPerFrequency.push_back(f == 0 ? 0 : (total << (63 - std::min(totalBits, 30u))) / f);
  }
#else
  d->reciprocalTotal = 1.0 / static_cast<double>(total);
  d->estimates = true;
  d->scaledTotal = static_cast<double>(total);
  for (const PhraseInterval& interval : d->intervals) {
    uint32_t f = interval.end - interval.start;
    d->totalPerFrequency.push_back(f == 0 ? 0 : d->scaledTotal / f);
  }
#endif
  std::vector<NonZeroSymbol> nonZeros;
  for (DecoderPhrase& phrase : d->phrases) listNonZeros(d.get(), &phrase, nonZeros);

  // Buckets: two to four per phrase (finer ones cost more in the cache than the scans they
  // spare), no more than the table limit (and 2^16) allows, none
  // narrower than one value.
  uint32_t bucketCount = std::bit_ceil(std::min<uint64_t>(2ull * phraseCount, 1u << 16));
  bucketCount = std::min(bucketCount, std::bit_floor(std::max(tableLimit, 1u)));
  bucketCount = std::min(bucketCount, std::bit_floor(d->total));
  d->bucketShift = static_cast<uint32_t>(std::bit_width(d->total - 1)) - std::countr_zero(bucketCount);
  d->buckets.resize(static_cast<size_t>((d->total - 1) >> d->bucketShift) + 1);
  uint32_t p = 0;
  for (uint32_t bucket = 0; bucket < d->buckets.size(); ++bucket) {
    while ((bucket << d->bucketShift) >= d->intervals[p].end) ++p;
    d->buckets[bucket] = p;
  }

  auto* state = static_cast<MQDecoderState*>(statePointer);
  *state = {};
  state->size = sizeof(MQDecoderState);
  state->range = 0xffffffffu;
  state->pending = -1;
  state->code = in.bits(32);
  d->code = CodeReader(static_cast<const uint8_t*>(data), dataSize, in.position());
  return d.release();
}

namespace {

// Writes symbols into consecutive units of T, stored by truncation.
template <typename T>
struct LinearSink {
  static constexpr bool kWritesWholePhrases = false;
  T* dst;
  void fill(uint32_t at, uint32_t count, int32_t value) {
    std::fill(dst + at, dst + at + count, static_cast<T>(value));
  }
  void copy(uint32_t at, const int32_t* values, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) dst[at + i] = static_cast<T>(values[i]);
  }
};

// Writes the i-th symbol to dst[order[i]] and skips zeros; `end` follows the last non-zero one.
// A phrase that fits whole goes out by its list of non-zero symbols.
struct ScatterSink {
  static constexpr bool kWritesWholePhrases = true;
  int32_t* dst;
  const uint16_t* order;
  uint32_t end = 0;
  void fill(uint32_t at, uint32_t count, int32_t value) {
    if (value == 0) return;
    for (uint32_t i = 0; i < count; ++i) dst[order[at + i]] = value;
    end = at + count;
  }
  void copy(uint32_t at, const int32_t* values, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
      if (values[i] == 0) continue;
      dst[order[at + i]] = values[i];
      end = at + i + 1;
    }
  }
  void whole(const MQDecoder& d, uint32_t index, const DecoderPhrase& phrase, uint32_t at) {
    const NonZeroSymbol* slots = d.nonZeroSlots.data() + size_t{index} * kNonZeroSlots;
#pragma GCC unroll 4
    for (uint32_t k = 0; k < kNonZeroSlots; ++k) dst[order[at + slots[k].offset]] = slots[k].value;
    const NonZeroSymbol* more = d.moreNonZeros.data() + phrase.firstMoreNonZeros;
    for (uint32_t k = 0; k < phrase.moreNonZeroCount; ++k) dst[order[at + more[k].offset]] = more[k].value;
    end = phrase.reach != 0 ? at + phrase.reach : end;
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
  void start(uint64_t, uint64_t) {}
  uint64_t code(uint64_t code, uint64_t range) const { return code * total / range; }
  void next(uint32_t, uint32_t, uint64_t, int) {}
  uint64_t floorScaled(uint64_t range, uint64_t x) const { return range * x / total; }
  uint64_t ceilScaled(uint64_t range, uint64_t x) const { return (range * x + total - 1) / total; }
};

// floor(product / divisor) from an estimate that is seldom more than one below it; a worse one,
// as a damaged stream gives, makes way for the division.
uint64_t correctedQuotient(uint64_t estimate, uint64_t product, uint64_t divisor) {
  uint64_t q = estimate;
  if (q > 0 && q * divisor > product) --q;
  uint64_t rest = product - q * divisor;
  if (rest < divisor) return q;
  if (rest < 2 * divisor) return q + 1;
  return product / divisor;
}

// The same quotients without integer division. The scaled code of a step comes from an
// estimate that the step before makes as soon as it knows its phrase: its reduced code times
// total / (range * frequency / total), the product of two known factors (total / range and
// total / frequency), corrected to the exact floor once the code is known. The division for
// the reciprocal of the new range runs beside the next step. With 128-bit products the factors
// are fixed-point integers and the quotients by the total exact multiplications by its
// reciprocal; without, they are doubles and estimates corrected to the floor.
struct EstimatedQuotients {
  uint64_t total;
  explicit EstimatedQuotients(const MQDecoder& d)
      : total(d.total),
#if defined(__SIZEOF_INT128__)
        magic(d.magic), magicShift(d.magicShift), scaledTotal(d.scaledTotal),
        rangeScaleShift(d.rangeScaleShift)
#else
        reciprocalTotal(d.reciprocalTotal), scaledTotal(d.scaledTotal)
#endif
        , totalPerFrequency(d.totalPerFrequency.data()) {
  }

  // Truncations and conversions of values known to stay below 2^63.
  static uint64_t truncate(double value) { return static_cast<uint64_t>(static_cast<int64_t>(value)); }
  static double toDouble(uint64_t value) { return static_cast<double>(static_cast<int64_t>(value)); }
  static double powerOfTwo(int exponent) { return std::bit_cast<double>(static_cast<uint64_t>(1023 + exponent) << 52); }

#if defined(__SIZEOF_INT128__)
  uint64_t magic;
  uint32_t magicShift;
  double scaledTotal;  // total << rangeScaleShift
  uint32_t rangeScaleShift;
  const uint64_t* totalPerFrequency;
  uint64_t totalPerRange = 0;  // total / range << rangeScaleShift
  uint64_t estimate = 0;  // of the next scaled code

  static uint64_t highProduct(uint64_t a, uint64_t b) {
    return static_cast<uint64_t>((static_cast<unsigned __int128>(a) * b) >> 64);
  }
  void start(uint64_t code, uint64_t range) {
    totalPerRange = truncate(scaledTotal / toDouble(range));
    estimate = static_cast<uint64_t>((static_cast<unsigned __int128>(code) * totalPerRange) >> rangeScaleShift);
  }
  // After `phrase`: the code less the phrase's low end, and the new range before its shift left
  // by `shift`. The two factors' product is total^2 / (range * frequency) << 32.
  void next(uint32_t phrase, uint32_t reducedCode, uint64_t range, int shift) {
    estimate = highProduct(uint64_t{reducedCode} << 32, highProduct(totalPerRange, totalPerFrequency[phrase]));
    totalPerRange = truncate(scaledTotal * powerOfTwo(-shift) / toDouble(range));
  }
  // The products of a step stay below 2^63.
  uint64_t byTotal(uint64_t product) const { return total == 1 ? product : highProduct(product, magic) >> magicShift; }
#else
  double reciprocalTotal;
  double scaledTotal;  // the total
  const double* totalPerFrequency;
  double totalPerRange = 0;
  uint64_t estimate = 0;

  void start(uint64_t code, uint64_t range) {
    totalPerRange = scaledTotal / toDouble(range);
    estimate = truncate(toDouble(code) * totalPerRange);
  }
  void next(uint32_t phrase, uint32_t reducedCode, uint64_t range, int shift) {
    estimate = truncate(toDouble(reducedCode) * (totalPerRange * totalPerFrequency[phrase]));
    totalPerRange = scaledTotal * powerOfTwo(-shift) / toDouble(range);
  }
  uint64_t byTotal(uint64_t product) const {
    return correctedQuotient(truncate(toDouble(product) * reciprocalTotal), product, total);
  }
#endif
  uint64_t code(uint64_t code, uint64_t range) const { return correctedQuotient(estimate, code * total, range); }
  uint64_t floorScaled(uint64_t range, uint64_t x) const { return byTotal(range * x); }
  uint64_t ceilScaled(uint64_t range, uint64_t x) const { return byTotal(range * x + total - 1); }
};

// EstimatedQuotients for a total that is a power of two: the quotients by the total are shifts.
struct ShiftQuotients : EstimatedQuotients {
  uint32_t totalShift;
  explicit ShiftQuotients(const MQDecoder& d) : EstimatedQuotients(d), totalShift(static_cast<uint32_t>(d.totalShift)) {}
  uint64_t floorScaled(uint64_t range, uint64_t x) const { return (range * x) >> totalShift; }
  uint64_t ceilScaled(uint64_t range, uint64_t x) const { return (range * x + total - 1) >> totalShift; }
};

template <typename Quotients, typename Sink>
uint32_t decodeSymbols(MQDecoder* d, MQDecoderState* shared, Sink& sink, uint32_t count) {
  // The loop works on copies of the state and the reader, which the stores of symbols then
  // cannot be taken to change.
  MQDecoderState state = *shared;
  CodeReader reader = std::move(d->code);
  MQDecoderState* s = &state;
  Quotients quotients(*d);
  quotients.start(s->code, s->range);
  uint32_t out = 0;
  if (s->pending >= 0) out += writePhrase(*d, s, sink, 0, count);
  const uint32_t total = d->total;
  while (out < count) {
    uint64_t range = s->range;
    uint64_t value = std::min<uint64_t>(quotients.code(s->code, range), total - 1);
    const uint32_t p = d->findPhrase(static_cast<uint32_t>(value));
    const PhraseInterval interval = d->intervals[p];
    uint32_t newRange = static_cast<uint32_t>(quotients.floorScaled(range, interval.end - interval.start));
    uint32_t low = static_cast<uint32_t>(quotients.ceilScaled(range, interval.start));
    uint32_t reducedCode = s->code - low;
    int shift = std::countl_zero(newRange);
    quotients.next(p, reducedCode, newRange, shift);
    newRange <<= shift;
    uint32_t code = static_cast<uint32_t>((uint64_t{reducedCode} << shift) | reader.bits(static_cast<uint32_t>(shift)));
    s->range = newRange;
    s->code = code;
    const DecoderPhrase& phrase = d->phrases[p];
    if constexpr (Sink::kWritesWholePhrases) {
      if (phrase.span <= count - out) {
        sink.whole(*d, p, phrase, out);
        out += phrase.span;
        continue;
      }
    }
    s->pending = static_cast<int32_t>(p);
    s->repeatsLeft = phrase.repeat;
    s->position = 0;
    out += writePhrase(*d, s, sink, out, count - out);
  }
  *shared = state;
  d->code = std::move(reader);
  return count;
}

// Calls decode(std::type_identity<Q>) with the quotients Q that suit the decoder's total.
template <typename Decode>
uint32_t withQuotients(const MQDecoder& d, Decode decode) {
  if (!d.estimates) return decode(std::type_identity<IntegerQuotients>{});
  if (d.totalShift >= 0) return decode(std::type_identity<ShiftQuotients>{});
  return decode(std::type_identity<EstimatedQuotients>{});
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
  return withQuotients(*decoder, [&]<typename Quotients>(std::type_identity<Quotients>) {
    return decodeByUnit<Quotients>(decoder, state, dst, count);
  });
}

uint32_t mqDecodeInteger(MQDecoder* decoder, void* state, void* dst, uint32_t count) {
  return decodeByUnit<IntegerQuotients>(decoder, state, dst, count);
}

uint32_t mqDecodeScattered(MQDecoder* decoder, void* state, int32_t* dst, const uint16_t* order,
                           uint32_t count) {
  ScatterSink sink{dst, order};
  withQuotients(*decoder, [&]<typename Quotients>(std::type_identity<Quotients>) {
    return decodeSymbols<Quotients>(decoder, static_cast<MQDecoderState*>(state), sink, count);
  });
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
