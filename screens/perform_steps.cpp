#include "screens/perform_steps.h"

#include <iterator>

namespace {

constexpr SequenceStep step(int32_t opcode, int32_t a, int32_t b, int32_t c, int32_t d) {
  return SequenceStep{opcode, {.a = a}, b, c, d};
}
constexpr SequenceStep step(int32_t opcode, const char* file, int32_t b, int32_t c, int32_t d) {
  return SequenceStep{opcode, {.file = file}, b, c, d};
}

const SequenceStep kOpening[] = {
    step(4, -256, -256, 0, 0),       step(0, "bg6690.bmp", 0, 0, 0), step(1, 0, 0, 0, 0),
    step(0, nullptr, 0, 0, 0),       step(4, -256, 0, 1500, 0),      step(5, 0, 0, 0, 0),
    step(6, 4000, 0, 0, 0),          step(4, 0, -256, 1500, 0),      step(1, 0, 0, 0, 0),
    step(8, "se990800.wav", 1, 0, 0), step(0, "bg6300.bmp", 0, 0, 0), step(1, 0, 0, 50, 0),
    step(4, -256, 0, 1500, 0),       step(5, 0, 0, 0, 0),            step(0, "bg6310.bmp", 0, 0, 0),
    step(6, 3000, 0, 0, 0),          step(1, 0, 0, 50, 1500),        step(5, 0, 0, 0, 0),
    step(0, "bg6320.bmp", 0, 0, 0),  step(0, "bg6330.bmp", 1, 0, 0), step(0, "bg6340.bmp", 2, 0, 0),
    step(6, 3000, 0, 0, 0),          step(1, 0, 0, 50, 1500),        step(1, 1, 304, 50, 500),
    step(1, 2, 304, 50, 500),        step(5, 0, 0, 0, 0),            step(0, "bg6350.bmp", 0, 0, 0),
    step(6, 1500, 0, 0, 0),          step(1, 0, 0, 50, 1500),        step(5, 0, 0, 0, 0),
    step(0, "bg6360.bmp", 0, 0, 0),  step(6, 1500, 0, 0, 0),         step(1, 0, 0, 50, 1500),
    step(5, 0, 0, 0, 0),             step(0, "bg6370.bmp", 0, 0, 0), step(0, "bg6380.bmp", 1, 0, 0),
    step(0, "bg6390.bmp", 2, 0, 0),  step(0, "bg6400.bmp", 3, 0, 0), step(0, "bg6410.bmp", 4, 0, 0),
    step(0, "bg6420.bmp", 5, 0, 0),  step(0, "bg6430.bmp", 5, 0, 0), step(6, 3500, 0, 0, 0),
    step(1, 0, 0, 50, 0),            step(2, 0, 1, 266, 49),         step(1, 0, 0, 50, 500),
    step(2, 0, 2, 266, 49),          step(1, 0, 0, 50, 500),         step(2, 0, 3, 266, 49),
    step(1, 0, 0, 50, 500),          step(2, 0, 4, 266, 49),         step(1, 0, 0, 50, 500),
    step(2, 0, 5, 266, 49),          step(1, 0, 0, 50, 500),         step(0, nullptr, 1, 0, 0),
    step(0, nullptr, 2, 0, 0),       step(0, nullptr, 3, 0, 0),      step(0, nullptr, 4, 0, 0),
    step(0, nullptr, 5, 0, 0),       step(5, 0, 0, 0, 0),            step(0, "bg6440.bmp", 0, 0, 0),
    step(6, 3000, 0, 0, 0),          step(1, 0, 0, 50, 1500),        step(5, 0, 0, 0, 0),
    step(0, "bg6450.bmp", 0, 0, 0),  step(6, 4000, 0, 0, 0),         step(1, 0, 0, -1440, 1500),
    step(3, 0, 0, 0, 12000),         step(5, 0, 0, 0, 0),            step(6, 1000, 0, 0, 0),
    step(4, 0, -256, 1500, 0),
};
static_assert(std::size(kOpening) == 70);

const SequenceStep kEnding[] = {
    step(0, nullptr, 0, 0, 0),        step(1, 0, 0, 0, 0),       step(4, 0, 0, 0, 0),
    step(0, "bg6460.bmp", 0, 0, 0),   step(7, "m11", 0, 0, 0),   step(5, 0, 0, 0, 0),
    step(1, 0, 0, 0, 2000),
    step(0, "bg6470.bmp", 0, 0, 0),   step(6, 4363, 0, 0, 0),    step(1, 0, 0, 0, 2000),
    step(0, "bg6480.bmp", 0, 0, 0),   step(6, 8726, 0, 0, 0),    step(1, 0, 0, 0, 2000),
    step(0, "bg6490.bmp", 0, 0, 0),   step(6, 13089, 0, 0, 0),   step(1, 0, 0, 0, 2000),
    step(0, "bg6500.bmp", 0, 0, 0),   step(6, 17452, 0, 0, 0),   step(1, 0, 0, 0, 2000),
    step(0, "bg6510.bmp", 0, 0, 0),   step(6, 21815, 0, 0, 0),   step(1, 0, 0, 0, 2000),
    step(0, "bg6520.bmp", 0, 0, 0),   step(6, 26178, 0, 0, 0),   step(1, 0, 0, 0, 2000),
    step(0, "bg6530.bmp", 0, 0, 0),   step(6, 30541, 0, 0, 0),   step(1, 0, 0, 0, 2000),
    step(0, "bg6540.bmp", 0, 0, 0),   step(6, 34904, 0, 0, 0),   step(1, 0, 0, 0, 2000),
    step(0, "bg6550.bmp", 0, 0, 0),   step(6, 39267, 0, 0, 0),   step(1, 0, 0, 0, 2000),
    step(0, "bg6560.bmp", 0, 0, 0),   step(6, 43630, 0, 0, 0),   step(1, 0, 0, 0, 2000),
    step(0, "bg6570.bmp", 0, 0, 0),   step(6, 48000, 0, 0, 0),   step(1, 0, 0, 0, 4000),
    step(0, "bg6580.bmp", 0, 0, 0),   step(6, 57000, 0, 0, 0),   step(1, 0, 0, 0, 4000),
    step(0, "bg6590.bmp", 0, 0, 0),   step(6, 66000, 0, 0, 0),   step(1, 0, 0, 0, 4000),
    step(0, "bg6600.bmp", 0, 0, 0),   step(6, 75000, 0, 0, 0),   step(1, 0, 0, 0, 4000),
    step(0, "bg6610.bmp", 0, 0, 0),   step(6, 84000, 0, 0, 0),   step(1, 0, 0, 0, 4000),
    step(0, "bg6620.bmp", 0, 0, 0),   step(6, 93000, 0, 0, 0),   step(1, 0, 0, 0, 4000),
    step(0, "bg6630.bmp", 0, 0, 0),   step(6, 102000, 0, 0, 0),  step(1, 0, 0, 0, 4000),
    step(0, "bg6640.bmp", 0, 0, 0),   step(6, 111000, 0, 0, 0),  step(1, 0, 0, 0, 4000),
    step(0, "bg6650.bmp", 0, 0, 0),   step(6, 120000, 0, 0, 0),
    step(4, 0, -256, 4000, 0),        step(1, 0, 0, 0, 0),       step(0, "bg6660.bmp", 0, 0, 0),
    step(6, 128000, 0, 0, 0),         step(4, -256, 0, 4000, 0), step(6, 151000, 0, 0, 0),
    step(1, 0, 0, 0, 4000),           step(0, "bg6670.bmp", 0, 0, 0), step(6, 178000, 0, 0, 0),
    step(1, 0, 0, 0, 4000),           step(0, "bg6680.bmp", 0, 0, 0), step(6, 185000, 0, 0, 0),
    step(1, 0, 0, 0, 4000),           step(6, 200000, 0, 0, 0),  step(4, 0, -256, 2000, 0),
};
static_assert(std::size(kEnding) == 78);

}  // namespace

std::span<const SequenceStep> openingSteps() { return kOpening; }
std::span<const SequenceStep> endingSteps() { return kEnding; }
