// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

// A result that is not a number is always the quiet NaN without sign and payload, whatever went in. All functions
// expect the default floating-point environment: rounding to nearest, denormal numbers kept.
namespace Lumenar::Value {

/// The correctly rounded single-precision base-10 logarithm: the same bits on every processor and in every path.
/// Numbers  +-0 gives -inf, a negative number NaN, +inf +inf, NaN NaN.      Errors  none.      Threads  pure.
/// Source   docs/kernels.md
float Log10_correctly_rounded(float x) noexcept;

/// One linear number in dB: float(10.0 * k * log10(x)), log10 correctly rounded to float, the product in double.
float Linear_to_decibel(float x, double k) noexcept;

/// One dB number made linear: k * 10^q with q = x / 10 divided in float, the power and the product rounded once,
/// correctly, to float. -inf gives 0 (of k's sign), NaN stays NaN.
float Decibel_to_linear(float x, double k) noexcept;

/// The same for whole arrays, in place or from `in` to `out` (the same pointer or no overlap); bit for bit the scalar
/// result at every index.
/// Shape    any length, also 0; any alignment of float.      Threads  pure; the caller owns the arrays.
void Linear_to_decibel(const float* in, float* out, std::size_t count, double k) noexcept;
void Decibel_to_linear(const float* in, float* out, std::size_t count, double k) noexcept;

}  // namespace Lumenar::Value
