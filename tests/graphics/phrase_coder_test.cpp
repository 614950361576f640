// The phrase coder: streams the encoder writes decode to the same symbols in any pieces, with both
// decoders and any table limit; streams of the test's own writer cover the dictionary's edge
// cases.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "graphics/core/molaq.h"
#include "tests/graphics/independent_stream.h"

namespace {

template <typename T>
std::vector<T> decodeAll(const std::vector<uint8_t>& stream, uint32_t mode, uint32_t count,
                         uint32_t limit, uint32_t piece, bool integer = false) {
  MQDecoderState state;
  MQDecoder* d = mqOpenDecoder(&state, sizeof(state), stream.data(), mode, limit, nullptr, stream.size());
  EXPECT_NE(d, nullptr);
  std::vector<T> out(count);
  if (d == nullptr) return out;
  for (uint32_t at = 0; at < count; at += piece) {
    uint32_t n = std::min(piece, count - at);
    EXPECT_EQ((integer ? mqDecodeInteger : mqDecode)(d, &state, out.data() + at, n), n);
  }
  mqCloseDecoder(d);
  return out;
}

std::vector<int32_t> coefficientLike(size_t count, uint32_t seed) {
  std::mt19937 random(seed);
  std::geometric_distribution<int> magnitude(0.6);
  std::vector<int32_t> values(count);
  for (size_t i = 0; i < count; ++i) {
    int m = (i % 64 == 0) ? 100 + int(random() % 50) : (random() % 3 ? 0 : magnitude(random));
    values[i] = (random() & 1) ? -m : m;
  }
  return values;
}

TEST(PhraseCoder, SignedValuesComeBackInAnyPiecesWithEitherDecoderAndAnyTableLimit) {
  std::vector<int32_t> values = coefficientLike(20000, 1);
  values[500] = INT32_MIN;
  values[501] = INT32_MAX;
  std::vector<uint8_t> stream = mqEncodeSymbols(values.data(), uint32_t(values.size()), kMQUnit32 | kMQSigned, 15, 4096);
  EXPECT_LT(stream.size(), values.size() * 2) << "the coder compresses";
  for (uint32_t limit : {kMQNoTableLimit, kMQTableLimit, 16u, 0u}) {
    for (uint32_t piece : {1u, 7u, 64u, 20000u}) {
      EXPECT_EQ(decodeAll<int32_t>(stream, kMQUnit32, 20000, limit, piece), values) << limit << " " << piece;
    }
    EXPECT_EQ(decodeAll<int32_t>(stream, kMQUnit32, 20000, limit, 33, true), values) << "integer " << limit;
  }
}

TEST(PhraseCoder, BytesAndHalfWordsAreStoredByTruncation) {
  std::mt19937 random(2);
  std::vector<uint8_t> bytes(5000);
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = (i / 40) % 3 ? uint8_t(random()) : 9;
  std::vector<uint8_t> stream = mqEncodeSymbols(bytes.data(), uint32_t(bytes.size()), kMQUnit8, 15, 4096);
  EXPECT_EQ(decodeAll<uint8_t>(stream, kMQUnit8, 5000, kMQTableLimit, 100), bytes);
  std::vector<uint16_t> wide = decodeAll<uint16_t>(stream, kMQUnit16, 5000, kMQTableLimit, 5000);
  for (size_t i = 0; i < bytes.size(); ++i) ASSERT_EQ(wide[i], bytes[i]) << i;

  std::vector<int16_t> halves = {-1, -32768, 32767, 0, 0, 0, 5};
  stream = mqEncodeSymbols(halves.data(), 7, kMQUnit16 | kMQSigned, 15, 4096);
  EXPECT_EQ(decodeAll<int16_t>(stream, kMQUnit16, 7, kMQTableLimit, 7), halves);
  EXPECT_EQ(decodeAll<int8_t>(stream, kMQUnit8, 7, kMQTableLimit, 7),
            (std::vector<int8_t>{-1, 0, -1, 0, 0, 0, 5}));
}

TEST(PhraseCoder, LimitingAndOptimisingKeepTheSymbols) {
  std::vector<int32_t> values = coefficientLike(30000, 3);
  MQPhraseTable* table = mqAnalyzePhrases(values.data(), uint32_t(values.size()), kMQUnit32 | kMQSigned, 15);
  size_t before = table->phrases.size();
  uint64_t estimate = mqOptimizePhrases(table);
  EXPECT_GT(estimate, 0u);
  mqLimitPhrases(table, 40);
  EXPECT_LT(table->phrases.size(), before);
  std::vector<uint8_t> stream = mqEncodeStream(table);
  mqFreePhraseTable(table);
  EXPECT_NEAR(double(stream.size() * 8), double(estimate), estimate * 0.5);
  EXPECT_EQ(decodeAll<int32_t>(stream, kMQUnit32, 30000, kMQTableLimit, 999), values);
}

// Phrase steps a decoder takes for `count` symbols: one whenever no phrase is pending.
uint64_t decodeSteps(const std::vector<uint8_t>& stream, uint32_t mode, uint32_t count) {
  MQDecoderState state;
  MQDecoder* d = mqOpenDecoder(&state, sizeof(state), stream.data(), mode, kMQTableLimit, nullptr, stream.size());
  EXPECT_NE(d, nullptr);
  if (d == nullptr) return 0;
  uint64_t steps = 0;
  int32_t value;
  for (uint32_t i = 0; i < count; ++i) {
    if (state.pending < 0) ++steps;
    mqDecode(d, &state, &value, 1);
  }
  mqCloseDecoder(d);
  return steps;
}

// Blocks of 64 coefficients as a transform coder leaves them: a mean, a few values behind short
// zero runs, then zeros to the end of the block.
std::vector<int32_t> blockLike(uint32_t blocks, uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<int32_t> values;
  for (uint32_t b = 0; b < blocks; ++b) {
    values.push_back(int32_t(random() % 256));
    uint32_t live = 1 + random() % 12;
    for (uint32_t at = 1; at < 64; ++at) {
      values.push_back(at <= live && random() % 3 == 0 ? int32_t(random() % 7) - 3 : 0);
    }
  }
  return values;
}

struct TableDeleter {
  void operator()(MQPhraseTable* table) const { mqFreePhraseTable(table); }
};
using TablePointer = std::unique_ptr<MQPhraseTable, TableDeleter>;

TablePointer analyze(const std::vector<int32_t>& values, uint32_t shortRun = 63) {
  return TablePointer(mqAnalyzePhrases(values.data(), uint32_t(values.size()), kMQUnit32 | kMQSigned, shortRun));
}

// The symbols a table stands for, written out along its parse.
std::vector<int32_t> expand(const MQPhraseTable& table) {
  std::vector<int32_t> out;
  for (uint32_t id : table.parse) {
    const MQPhrase& phrase = table.phrases[id];
    for (uint32_t r = 0; r < phrase.repeat; ++r) out.insert(out.end(), phrase.values.begin(), phrase.values.end());
  }
  return out;
}

TEST(PhraseChoice, ZeroTailsAndRunsBeforeValuesTakeOneStepEach) {
  std::vector<int32_t> values = blockLike(3000, 11);
  TablePointer table = analyze(values);
  mqOptimizePhrases(table.get());
  EXPECT_EQ(expand(*table), values);
  // Each block is its mean, its non-zero values (each with the zeros before it) and its tail.
  uint64_t tokens = 0;
  for (size_t b = 0; b < values.size(); b += 64) {
    tokens += 1;
    size_t last = b;
    for (size_t i = b + 1; i < b + 64; ++i) {
      if (values[i] != 0) ++tokens, last = i;
    }
    if (last < b + 63) ++tokens;
  }
  // One step per token, but for rare zero runs and tails, which cost less split in two or cut
  // into powers of two than as entries of their own.
  EXPECT_LE(table->parse.size(), tokens * 11 / 10);
  EXPECT_GE(table->parse.size(), tokens) << "values are not merged into longer phrases";
  for (const MQPhrase& phrase : table->phrases) {
    EXPECT_LE(phrase.values.size() - std::count(phrase.values.begin(), phrase.values.end(), 0), 1u)
        << "a phrase holds at most one value other than zero";
  }
  std::vector<uint8_t> stream = mqEncodeStream(table.get());
  EXPECT_EQ(decodeAll<int32_t>(stream, kMQUnit32, uint32_t(values.size()), kMQTableLimit, 64), values);
  EXPECT_EQ(decodeSteps(stream, kMQUnit32, uint32_t(values.size())), table->parse.size());
}

TEST(PhraseChoice, LongRunsTakeOneStepWhenTheirLengthIsCommonAndFewOtherwise) {
  std::vector<int32_t> values;
  for (int i = 0; i < 400; ++i) {
    values.insert(values.end(), 45, 0);
    values.push_back(7 + i % 3);
  }
  values.insert(values.end(), 1000003, 0);  // once: cheaper as powers of two than as an entry
  values.push_back(5);
  TablePointer table = analyze(values, 15);
  mqOptimizePhrases(table.get());
  EXPECT_EQ(expand(*table), values);
  bool common = false;
  for (const MQPhrase& phrase : table->phrases) {
    if (phrase.values == std::vector<int32_t>{0} && phrase.repeat == 45) common = true;
    EXPECT_NE(phrase.repeat, 1000003u) << "a length seen once has no entry of its own";
  }
  EXPECT_TRUE(common);
  // 400 runs and values, the long run in its binary digits and the value behind it.
  EXPECT_LE(table->parse.size(), 800u + std::popcount(1000003u) + 1);
}

TEST(PhraseChoice, ValuesThatGoInPairsBecomeOnePhrase) {
  // Bytes as a picture stored lossless may hold them: eight pairs in random order, no value
  // much more frequent than the others.
  const uint8_t pairs[8][2] = {{3, 200}, {7, 100}, {9, 90}, {200, 3}, {11, 12}, {13, 14}, {50, 60}, {70, 80}};
  std::mt19937 random(14);
  std::vector<uint8_t> bytes;
  for (int i = 0; i < 20000; ++i) {
    const uint8_t* pair = pairs[random() % 8];
    bytes.insert(bytes.end(), pair, pair + 2);
  }
  TablePointer table(mqAnalyzePhrases(bytes.data(), uint32_t(bytes.size()), kMQUnit8, 15));
  mqOptimizePhrases(table.get());
  EXPECT_EQ(table->parse.size(), bytes.size() / 2);
  std::vector<uint8_t> stream = mqEncodeStream(table.get());
  EXPECT_LT(stream.size(), 8000u) << "20000 pairs of three bits each are 7500 bytes";
  EXPECT_EQ(decodeAll<uint8_t>(stream, kMQUnit8, uint32_t(bytes.size()), kMQTableLimit, 999), bytes);
}

TEST(PhraseChoice, PairsThatFollowEachOtherOftenJoinWithinTheLimit) {
  std::vector<int32_t> values = blockLike(3000, 21);
  // A pair of values that always comes together.
  for (size_t at = 40; at + 1 < values.size(); at += 64) values[at] = 5, values[at + 1] = -5;
  for (uint32_t room : {3u, 4000u}) {
    TablePointer table = analyze(values);
    mqOptimizePhrases(table.get());
    const size_t stepsBefore = table->parse.size(), limit = table->phrases.size() + room;
    mqJoinPhrasePairs(table.get(), uint32_t(limit));
    EXPECT_LE(table->phrases.size(), limit);
    EXPECT_LT(table->parse.size(), stepsBefore - 2000) << "the pair alone saves a step in each block";
    EXPECT_EQ(expand(*table), values);
    uint64_t frequencies = 0;
    for (const MQPhrase& phrase : table->phrases) {
      EXPECT_GT(phrase.frequency, 0u) << "unused phrases leave the dictionary";
      frequencies += phrase.frequency;
    }
    EXPECT_EQ(frequencies, table->parse.size());
    std::vector<uint8_t> stream = mqEncodeStream(table.get());
    EXPECT_EQ(decodeAll<int32_t>(stream, kMQUnit32, uint32_t(values.size()), kMQTableLimit, 64), values);
  }
}

TEST(PhraseChoice, LimitsAreHonouredAndTheSymbolsKept) {
  std::vector<int32_t> values = blockLike(2000, 12);
  for (uint32_t limit : {300u, 60u, 20u}) {
    TablePointer table = analyze(values);
    mqOptimizePhrases(table.get());
    mqLimitPhrases(table.get(), limit);
    // 256 means and 7 values: below that, only single values and powers of two remain.
    if (limit >= 300) {
      EXPECT_LE(table->phrases.size(), limit);
    } else {
      for (const MQPhrase& phrase : table->phrases) {
        EXPECT_EQ(phrase.values.size(), 1u);
        EXPECT_TRUE(std::has_single_bit(phrase.repeat)) << phrase.repeat;
      }
    }
    EXPECT_EQ(expand(*table), values) << limit;
    std::vector<uint8_t> stream = mqEncodeStream(table.get());
    EXPECT_EQ(decodeAll<int32_t>(stream, kMQUnit32, uint32_t(values.size()), kMQTableLimit, 1000), values);
  }
}

TEST(PhraseChoice, FrequenciesAreScaledBelowTheCoderBoundAndKeepEveryPhrase) {
  // Over a million steps: more than the total the coder allows.
  std::mt19937 random(13);
  std::vector<uint8_t> bytes(3600000);
  for (uint8_t& b : bytes) b = random() % 1000 == 0 ? uint8_t(random()) : uint8_t(random() % 2 + 1);
  TablePointer table(mqAnalyzePhrases(bytes.data(), uint32_t(bytes.size()), kMQUnit8, 15));
  mqOptimizePhrases(table.get());
  size_t steps = table->parse.size();
  ASSERT_GT(steps, 1u << 20);
  std::vector<uint8_t> stream = mqEncodeStream(table.get());
  uint64_t total = 0;
  for (const MQPhrase& phrase : table->phrases) {
    EXPECT_GE(phrase.frequency, 1u);
    total += phrase.frequency;
  }
  EXPECT_LE(total, (1u << 20) + table->phrases.size());
  EXPECT_EQ(decodeAll<uint8_t>(stream, kMQUnit8, uint32_t(bytes.size()), kMQTableLimit, 100000), bytes);
}

TEST(PhraseChoice, AdversarialInputsRoundTrip) {
  auto roundTrip = [](const std::vector<int32_t>& values, uint32_t limit) {
    std::vector<uint8_t> stream = mqEncodeSymbols(values.data(), uint32_t(values.size()), kMQUnit32 | kMQSigned, 63, limit);
    EXPECT_EQ(decodeAll<int32_t>(stream, kMQUnit32, uint32_t(values.size()), kMQTableLimit, 777), values);
    return stream;
  };
  // All equal: one run, a handful of bytes whatever the length.
  std::vector<int32_t> equal(1 << 20, -9);
  std::vector<uint8_t> stream = roundTrip(equal, 4096);
  EXPECT_LT(stream.size(), 40u);
  EXPECT_EQ(decodeSteps(stream, kMQUnit32, 1 << 20), 1u);
  // All distinct: every value needs its own phrase, limit or not.
  std::vector<int32_t> distinct(5000);
  for (size_t i = 0; i < distinct.size(); ++i) distinct[i] = int32_t(i * 2654435761u);
  roundTrip(distinct, 100);
  // Alternating: the background and the other value make one joined phrase, and pairs of those
  // join in turn into phrases of many values.
  std::vector<int32_t> alternating(100000);
  for (size_t i = 0; i < alternating.size(); ++i) alternating[i] = i % 2 ? 3 : 0;
  stream = roundTrip(alternating, 4096);
  EXPECT_LE(decodeSteps(stream, kMQUnit32, 100000), 100000u / 64);
  // Extreme values and a single symbol.
  roundTrip({INT32_MIN, INT32_MAX, 0, 0, INT32_MIN}, 4096);
  roundTrip({42}, 1);
}

TEST(PhraseCoder, AllFrequenciesOneStoreOnlyTheFirst) {
  IndependentStream s(3, 8);
  s.phrase({10}, 8, 1);
  s.phrase({20, 21}, 8, 1);
  s.phrase({30}, 8, 2);
  s.frequencies({1, 1, 1});
  for (uint32_t phrase : {2u, 0u, 1u, 2u}) s.symbol(phrase);
  std::vector<uint8_t> seven = decodeAll<uint8_t>(s.bytes(), kMQUnit8, 7, kMQTableLimit, 2);
  EXPECT_EQ(seven, (std::vector<uint8_t>{30, 30, 10, 20, 21, 30, 30}));
}

TEST(PhraseCoder, PhrasesOfFrequencyZeroAreNeverDecoded) {
  // Behind a zero every frequency is read in no bits, so it is zero too.
  IndependentStream s(3, 8);
  s.phrase({10}, 8, 1);
  s.phrase({20}, 8, 1);
  s.phrase({30}, 8, 1);
  s.frequencies({6, 0, 0});
  for (int i = 0; i < 5; ++i) s.symbol(0);
  EXPECT_EQ(decodeAll<uint8_t>(s.bytes(), kMQUnit8, 5, kMQTableLimit, 2), (std::vector<uint8_t>(5, 10)));
}

TEST(PhraseCoder, ALongRepeatRunsOnAcrossCallsAndTheLastWordNeedsNoMore) {
  IndependentStream s(1, 0x80000000u | 12);
  s.phrase({-5}, 12, 500);  // two count groups
  s.frequencies({7});
  s.symbol(0);
  // The stream ends in its last word; the decoder's read-ahead finds only zeros behind it.
  std::vector<int16_t> out = decodeAll<int16_t>(s.bytes(), kMQUnit16, 500, kMQTableLimit, 130);
  EXPECT_EQ(out, std::vector<int16_t>(500, -5));
}

TEST(PhraseCoder, ValuesOfWidthZeroAreZeros) {
  IndependentStream s(1, 0);
  s.phrase({0}, 0, 200);
  s.frequencies({1});
  s.symbol(0);
  s.symbol(0);
  std::vector<uint8_t> stream = s.bytes();
  MOLAQDecoder decoder(stream.data(), stream.size(), kMQNoTableLimit);
  std::vector<uint8_t> plane(400, 0xAA);
  ASSERT_TRUE(decoder.Read(plane.data(), 400)) << "a plane of zeros needs no value bits";
  EXPECT_EQ(plane, std::vector<uint8_t>(400, 0));
}

// A stream of another writer's choices: signed values of 5 bits, phrases of several values,
// repeats over one and two count groups, frequencies of falling widths and then ones.
TEST(PhraseCoder, AnIndependentlyWrittenStreamDecodesWithEitherDecoderInAnyPieces) {
  const std::vector<std::vector<int32_t>> phrases = {{-16}, {15, -1}, {7}, {0, 1, 2}, {-3}};
  const std::vector<uint32_t> repeats = {3, 2, 300, 1, 1}, frequencies = {9, 5, 2, 1, 1};
  IndependentStream s(5, 0x80000000u | 5);
  for (size_t p = 0; p < phrases.size(); ++p) s.phrase(phrases[p], 5, repeats[p]);
  s.frequencies(frequencies);
  std::mt19937 random(7);
  std::vector<int32_t> expected;
  for (int step = 0; step < 60; ++step) {
    uint32_t phrase = random() % 5;
    s.symbol(phrase);
    for (uint32_t r = 0; r < repeats[phrase]; ++r)
      expected.insert(expected.end(), phrases[phrase].begin(), phrases[phrase].end());
  }
  std::vector<uint8_t> stream = s.bytes();
  const uint32_t count = static_cast<uint32_t>(expected.size());
  for (uint32_t limit : {kMQTableLimit, 2u}) {
    for (uint32_t piece : {count, 7u, 1u}) {
      for (bool integer : {false, true}) {
        EXPECT_EQ(decodeAll<int32_t>(stream, kMQUnit32 | kMQSigned, count, limit, piece, integer), expected)
            << "limit " << limit << " piece " << piece << (integer ? " integer" : " float");
      }
    }
  }
}

TEST(PhraseCoder, OpenRefusesBadArgumentsAndImpossibleDictionaries) {
  std::vector<uint8_t> stream = mqEncodeSymbols("abcabc", 6, kMQUnit8, 15, 4096);
  MQDecoderState state;
  EXPECT_EQ(mqOpenDecoder(&state, 16, stream.data(), kMQUnit8, kMQTableLimit, nullptr, stream.size()), nullptr);
  EXPECT_EQ(mqOpenDecoder(&state, 32, stream.data(), 2, kMQTableLimit, nullptr, stream.size()), nullptr);
  EXPECT_EQ(mqOpenDecoder(&state, 32, stream.data(), 6, kMQTableLimit, nullptr, stream.size()), nullptr);
  std::vector<uint8_t> bad = stream;
  bad[4] = 33;  // width beyond 32 bits
  EXPECT_EQ(mqOpenDecoder(&state, 32, bad.data(), kMQUnit8, kMQTableLimit, nullptr, bad.size()), nullptr);
  bad = stream;
  bad[3] = 0x7f;  // far more phrases than the stream holds: the dictionary runs past the data
  EXPECT_EQ(mqOpenDecoder(&state, 32, bad.data(), kMQUnit8, kMQTableLimit, nullptr, bad.size()), nullptr);
  MOLAQDecoder good(stream.data(), stream.size(), kMQTableLimit);
  char text[7] = {};
  ASSERT_TRUE(good.Read(text, 6));
  EXPECT_STREQ(text, "abcabc");
  MOLAQDecoder refused(bad.data(), bad.size(), kMQTableLimit);
  EXPECT_FALSE(refused.Read(text, 6));
}

TEST(PhraseCoder, CarriesWalkBackOverFullBytes) {
  std::vector<uint8_t> out = {0x12, 0xFF, 0xFF};
  MQEncoder encoder;
  mqInitEncoder(&encoder, &out);
  mqPutBits(&encoder, 0xF, 4);
  encoder.low = 0xFFFFFFFFu;
  encoder.range = 0x80000000u;
  mqPutSymbol(&encoder, 1, 1, 2);  // low passes 2^32
  EXPECT_EQ(out[0], 0x13);
  EXPECT_EQ(out[1], 0x00);
  EXPECT_EQ(out[2], 0x00);
  EXPECT_EQ(encoder.bits & 0xF, 0u) << "the pending four bits took the carry first";
}

TEST(PhraseCoder, ScatteredDecodingPutsTheSameSymbolsInScanOrderAndBoundsTheZeros) {
  std::vector<int32_t> values = coefficientLike(64 * 300, 4);
  // Runs of zeros and of one value across block boundaries, and whole empty blocks.
  std::fill(values.begin() + 64 * 10 + 5, values.begin() + 64 * 13 + 9, 0);
  std::fill(values.begin() + 64 * 20 + 60, values.begin() + 64 * 21 + 4, -3);
  std::vector<uint8_t> stream = mqEncodeSymbols(values.data(), uint32_t(values.size()), kMQUnit32 | kMQSigned, 15, 4096);
  const uint16_t* scan = mqScanOrder(8);
  for (uint32_t limit : {kMQNoTableLimit, kMQTableLimit, 16u, 1u, 0u}) {
    MQDecoderState state;
    MQDecoder* d = mqOpenDecoder(&state, sizeof(state), stream.data(), kMQUnit32 | kMQSigned, limit, nullptr, stream.size());
    ASSERT_NE(d, nullptr);
    for (uint32_t block = 0; block < 300; ++block) {
      const int32_t* expected = &values[block * 64];
      int32_t natural[64] = {};
      if (block % 7 == 3) {
        // The linear decoder takes the same state up where the scattered one left it.
        int32_t linear[64];
        ASSERT_EQ(mqDecodeFloat(d, &state, linear, 64), 64u);
        ASSERT_TRUE(std::equal(linear, linear + 64, expected)) << block;
        continue;
      }
      uint32_t end = mqDecodeScattered(d, &state, natural, scan, 64);
      ASSERT_LE(end, 64u);
      if (end > 0) {
        ASSERT_NE(expected[end - 1], 0) << "the bound follows the last non-zero symbol";
      }
      for (uint32_t i = 0; i < 64; ++i) {
        ASSERT_EQ(natural[scan[i]], expected[i]) << "limit " << limit << " block " << block << " at " << i;
        if (i >= end) {
          ASSERT_EQ(expected[i], 0) << "nothing but zeros behind the bound";
        }
      }
    }
    mqCloseDecoder(d);
  }
}

TEST(PhraseCoder, QuotientsStayExactWithTheLargestTotal) {
  // Two phrases whose frequencies add up to 2^31, the most a stream may hold: the products of a
  // decoding step come close to 2^63.
  IndependentStream s(2, 8);
  s.phrase({1}, 8, 1);
  s.phrase({2}, 8, 1);
  s.frequencies({0x40000001u, 0x3FFFFFFFu});
  std::mt19937 random(5);
  std::vector<uint8_t> expected(3000);
  for (uint8_t& symbol : expected) {
    uint32_t p = random() % 2;
    symbol = uint8_t(p + 1);
    s.symbol(p);
  }
  std::vector<uint8_t> stream = s.bytes();
  EXPECT_EQ(decodeAll<uint8_t>(stream, kMQUnit8, 3000, kMQTableLimit, 3000), expected);
  EXPECT_EQ(decodeAll<uint8_t>(stream, kMQUnit8, 3000, kMQTableLimit, 3000, true), expected);
}

}  // namespace
