// The inverse block transform as the picture decoder drives it: coefficients in natural order
// (row length n), output written at any row stride, and the extent of the non-zero
// coefficients known beforehand so that the kernels skip the zeros.
#pragma once

#include <cstddef>
#include <cstdint>

// Rows and columns of a block that hold non-zero coefficients: all of them lie in the first
// `rows` rows and `columns` columns.
struct BlockExtent {
  int32_t rows, columns;
};

// The extent of the n-square block at `coefficients` (row length `rowLength`).
BlockExtent mqFindBlockExtent(const int32_t* coefficients, int32_t rowLength, int32_t n);
// The extent of a block whose coefficients beyond scan position `end` are 0, for the zig-zag
// order of blocks of n (8, 16 or 32).
BlockExtent mqScanExtent(int32_t n, uint32_t end);

// Inverse transform of the (1 << blockSize)-square block `coefficients` (row length n, zero
// outside `extent`) onto (n << sx) by (n << sy) samples at `dst`, rows `stride` apart; q as for
// mqInverseBlock. The plain kernel keeps the exact results; the vector kernel works in single
// precision and lies within 1 of them.
using InverseBlockKernel = void (*)(int32_t* dst, ptrdiff_t stride, const int32_t* coefficients,
                                    const uint32_t* q, int32_t blockSize, int32_t sx, int32_t sy,
                                    BlockExtent extent);
void mqInverseBlockKernelPlain(int32_t* dst, ptrdiff_t stride, const int32_t* coefficients,
                               const uint32_t* q, int32_t blockSize, int32_t sx, int32_t sy,
                               BlockExtent extent);
void mqInverseBlockKernelSSE2(int32_t* dst, ptrdiff_t stride, const int32_t* coefficients,
                              const uint32_t* q, int32_t blockSize, int32_t sx, int32_t sy,
                              BlockExtent extent);
void mqInverseBlockKernelAVX2(int32_t* dst, ptrdiff_t stride, const int32_t* coefficients,
                              const uint32_t* q, int32_t blockSize, int32_t sx, int32_t sy,
                              BlockExtent extent);

// cos((2i + 1) k pi / 2^(logSize + 1)) for the first half of the 2^logSize samples (i below
// 2^(logSize - 1)) and the at most 32 coefficients k: row i holds 32 entries. logSize 1 to 8.
const double* mqHalfBasis(int32_t logSize);
// The same cosines in single precision for the vector kernels (logSize 3 to 8): `spread` holds
// entry (i, k) four times at (i * 32 + k) * 4; `across` holds for each coefficient k the outputs
// of the first half in a row, at k * half + i.
const float* mqSpreadBasis(int32_t logSize);
const float* mqAcrossBasis(int32_t logSize);
