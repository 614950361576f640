#include <map>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
// The encoder's writer: the bit writer, the arithmetic coder and the coded stream of a phrase
// table.
#include "graphics/core/phrase_coder.h"

#include <algorithm>
#include <bit>
#include <memory>

#include "graphics/core/molaq.h"

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

// Frequencies are scaled so that their total stays far below the smallest range (2^31).
constexpr uint64_t kMaxTotal = 1u << 20;

// Scales the phrases' frequencies to a power of two at most kMaxTotal (or the power of two that
// gives every phrase at least 1), which spares the decoder a division by the total. Rounding
// keeps the proportions; the difference goes to the largest frequencies.
void scaleFrequencies(MQPhraseTable* table) {
  uint64_t total = 0;
  for (const MQPhrase& phrase : table->phrases) total += phrase.frequency;
  if (total == 0) return;
  const uint64_t target = std::max(std::bit_ceil(std::min(total, kMaxTotal)), std::bit_ceil(uint64_t{table->phrases.size()}));
  uint64_t scaled = 0;
  for (MQPhrase& phrase : table->phrases) {
    phrase.frequency = static_cast<uint32_t>(std::max<uint64_t>(1, (phrase.frequency * target + total / 2) / total));
    scaled += phrase.frequency;
  }
  std::vector<MQPhrase*> largestFirst;
  for (MQPhrase& phrase : table->phrases) largestFirst.push_back(&phrase);
  std::stable_sort(largestFirst.begin(), largestFirst.end(), [](const MQPhrase* a, const MQPhrase* b) { return a->frequency > b->frequency; });
  if (scaled < target) largestFirst.front()->frequency += static_cast<uint32_t>(target - scaled);
  for (MQPhrase* phrase : largestFirst) {
    if (scaled <= target) break;
    uint32_t taken = static_cast<uint32_t>(std::min<uint64_t>(phrase->frequency - 1, scaled - target));
    phrase->frequency -= taken;
    scaled -= taken;
  }
}

void putWord(std::vector<uint8_t>& out, uint32_t value) {
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

}  // namespace

std::vector<uint8_t> mqEncodeStream(MQPhraseTable* table) {
  // Scale the counts to the coder's total, keeping every phrase at least 1, then order the
  // phrases by falling frequency.
  scaleFrequencies(table);
  std::vector<uint32_t> order(table->phrases.size());
  for (uint32_t i = 0; i < order.size(); ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) {
    return table->phrases[a].frequency > table->phrases[b].frequency;
  });
  std::vector<uint32_t> rank(order.size()), start(order.size());
  uint64_t total = 0;
  for (uint32_t r = 0; r < order.size(); ++r) {
    rank[order[r]] = r;
    start[r] = static_cast<uint32_t>(total);
    total += table->phrases[order[r]].frequency;
  }

  std::vector<uint8_t> out;
  bool isSigned = (table->mode & kMQSigned) != 0;
  uint32_t width = mqPhraseValueWidth(*table);
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
    uint32_t bytes = mqPhraseRepeatBytes(phrase.repeat);
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
  if (getenv("PHRASE_STATS")) {
    size_t multi=0, runs=0, singles=0, values=0;
    for (uint32_t id : table->parse) { const MQPhrase& ph = table->phrases[id]; values += ph.values.size()*ph.repeat;
      if (ph.values.size()>1) ++multi; else if (ph.repeat>1) ++runs; else ++singles; }
    std::map<uint32_t, size_t> runLengths; size_t zeroRunSteps = 0, singleZero = 0;
    for (uint32_t id : table->parse) { const MQPhrase& ph = table->phrases[id]; if (ph.values.size()==1 && ph.repeat>1) { runLengths[ph.repeat]++; if (ph.values[0]==0) zeroRunSteps++; } if (ph.values.size()==1 && ph.repeat==1 && ph.values[0]==0) singleZero++; }
    std::vector<std::pair<size_t,uint32_t>> top; for (auto [l,c] : runLengths) top.push_back({c,l}); std::sort(top.rbegin(), top.rend());
    for (size_t i = 0; i < top.size() && i < 15; ++i) fprintf(stderr, "run %u x%zu; ", top[i].second, top[i].first);
    fprintf(stderr, "\nzero run steps %zu single zeros %zu distinct run lengths %zu\n", zeroRunSteps, singleZero, runLengths.size());
    fprintf(stderr, "phrases=%zu dict=%zu values=%zu multi=%zu runs=%zu singles=%zu\n", table->parse.size(), table->phrases.size(), values, multi, runs, singles);
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
  mqJoinPhrasePairs(table.get(), phraseLimit);
  return mqEncodeStream(table.get());
}

namespace {

// The encoders' slots of the interface record. Every compressor codes through this file, so
// the encoders that a program links bring this with them.
void fillEncoderSlots(MOLAQInterface* record) {
  record->mqAnalyzePhrases = mqAnalyzePhrases;
  record->mqOptimizePhrases = mqOptimizePhrases;
  record->mqLimitPhrases = mqLimitPhrases;
  record->mqFreePhraseTable = mqFreePhraseTable;
  record->mqInitEncoder = mqInitEncoder;
  record->mqPutBits = mqPutBits;
  record->mqPutSymbol = mqPutSymbol;
  record->mqFlushEncoder = mqFlushEncoder;
  record->mqEncodeStream = mqEncodeStream;
  record->mqCompressSound = mqCompressSound;
  record->mqFreeCompressed = mqFreeCompressed;
  record->mqCompressImage = mqCompressImage;
  record->mqFreeImage = mqFreeImage;
  record->mqCompressFrames = mqCompressFrames;
  record->mqFreeFrames = mqFreeFrames;
}

const bool encodersInstalled = (mqInstallEncoders(fillEncoderSlots), true);

}  // namespace
