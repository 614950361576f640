#include "host/exports/numeric.h"

#include <bit>

#include "base/os/os.h"

namespace {

// Each wrapper works in the x87's extended precision and rounds when it stores its result. The
// operations and the stores are x87 instructions written out, so that the calling thread's
// control word decides precision and rounding: the compiler would otherwise do float and double
// arithmetic in SSE registers, which follow their own rounding mode.
using Ext = long double;

Ext load(FloatBits bits) { return std::bit_cast<float>(bits); }
FloatBits store(Ext value) {
  float result;
  asm("fstps %0" : "=m"(result) : "t"(value) : "st");
  return std::bit_cast<FloatBits>(result);
}

// The x87 instructions themselves, so that rounding mode and range follow the control word.
#define X87_UNARY(name, instruction) \
  Ext name(Ext x) {                  \
    asm(instruction : "+t"(x));      \
    return x;                        \
  }
X87_UNARY(x87Round, "frndint")
X87_UNARY(x87Abs, "fabs")
X87_UNARY(x87Sqrt, "fsqrt")
X87_UNARY(x87Sin, "fsin")
X87_UNARY(x87Cos, "fcos")
X87_UNARY(x87TwoXM1, "f2xm1")
#undef X87_UNARY

#define X87_BINARY(name, instruction)    \
  Ext name(Ext x, Ext y) {               \
    asm(instruction : "+t"(x) : "u"(y)); \
    return x;                            \
  }
X87_BINARY(x87Add, "fadd %%st(1), %%st")
X87_BINARY(x87Sub, "fsub %%st(1), %%st")
X87_BINARY(x87Mul, "fmul %%st(1), %%st")
X87_BINARY(x87Div, "fdiv %%st(1), %%st")
#undef X87_BINARY

// a * log2(b)
Ext x87YL2X(Ext a, Ext b) {
  Ext result;
  asm("fyl2x" : "=t"(result) : "0"(b), "u"(a) : "st(1)");
  return result;
}
// b * 2^trunc(a)
Ext x87Scale(Ext a, Ext b) {
  Ext result;
  asm("fscale" : "=t"(result) : "0"(b), "u"(a));
  return result;
}
int32_t x87Int(Ext x) {
  int32_t result;
  asm("fistpl %0" : "=m"(result) : "t"(x) : "st");
  return result;
}

#define X87_CONSTANT(name, instruction) \
  Ext name() {                          \
    Ext result;                         \
    asm(instruction : "=t"(result));    \
    return result;                      \
  }
X87_CONSTANT(x87One, "fld1")
X87_CONSTANT(x87Zero, "fldz")
X87_CONSTANT(x87Pi, "fldpi")
X87_CONSTANT(x87Log2Ten, "fldl2t")
X87_CONSTANT(x87Log10Two, "fldlg2")
#undef X87_CONSTANT

// Equality is tested first, so an unordered pair (a NaN on either side) compares as equal.
int32_t compare(Ext a, Ext b) {
  if (!(a < b) && !(a > b)) return 0;
  return a < b ? -1 : 1;
}

double* put(double* target, Ext value) {
  asm("fstpl %0" : "=m"(*target) : "t"(value) : "st");
  return target;
}

}  // namespace

void RUNA1_API float_Init() {
  os::resetFpu();
  uint16_t control;
  asm volatile("fnstcw %0" : "=m"(control));
  control &= 0xF3FF;  // rounding to nearest
  asm volatile("fldcw %0" : : "m"(control));
}

// One float and one double form per operation of one operand, of two, and of a float and an
// integer.
#define UNARY(Name, expression)                                                       \
  FloatBits RUNA1_API float_##Name(FloatBits a) {                                    \
    Ext x = load(a);                                                                  \
    return store(expression);                                                         \
  }                                                                                   \
  double* RUNA1_API double_##Name(double* a) {                                       \
    Ext x = *a;                                                                       \
    return put(a, expression);                                                        \
  }
#define BINARY(Name, expression)                                                      \
  FloatBits RUNA1_API float_##Name(FloatBits a, FloatBits b) {                       \
    Ext x = load(a), y = load(b);                                                     \
    return store(expression);                                                         \
  }                                                                                   \
  double* RUNA1_API double_##Name(double* a, const double* b) {                      \
    Ext x = *a, y = *b;                                                               \
    return put(a, expression);                                                        \
  }
#define WITH_INTEGER(Name, expression)                                                \
  FloatBits RUNA1_API float_##Name(FloatBits a, int32_t n) {                         \
    Ext x = load(a), y = n;                                                           \
    return store(expression);                                                         \
  }                                                                                   \
  double* RUNA1_API double_##Name(double* a, int32_t n) {                            \
    Ext x = *a, y = n;                                                                \
    return put(a, expression);                                                        \
  }
#define CONSTANT(Name, loader)                                                        \
  FloatBits RUNA1_API float_##Name() { return store(loader()); }                     \
  double* RUNA1_API double_##Name(double* a) { return put(a, loader()); }

UNARY(Round, x87Round(x))
UNARY(Abs, x87Abs(x))
UNARY(ChS, -x)
UNARY(2XM1, x87TwoXM1(x))
UNARY(Sqrt, x87Sqrt(x))
UNARY(Sin, x87Sin(x))
UNARY(Cos, x87Cos(x))
BINARY(Add, x87Add(x, y))
BINARY(Sub, x87Sub(x, y))
BINARY(Mul, x87Mul(x, y))
BINARY(Div, x87Div(x, y))
BINARY(YL2X, x87YL2X(x, y))
WITH_INTEGER(IAdd, x87Add(x, y))
WITH_INTEGER(ISub, x87Sub(x, y))
WITH_INTEGER(IMul, x87Mul(x, y))
WITH_INTEGER(IDiv, x87Div(x, y))
CONSTANT(LD1, x87One)
CONSTANT(Zero, x87Zero)
CONSTANT(PI, x87Pi)
CONSTANT(Log2T, x87Log2Ten)
CONSTANT(Log2, x87Log10Two)

#undef UNARY
#undef BINARY
#undef WITH_INTEGER
#undef CONSTANT

// The float form stores the scaled value in the slot of its second argument, on the caller's
// stack, and gives back its first argument as it came. The empty asm reads the slot, so that
// the compiler keeps a store into an argument that the function does not read again.
FloatBits RUNA1_API float_Scale(FloatBits a, FloatBits b) {
  b = store(x87Scale(load(a), load(b)));
  asm volatile("" : : "m"(b));
  return a;
}

double* RUNA1_API double_Scale(double* a, const double* b) { return put(a, x87Scale(*a, *b)); }

int32_t RUNA1_API float_Com(FloatBits a, FloatBits b) { return compare(load(a), load(b)); }
int32_t RUNA1_API float_ICom(FloatBits a, int32_t n) { return compare(load(a), n); }
int32_t RUNA1_API float_Test(FloatBits a) { return compare(load(a), 0); }
int32_t RUNA1_API double_Com(const double* a, const double* b) { return compare(*a, *b); }
int32_t RUNA1_API double_ICom(const double* a, int32_t n) { return compare(*a, n); }
int32_t RUNA1_API double_Test(const double* a) { return compare(*a, 0); }

FloatBits RUNA1_API float_ILD(int32_t n) { return store(n); }
double* RUNA1_API double_ILD(double* a, int32_t n) { return put(a, n); }
int32_t RUNA1_API float_Int(FloatBits a) { return x87Int(load(a)); }
int32_t RUNA1_API double_Int(const double* a) { return x87Int(*a); }

void RUNA1_API ZPK_CPUID(uint32_t* registers) {
  if (os::cpuidAvailable()) {
    os::cpuid(registers);
  } else {
    registers[0] = registers[1] = registers[2] = registers[3] = 0;
  }
}
