// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bit>
#include <cfloat>
#include <cstdint>

namespace Lumenar::Value::Detail {

static_assert(FLT_EVAL_METHOD == 0, "the error terms below need plain IEEE arithmetic");

/// The unevaluated sum of two doubles, the second at most half a unit in the last place of the first: 106 bits.
struct Double_double {
  double high;
  double low;
};

/// a + b exactly; |a| is not smaller than |b|, or a is 0.
constexpr Double_double Fast_two_sum(double a, double b) noexcept {
  const double sum = a + b;
  return {sum, b - (sum - a)};
}

/// a + b exactly.
constexpr Double_double Two_sum(double a, double b) noexcept {
  const double sum = a + b;
  const double part = sum - a;
  return {sum, (a - (sum - part)) + (b - part)};
}

/// a * b exactly, while neither overflows nor underflows: Dekker's product, which needs no fused multiply-add.
constexpr Double_double Two_product(double a, double b) noexcept {
  constexpr double kSplitter = 0x1p27 + 1;
  const double a_scaled = a * kSplitter;
  const double b_scaled = b * kSplitter;
  const double a_high = a_scaled - (a_scaled - a);
  const double b_high = b_scaled - (b_scaled - b);
  const double a_low = a - a_high;
  const double b_low = b - b_high;
  const double product = a * b;
  return {product, ((a_high * b_high - product) + a_high * b_low + a_low * b_high) + a_low * b_low};
}

/// Relative error of each operation below: less than 2^-100, for a sum unless the operands nearly cancel.
constexpr Double_double operator+(Double_double a, Double_double b) noexcept {
  const Double_double high = Two_sum(a.high, b.high);
  const Double_double low = Two_sum(a.low, b.low);
  const Double_double sum = Fast_two_sum(high.high, high.low + low.high);
  return Fast_two_sum(sum.high, sum.low + low.low);
}

constexpr Double_double operator*(Double_double a, Double_double b) noexcept {
  const Double_double product = Two_product(a.high, b.high);
  return Fast_two_sum(product.high, product.low + (a.high * b.low + a.low * b.high));
}

constexpr Double_double operator/(Double_double a, double b) noexcept {
  const double quotient = a.high / b;
  const Double_double product = Two_product(quotient, b);
  const double remainder = ((a.high - product.high) - product.low) + a.low;
  return Fast_two_sum(quotient, remainder / b);
}

/// The number rounded once to float, ties to even: the high part is first rounded to odd, which keeps on which side of
/// a boundary between two floats the sum lies.
constexpr float Round_to_float(Double_double number) noexcept {
  auto bits = std::bit_cast<std::uint64_t>(number.high);
  if (number.low != 0 && (bits & 1) == 0) {
    const bool away_from_zero = (number.low > 0) == (number.high > 0);
    bits = away_from_zero ? bits + 1 : bits - 1;
  }
  return static_cast<float>(std::bit_cast<double>(bits));
}

}  // namespace Lumenar::Value::Detail
