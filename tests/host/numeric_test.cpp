#include <gtest/gtest.h>

#include <cpuid.h>

#include <bit>
#include <cmath>
#include <limits>
#include <numbers>

#include "host/exports/numeric.h"

namespace {

FloatBits bits(float value) { return std::bit_cast<FloatBits>(value); }
float value(FloatBits pattern) { return std::bit_cast<float>(pattern); }

class NumericTest : public ::testing::Test {
 protected:
  void SetUp() override { float_Init(); }
};

TEST_F(NumericTest, FloatArithmeticTravelsAsBitPatterns) {
  EXPECT_EQ(float_Add(bits(1.5f), bits(2.25f)), bits(3.75f));
  EXPECT_EQ(float_Sub(bits(1.5f), bits(2.25f)), bits(-0.75f));
  EXPECT_EQ(float_Mul(bits(1.5f), bits(-4.0f)), bits(-6.0f));
  EXPECT_EQ(float_Div(bits(1.0f), bits(3.0f)), bits(1.0f / 3.0f)) << "one rounding, on the store";
  EXPECT_EQ(float_IAdd(bits(0.5f), -3), bits(-2.5f));
  EXPECT_EQ(float_ISub(bits(0.5f), 2), bits(-1.5f));
  EXPECT_EQ(float_IMul(bits(0.25f), 6), bits(1.5f));
  EXPECT_EQ(float_IDiv(bits(3.0f), 4), bits(0.75f));
  EXPECT_EQ(float_Abs(bits(-0.0f)), bits(0.0f));
  EXPECT_EQ(float_ChS(bits(2.0f)), bits(-2.0f));
  EXPECT_EQ(float_ILD(-7), bits(-7.0f));
  EXPECT_EQ(float_Sqrt(bits(2.25f)), bits(1.5f));
  EXPECT_TRUE(std::isnan(value(float_Sqrt(bits(-1.0f))))) << "invalid operations are masked";
}

TEST_F(NumericTest, DivisionByZeroGivesInfinityWithoutFault) {
  EXPECT_EQ(float_IDiv(bits(1.0f), 0), bits(std::numeric_limits<float>::infinity()));
  EXPECT_EQ(float_IDiv(bits(-1.0f), 0), bits(-std::numeric_limits<float>::infinity()));
  double a = 1.0, zero = 0.0;
  double_Div(&a, &zero);
  EXPECT_TRUE(std::isinf(a));
}

TEST_F(NumericTest, DoubleFormsWriteTheFirstOperandAndReturnIt) {
  double a = 1.5, b = 2.25;
  EXPECT_EQ(double_Add(&a, &b), &a);
  EXPECT_EQ(a, 3.75);
  EXPECT_EQ(b, 2.25);
  a = 1e16;
  double one = 1.0;
  double_Add(&a, &one);
  EXPECT_EQ(a, 1e16) << "rounded to double on the store (1e16 + 1 is not a double)";
  a = 10.0;
  EXPECT_EQ(double_IDiv(&a, 4), &a);
  EXPECT_EQ(a, 2.5);
  EXPECT_EQ(double_ILD(&a, 42), &a);
  EXPECT_EQ(a, 42.0);
  EXPECT_EQ(double_PI(&a), &a);
  EXPECT_EQ(a, std::numbers::pi);
}

TEST_F(NumericTest, ComparisonsTestEqualityFirst) {
  const FloatBits nan = bits(std::numeric_limits<float>::quiet_NaN());
  EXPECT_EQ(float_Com(bits(1.0f), nan), 0) << "unordered reports equal";
  EXPECT_EQ(float_Com(nan, bits(1.0f)), 0);
  EXPECT_EQ(float_Com(bits(1.0f), bits(2.0f)), -1);
  EXPECT_EQ(float_Com(bits(2.0f), bits(1.0f)), 1);
  EXPECT_EQ(float_Com(bits(-0.0f), bits(0.0f)), 0);
  EXPECT_EQ(float_ICom(bits(2.5f), 3), -1);
  EXPECT_EQ(float_ICom(bits(3.0f), 3), 0);
  EXPECT_EQ(float_Test(bits(-1e-30f)), -1);
  EXPECT_EQ(float_Test(nan), 0);
  double a = 2.0, b = 1.0, n = std::nan("");
  EXPECT_EQ(double_Com(&a, &b), 1);
  EXPECT_EQ(double_Com(&n, &b), 0);
  EXPECT_EQ(double_ICom(&a, 5), -1);
  EXPECT_EQ(double_Test(&a), 1);
}

TEST_F(NumericTest, RoundingFollowsTheControlWordThatInitSets) {
  EXPECT_EQ(float_Round(bits(2.5f)), bits(2.0f));
  EXPECT_EQ(float_Round(bits(3.5f)), bits(4.0f));
  EXPECT_EQ(float_Round(bits(-2.5f)), bits(-2.0f));
  EXPECT_EQ(float_Int(bits(3.5f)), 4);
  EXPECT_EQ(float_Int(bits(2.5f)), 2);
  EXPECT_EQ(float_Int(bits(-1.75f)), -2);
  EXPECT_EQ(float_Int(bits(1e10f)), INT32_MIN) << "out of range gives the integer indefinite";
  double a = 7.5;
  EXPECT_EQ(double_Int(&a), 8);

  // Switch the x87 to truncation; float_Init brings back rounding to nearest.
  uint16_t control;
  asm volatile("fnstcw %0" : "=m"(control));
  control |= 0x0C00;
  asm volatile("fldcw %0" : : "m"(control));
  EXPECT_EQ(float_Int(bits(2.75f)), 2);
  float_Init();
  EXPECT_EQ(float_Int(bits(2.75f)), 3);
}

// Sets the rounding bits of the x87 control word, as module code may.
void setRounding(uint16_t rounding) {
  uint16_t control;
  asm volatile("fnstcw %0" : "=m"(control));
  control = static_cast<uint16_t>((control & ~0x0C00) | rounding);
  asm volatile("fldcw %0" : : "m"(control));
}

TEST_F(NumericTest, ArithmeticRoundsAsTheCallersControlWordSays) {
  const FloatBits one = bits(1.0f), tiny = bits(0x1p-30f);
  EXPECT_EQ(float_Add(one, tiny), one);
  setRounding(0x0800);  // up
  EXPECT_EQ(float_Add(one, tiny), one + 1) << "the float above 1.0";
  EXPECT_EQ(float_IDiv(one, 3), bits(0x1.555556p-2f));
  double a = 1.0, b = 0x1p-60;
  double_Add(&a, &b);
  EXPECT_EQ(a, 1.0 + 0x1p-52);
  setRounding(0x0400);  // down
  EXPECT_EQ(float_Sub(one, tiny), bits(0x1.fffffep-1f));
  EXPECT_EQ(float_Mul(bits(0x1.000002p0f), bits(0x1.000002p0f)), bits(0x1.000004p0f));
  float_Init();
  EXPECT_EQ(float_Sub(one, tiny), one);
}

TEST_F(NumericTest, ScaleKeepsItsOddity) {
  EXPECT_EQ(float_Scale(bits(3.0f), bits(1.5f)), bits(3.0f)) << "the float form returns its first argument";
  double a = 3.0, b = 1.5;
  EXPECT_EQ(double_Scale(&a, &b), &a);
  EXPECT_EQ(a, 12.0) << "1.5 * 2^3";
  a = -2.9;  // truncated to -2
  b = 8.0;
  double_Scale(&a, &b);
  EXPECT_EQ(a, 2.0);
}

TEST_F(NumericTest, TranscendentalsAndConstants) {
  EXPECT_EQ(float_2XM1(bits(1.0f)), bits(1.0f));
  EXPECT_EQ(float_2XM1(bits(-1.0f)), bits(-0.5f));
  EXPECT_EQ(float_YL2X(bits(3.0f), bits(8.0f)), bits(9.0f)) << "a * log2(b)";
  EXPECT_EQ(float_Sin(bits(0.0f)), bits(0.0f));
  EXPECT_EQ(float_Cos(bits(0.0f)), bits(1.0f));
  EXPECT_NEAR(value(float_Sin(bits(1.0f))), std::sin(1.0), 1e-7);
  EXPECT_EQ(float_LD1(), bits(1.0f));
  EXPECT_EQ(float_Zero(), bits(0.0f));
  EXPECT_EQ(float_PI(), bits(static_cast<float>(std::numbers::pi)));
  EXPECT_EQ(float_Log2T(), bits(static_cast<float>(std::log2(10.0))));
  EXPECT_EQ(float_Log2(), bits(static_cast<float>(std::log10(2.0)))) << "log10(2), as its instruction loads";
  double a = 0;
  double_Log2(&a);
  EXPECT_EQ(a, std::log10(2.0));
  double_Log2T(&a);
  EXPECT_EQ(a, std::log2(10.0));
}

TEST(CpuidTest, GivesWhatTheProcessorGives) {
  uint32_t registers[4] = {0, 0xDEAD, 0, 0xBEEF};
  ZPK_CPUID(registers);
  unsigned eax, ebx, ecx, edx;
  __cpuid(0, eax, ebx, ecx, edx);
  EXPECT_EQ(registers[0], eax);
  EXPECT_EQ(registers[1], ebx);
  EXPECT_EQ(registers[2], ecx);
  EXPECT_EQ(registers[3], edx);
  EXPECT_GE(registers[0], 1u);

  // Leaf 7 takes its sub-leaf from ECX.
  uint32_t leaf7[4] = {7, 0, 0, 0};
  ZPK_CPUID(leaf7);
  __cpuid_count(7, 0, eax, ebx, ecx, edx);
  EXPECT_EQ(leaf7[1], ebx);
}

}  // namespace
