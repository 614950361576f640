// float_* and double_* exports: x87 arithmetic for modules built without floating-point code.
// Floats travel as their 32-bit patterns (results in EAX); doubles by pointer, the first operand
// being also the place of the result.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"

using FloatBits = uint32_t;

extern "C" {
void RUNA1_API float_Init();

FloatBits RUNA1_API float_Round(FloatBits a);
FloatBits RUNA1_API float_Abs(FloatBits a);
FloatBits RUNA1_API float_ChS(FloatBits a);
FloatBits RUNA1_API float_Add(FloatBits a, FloatBits b);
FloatBits RUNA1_API float_Sub(FloatBits a, FloatBits b);
FloatBits RUNA1_API float_Mul(FloatBits a, FloatBits b);
FloatBits RUNA1_API float_Div(FloatBits a, FloatBits b);
FloatBits RUNA1_API float_IAdd(FloatBits a, int32_t n);
FloatBits RUNA1_API float_ISub(FloatBits a, int32_t n);
FloatBits RUNA1_API float_IMul(FloatBits a, int32_t n);
FloatBits RUNA1_API float_IDiv(FloatBits a, int32_t n);
FloatBits RUNA1_API float_2XM1(FloatBits a);
FloatBits RUNA1_API float_YL2X(FloatBits a, FloatBits b);
FloatBits RUNA1_API float_Scale(FloatBits a, FloatBits b);
int32_t RUNA1_API float_Com(FloatBits a, FloatBits b);
int32_t RUNA1_API float_ICom(FloatBits a, int32_t n);
int32_t RUNA1_API float_Test(FloatBits a);
FloatBits RUNA1_API float_Sqrt(FloatBits a);
FloatBits RUNA1_API float_Sin(FloatBits a);
FloatBits RUNA1_API float_Cos(FloatBits a);
FloatBits RUNA1_API float_ILD(int32_t n);
int32_t RUNA1_API float_Int(FloatBits a);
FloatBits RUNA1_API float_LD1();
FloatBits RUNA1_API float_Zero();
FloatBits RUNA1_API float_PI();
FloatBits RUNA1_API float_Log2T();
FloatBits RUNA1_API float_Log2();

double* RUNA1_API double_Round(double* a);
double* RUNA1_API double_Abs(double* a);
double* RUNA1_API double_ChS(double* a);
double* RUNA1_API double_Add(double* a, const double* b);
double* RUNA1_API double_Sub(double* a, const double* b);
double* RUNA1_API double_Mul(double* a, const double* b);
double* RUNA1_API double_Div(double* a, const double* b);
double* RUNA1_API double_IAdd(double* a, int32_t n);
double* RUNA1_API double_ISub(double* a, int32_t n);
double* RUNA1_API double_IMul(double* a, int32_t n);
double* RUNA1_API double_IDiv(double* a, int32_t n);
double* RUNA1_API double_2XM1(double* a);
double* RUNA1_API double_YL2X(double* a, const double* b);
double* RUNA1_API double_Scale(double* a, const double* b);
int32_t RUNA1_API double_Com(const double* a, const double* b);
int32_t RUNA1_API double_ICom(const double* a, int32_t n);
int32_t RUNA1_API double_Test(const double* a);
double* RUNA1_API double_Sqrt(double* a);
double* RUNA1_API double_Sin(double* a);
double* RUNA1_API double_Cos(double* a);
double* RUNA1_API double_ILD(double* a, int32_t n);
int32_t RUNA1_API double_Int(const double* a);
double* RUNA1_API double_LD1(double* a);
double* RUNA1_API double_Zero(double* a);
double* RUNA1_API double_PI(double* a);
double* RUNA1_API double_Log2T(double* a);
double* RUNA1_API double_Log2(double* a);

// Runs CPUID with the EAX, EBX, ECX and EDX inputs of `registers` and stores the outputs there;
// all zero on a processor without the instruction.
void RUNA1_API ZPK_CPUID(uint32_t* registers);
}
