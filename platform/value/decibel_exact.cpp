// SPDX-License-Identifier: Apache-2.0
#include "platform/value/decibel_exact.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "platform/value/decibel_coefficients.h"
#include "platform/value/double_double.h"

namespace Lumenar::Value::Detail {

namespace {

/// 10^n is a double up to n = 22.
constexpr int kLargest_exact_power = 22;

constexpr std::array<double, kLargest_exact_power + 1> kPowers_of_ten = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                                         1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                                         1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

/// What the series of atanh(s) / s leaves out behind its first terms, at most, for |s| <= 3 - sqrt(8).
constexpr double Left_out(int terms) noexcept {
  constexpr double kLargest_square = 0.02944;
  double power = 1;
  for (int term = 0; term < terms; ++term) power *= kLargest_square;
  return power / (2 * terms + 1) / (1 - kLargest_square);
}

/// ln(1 + r) = 2 atanh(r / (2 + r)) for sqrt(1/2) <= 1 + r < sqrt(2): what 22 terms leave out is below 2^-115. No test of
/// results asks for so many: with eight, which leave out 2^-45, each of the few hundred floats whose logarithm is that
/// close to a boundary happens to be rounded as with 22. The bound is what docs/kernels.md relies on.
Double_double Log_near_1(double r) noexcept {
  constexpr int kTerms = 22;
  static_assert(Left_out(kTerms) < 0x1p-115);
  const Double_double s = Double_double{r, 0} / (2 + r);
  const Double_double square = s * s;
  Double_double sum{0, 0};
  for (int term = kTerms - 1; term >= 0; --term) sum = sum * square + Double_double{1, 0} / (2 * term + 1);
  sum = sum * s;
  return {2 * sum.high, 2 * sum.low};
}

/// e^u for |u| <= 0.36: Taylor's series of u/8, squared three times.
Double_double Exp_near_0(Double_double u) noexcept {
  constexpr int kTerms = 16;
  const Double_double eighth{u.high / 8, u.low / 8};
  Double_double sum{1, 0};
  for (int term = kTerms; term >= 1; --term) sum = Double_double{1, 0} + sum * eighth / term;
  for (int squaring = 0; squaring < 3; ++squaring) sum = sum * sum;
  return sum;
}

/// factor * 10^q = number * 2^exponent, for 1/2 <= |factor| < 1.
struct Scaled {
  Double_double number;
  int exponent;
};

Scaled Power_times(double q, double factor) noexcept {
  if (q == std::trunc(q) && std::abs(q) <= kLargest_exact_power) {
    const double power = kPowers_of_ten[static_cast<std::size_t>(std::abs(q))];
    return {q < 0 ? Double_double{factor, 0} / power : Two_product(factor, power), 0};
  }
  const double n = std::nearbyint(q * kLog2_of_10.high);
  const Double_double u = Double_double{q, 0} * kLn_of_10 + Double_double{-n, 0} * kLn_of_2;
  return {Exp_near_0(u) * Double_double{factor, 0}, static_cast<int>(n)};
}

}  // namespace

float Log10_by_double_double(float x) noexcept {
  constexpr double kSqrt_half = 0x1.6a09e6p-1;
  int exponent = 0;
  double mantissa = std::frexp(static_cast<double>(x), &exponent);
  if (mantissa < kSqrt_half) {
    mantissa *= 2;
    --exponent;
  }
  const Double_double part = Log_near_1(mantissa - 1) * kLog10_of_e;
  return Round_to_float(Double_double{static_cast<double>(exponent), 0} * kLog10_of_2 + part);
}

float Power_by_double_double(float q, double k) noexcept {
  // Beyond these limits the result is 0 or infinity whatever k is.
  constexpr double kLargest_power = 1000;
  constexpr int kLargest_exponent = 400;
  int exponent = 0;
  const double factor = std::frexp(k, &exponent);
  const Scaled power = Power_times(std::clamp<double>(q, -kLargest_power, kLargest_power), factor);
  const int total = std::clamp(power.exponent + exponent, -kLargest_exponent, kLargest_exponent);
  return Round_to_float({std::ldexp(power.number.high, total), std::ldexp(power.number.low, total)});
}

}  // namespace Lumenar::Value::Detail
