// The reference loops of WaveMix: one value at a time in 32-bit arithmetic, so the shift cannot
// overflow before the saturation. Add and subtract are separate loops, chosen before the loop.
#include <cstring>

#include "sound/wave/mix_kernels.h"

namespace {

// 8-bit samples are unsigned around 0x80; the sum is taken against the raw destination byte.
struct Unsigned8 {
  using Sample = uint8_t;
  static int32_t centre(uint8_t s) { return int32_t{s} - 0x80; }
  static int32_t raw(uint8_t d) { return d; }
  static uint8_t saturate(int32_t d) { return static_cast<uint8_t>(d < 0 ? 0 : d > 0xFF ? 0xFF : d); }
};

struct Signed16 {
  using Sample = int16_t;
  static int32_t centre(int16_t s) { return s; }
  static int32_t raw(int16_t d) { return d; }
  static int16_t saturate(int32_t d) {
    return static_cast<int16_t>(d <= -32768 ? -32768 : d >= 32767 ? 32767 : d);
  }
};

int32_t scaled(int32_t s, const MixSide& side) {
  s = static_cast<int32_t>(static_cast<uint32_t>(s) << side.left) >> side.right;
  return s + ((s >> 1) & side.halfMask);
}

template <typename Width, bool Subtract>
void mixValues(typename Width::Sample* dst, const typename Width::Sample* src, uint32_t values,
               const MixPlan& plan) {
  for (uint32_t i = 0; i < values; ++i) {
    typename Width::Sample s, d;
    std::memcpy(&s, src + i, sizeof s);
    std::memcpy(&d, dst + i, sizeof d);
    int32_t term = scaled(Width::centre(s), plan.side[i & 1]);
    int32_t sum = Subtract ? Width::raw(d) - term : Width::raw(d) + term;
    d = Width::saturate(sum);
    std::memcpy(dst + i, &d, sizeof d);
  }
}

}  // namespace

void mix16Plain(int16_t* dst, const int16_t* src, uint32_t values, const MixPlan& plan) {
  if (plan.subtract) mixValues<Signed16, true>(dst, src, values, plan);
  else mixValues<Signed16, false>(dst, src, values, plan);
}

void mix8Plain(uint8_t* dst, const uint8_t* src, uint32_t values, const MixPlan& plan) {
  if (plan.subtract) mixValues<Unsigned8, true>(dst, src, values, plan);
  else mixValues<Unsigned8, false>(dst, src, values, plan);
}
