// The entropy coder of the picture format: a dictionary of phrases (a run of values repeated a
// number of times) whose indices are arithmetic-coded with fixed frequencies. The analysis
// (phrase_analysis.cpp) and the writer (phrase_encoder.cpp) belong to the encoders, which only
// the tools link (runa1_encoders); the decoder (phrase_decoder.cpp) to the engine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// Symbol widths of a decoder or an analysis: 3, 4, 5 for units of 1, 2, 4 bytes, plus 0x80 if
// the values are signed.
enum : uint32_t { kMQUnit8 = 3, kMQUnit16 = 4, kMQUnit32 = 5, kMQSigned = 0x80 };

// The table limit of the direct lookup of picture decoders; alpha planes pass kMQNoTableLimit.
constexpr uint32_t kMQTableLimit = 0xC000;
constexpr uint32_t kMQNoTableLimit = 0xFFFFFFFF;

// ---- Analysis --------------------------------------------------------------------------------
struct MQPhrase {
  std::vector<int32_t> values;
  uint32_t repeat = 1;
  uint32_t frequency = 0;
};

// Phrases found in an array of symbols and the array re-expressed as phrase indices.
struct MQPhraseTable {
  uint32_t mode = 0;
  std::vector<MQPhrase> phrases;
  std::vector<uint32_t> parse;  // phrase index of each step through the symbols
};

// Cuts `count` symbols of width `mode` into phrases in two ways and keeps the one whose
// optimised stream is smaller. Either way a run up to `shortRun` long (0: none) joins the value
// behind it into one phrase, and longer runs become one phrase each. In the first way only runs
// of the most frequent value join, and other values stand alone up to three copies; in the
// second, runs of any value join.
MQPhraseTable* mqAnalyzePhrases(const void* symbols, uint32_t count, uint32_t mode,
                                uint32_t shortRun);
// Splits the joined phrases that cost more in the dictionary than they save in the code and in
// decoding steps, and the runs whose length is too rare to pay its entry into powers of two;
// gives the estimated size of the coded stream in bits.
uint64_t mqOptimizePhrases(MQPhraseTable* table);
// Splits the rarest joined phrases, then the rarest runs of lengths other than powers of two,
// until at most `limit` phrases remain or nothing of that kind is left.
void mqLimitPhrases(MQPhraseTable* table, uint32_t limit);
// Joins pairs of phrases that often follow each other into one phrase of their values, as long
// as that makes the stream smaller and at most `limit` phrases result: the decoder then takes
// fewer steps for the same symbols.
void mqJoinPhrasePairs(MQPhraseTable* table, uint32_t limit);
void mqFreePhraseTable(MQPhraseTable* table);
// What a phrase takes in the dictionary, which the analysis counts and the writer writes: the
// bits of every value of the table, and the bytes of a repeat count.
uint32_t mqPhraseValueWidth(const MQPhraseTable& table);
uint32_t mqPhraseRepeatBytes(uint32_t repeat);

// ---- Encoder ---------------------------------------------------------------------------------

// The bit writer and arithmetic encoder behind a coded stream.
struct MQEncoder {
  std::vector<uint8_t>* out;
  uint64_t bits;  // pending bits, right-aligned
  uint32_t bitCount;  // pending bits in `bits`, below 8 between calls
  uint64_t low;  // low end of the interval; bit 32 is the carry into written bits
  uint64_t range;
};
void mqInitEncoder(MQEncoder* encoder, std::vector<uint8_t>* out);
// Appends the low `count` bits of `value` (count 0 to 32), most significant first.
void mqPutBits(MQEncoder* encoder, uint32_t value, uint32_t count);
// Codes the phrase whose interval is [start, start + frequency) of `total`.
void mqPutSymbol(MQEncoder* encoder, uint32_t start, uint32_t frequency, uint32_t total);
// Writes the rest of the interval and pads to a whole 32-bit word.
void mqFlushEncoder(MQEncoder* encoder);
// Writes the coded stream of `table`: header, dictionary, frequencies and the coded parse.
// Sorts the phrases by falling frequency and scales frequencies to a power of two that fits the
// coder.
std::vector<uint8_t> mqEncodeStream(MQPhraseTable* table);
// Analysis, optimisation, limiting and coding in one call.
std::vector<uint8_t> mqEncodeSymbols(const void* symbols, uint32_t count, uint32_t mode,
                                     uint32_t shortRun, uint32_t phraseLimit);

// ---- Decoder ---------------------------------------------------------------------------------
// The caller's part of a decoder: the arithmetic state and the phrase being written out.
struct MQDecoderState {
  uint32_t size;  // 32
  uint32_t code;
  uint32_t reserved[2];
  uint32_t range;
  int32_t pending;  // phrase being written out, -1 for none
  uint32_t repeatsLeft;
  uint32_t position;  // next value inside the pending phrase
};
static_assert(sizeof(MQDecoderState) == 32);

struct MQDecoder;

// Reads header and dictionary of the stream at `data`, `dataSize` bytes (bits beyond the end
// read as zeros), and fills `state`. The dictionary and the counts are taken as they stand,
// values of width 0 included. Null if `size` isn't 32, the mode is out of 3 to 5, or decoding
// could not stay inside the data or finish: no phrases, a width above 32, a zero repeat, a
// dictionary that runs past the read-ahead, no frequency or a total beyond 2^31.
MQDecoder* mqOpenDecoder(void* state, uint32_t size, const void* data, uint32_t mode,
                         uint32_t tableLimit, void* tableMemory, size_t dataSize);
// Writes `count` symbols to `dst`; returns `count`. Calls the variant that the live interface
// record holds.
uint32_t mqDecode(MQDecoder* decoder, void* state, void* dst, uint32_t count);
// The variant in service: the scaled code of each step is an estimate that the step before
// makes from its phrase, with an exact integer correction (one division per phrase, beside the
// next step; multiplications by the reciprocal of the total, or shifts where the total is a
// power of two, as the encoder makes it).
uint32_t mqDecodeFloat(MQDecoder* decoder, void* state, void* dst, uint32_t count);
// The same symbols with integer division only.
uint32_t mqDecodeInteger(MQDecoder* decoder, void* state, void* dst, uint32_t count);
// The symbols of mqDecodeFloat for a decoder of signed 32-bit units, the i-th written to
// dst[order[i]]. Zeros are skipped, so `dst` must hold zeros at those places. Gives one past
// the last non-zero symbol, 0 if there is none.
uint32_t mqDecodeScattered(MQDecoder* decoder, void* state, int32_t* dst, const uint16_t* order,
                           uint32_t count);
void mqCloseDecoder(MQDecoder* decoder);

// Opens a decoder of unit bytes (mode 3, 32-byte state) for the stack and closes it at the end.
class MOLAQDecoder {
 public:
  MOLAQDecoder(const void* data, size_t dataSize, uint32_t tableLimit);
  virtual ~MOLAQDecoder();
  MOLAQDecoder(const MOLAQDecoder&) = delete;
  MOLAQDecoder& operator=(const MOLAQDecoder&) = delete;
  bool IsOpen() const { return decoder_ != nullptr; }
  // Decodes `count` bytes; false if the stream could not be opened.
  bool Read(void* dst, uint32_t count);

 private:
  MQDecoderState state_{};
  MQDecoder* decoder_;
};
