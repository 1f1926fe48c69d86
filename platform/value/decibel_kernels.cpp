// SPDX-License-Identifier: Apache-2.0
#include "platform/value/decibel_kernels.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "platform/base/x86_paths.h"
#include "platform/value/decibel_coefficients.h"
#include "platform/value/decibel_exact.h"
#include "platform/value/decibel_paths.h"

// An estimate in double with a proven relative error is rounded to float at both ends of its error interval. Where the
// ends agree they are the correctly rounded result, however the estimate came about; where they differ (one sample in
// a million) double-double arithmetic decides. Proof and figures: docs/kernels.md.

/// Inlined into each path, so that it is compiled for the instruction set of the path.
#define LUMENAR_KERNEL [[gnu::always_inline]] inline

namespace Lumenar::Value {

namespace {

using Detail::Kernel_path;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kLargest_float = std::numeric_limits<float>::max();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// Bounds of the relative errors of the two estimates, rounding included.
constexpr double kLog10_error = 0x1p-44;
constexpr double kPower_error = 0x1p-44;

// The sums of docs/kernels.md: polynomial, reciprocal and roundings; exponent, polynomial and roundings. The estimates
// are better than that: half of the bounds would change no result either, but by what was measured, not by what holds.
static_assert(kLog10_error >= 2.70e-14 + 1.03 * 0x1p-46 + 11 * 0x1p-53);
static_assert(kPower_error >= 3.3e-14 + 1.9e-14 + 6 * 0x1p-53);

/// Exponents beyond the first are taken as the first: with a factor between the two others the result is 0 or infinite
/// there, and nothing on the way to it leaves the range of a double.
constexpr float kLargest_q = 110;
constexpr double kSmallest_factor = 0x1p-200;
constexpr double kLargest_factor = 0x1p200;

/// How a path computes its estimates. Their error bounds hold for each; the results are the same.
struct Separate_products {
  static constexpr bool kAvoids_division = false;
  LUMENAR_KERNEL static double Multiply_add(double a, double b, double c) noexcept { return a * b + c; }
};

/// For processors that multiply and add in one instruction.
struct Fused_products {
  static constexpr bool kAvoids_division = false;
  LUMENAR_KERNEL static double Multiply_add(double a, double b, double c) noexcept { return __builtin_fma(a, b, c); }
};

/// For vectors so wide that a division in double takes longer than all the rest.
struct Fused_products_without_division : Fused_products {
  static constexpr bool kAvoids_division = true;
};

/// The sum of coefficients[i] * x^i.
template <class Arithmetic, std::size_t Count>
LUMENAR_KERNEL double Polynomial(const std::array<double, Count>& coefficients, double x) noexcept {
  double sum = coefficients[Count - 1];
#pragma GCC unroll 16
  for (std::size_t i = Count - 1; i > 0; --i) sum = Arithmetic::Multiply_add(sum, x, coefficients[i - 1]);
  return sum;
}

/// A number rounded to float; -1 unless every number within the error of the estimate is rounded to it.
struct Attempt {
  float value;
  std::int32_t unsettled;
};

LUMENAR_KERNEL Attempt Round_ends(double one_end, double other_end) noexcept {
  const auto value = static_cast<float>(one_end);
  return {value, value == static_cast<float>(other_end) ? 0 : -1};
}

/// The last 29 bits of a double are those that a float has no room for. Of their values, the middle of two floats; and
/// the bound of the logarithm's error in last places, of which a double has 2^53 at most.
constexpr std::uint32_t kMiddle = 1u << 28;
constexpr auto kLog10_places = static_cast<std::uint32_t>(kLog10_error * 0x1p53);

/// Whether a middle may lie between an estimate of the logarithm whose last 29 bits these are, and the truth.
LUMENAR_KERNEL constexpr bool Is_near_middle(std::uint32_t rest) noexcept {
  return rest - (kMiddle - kLog10_places) <= 2 * kLog10_places;
}
static_assert(Is_near_middle(kMiddle - kLog10_places) && Is_near_middle(kMiddle + kLog10_places));
static_assert(!Is_near_middle(kMiddle - kLog10_places - 1) && !Is_near_middle(kMiddle + kLog10_places + 1));

/// log10(x) in three steps. x = m * 2^exponent, sqrt(1/2) <= m < sqrt(2), and log10(m) is an odd function of
/// s = (m - 1) / (m + 1). The first two steps are meant for a positive normal x and harmless for others.
struct Log10 {
  LUMENAR_KERNEL static std::int32_t Exponent(float x) noexcept {
    constexpr std::uint32_t kSqrt_half = 0x3f3504f3;
    return static_cast<std::int32_t>(std::bit_cast<std::uint32_t>(x) - kSqrt_half) >> 23;
  }

  template <class Arithmetic>
  LUMENAR_KERNEL static double Reduce(float x) noexcept {
    const std::uint32_t exponent_field = static_cast<std::uint32_t>(Exponent(x)) << 23;
    const auto m = std::bit_cast<float>(std::bit_cast<std::uint32_t>(x) - exponent_field);
    if constexpr (Arithmetic::kAvoids_division) return Reduce_by_reciprocal(m);
    return (static_cast<double>(m) - 1.0) / (static_cast<double>(m) + 1.0);
  }

  /// (m - 1) / (m + 1). A reciprocal in float is off by a factor 1 - e, with e about 2^-23 at most; e comes out
  /// exactly, and so does the reciprocal's product with m - 1. 1 / (1 - e) is 1 + e but for 2^-46.
  LUMENAR_KERNEL static double Reduce_by_reciprocal(float m) noexcept {
    const double reciprocal = 1.0f / (m + 1.0f);
    const double e = __builtin_fma(-static_cast<double>(m), reciprocal, 1.0 - reciprocal);
    const double quotient = __builtin_fma(static_cast<double>(m), reciprocal, -reciprocal);
    return __builtin_fma(quotient, e, quotient);
  }

  template <class Arithmetic>
  LUMENAR_KERNEL static double Estimate(float x, double s) noexcept {
    const double log10_m = s * Polynomial<Arithmetic>(Detail::kLog10_polynomial, s * s);
    return Arithmetic::Multiply_add(static_cast<double>(Exponent(x)), Detail::kLog10_of_2.high, log10_m);
  }

  /// Within the error of a middle, the estimate does not settle which of the two floats it is.
  LUMENAR_KERNEL static Attempt Round(float x, double estimate) noexcept {
    constexpr std::uint32_t kSmallest_normal = 0x00800000;
    constexpr std::uint32_t kInfinite = 0x7f800000;
    const std::uint32_t rest = static_cast<std::uint32_t>(std::bit_cast<std::uint64_t>(estimate)) & (2 * kMiddle - 1);
    const std::int32_t near_middle = Is_near_middle(rest) ? -1 : 0;
    const std::int32_t special =
        std::bit_cast<std::uint32_t>(x) - kSmallest_normal >= kInfinite - kSmallest_normal ? -1 : 0;
    return {static_cast<float>(estimate), near_middle | special};
  }
};

/// Scale is double, or float for a scale that float holds exactly: then the product in double is exact, and rounded to
/// float it is what a multiplication in float gives at a fraction of the cost.
template <class Scale>
class To_decibel : public Log10 {
 public:
  explicit To_decibel(double k) noexcept : k_(k), scale_(static_cast<Scale>(10.0 * k)) {}

  LUMENAR_KERNEL Attempt Round(float x, double estimate) const noexcept {
    const Attempt logarithm = Log10::Round(x, estimate);
    return {static_cast<float>(scale_ * static_cast<Scale>(logarithm.value)), logarithm.unsettled};
  }

  float Certain(float x) const noexcept { return Linear_to_decibel(x, k_); }

 private:
  double k_;
  Scale scale_;
};

/// k * 10^q in three steps: q = x / 10, then 10^q = 2^n * 2^t, then the factor.
class To_linear {
 public:
  explicit To_linear(double k) noexcept : k_(k), one_end_(k * (1 - kPower_error)), other_end_(k * (1 + kPower_error)) {}

  bool Has_estimate() const noexcept { return std::abs(k_) >= kSmallest_factor && std::abs(k_) <= kLargest_factor; }

  template <class Arithmetic>
  LUMENAR_KERNEL static float Reduce(float x) noexcept {
    float q = x / 10.0f;
    q = q < -kLargest_q ? -kLargest_q : q;
    return q > kLargest_q ? kLargest_q : q;
  }

  template <class Arithmetic>
  LUMENAR_KERNEL static double Estimate(float, float q) noexcept {
    // Adding it rounds to an integer n and leaves n + 1023, the exponent field of 2^n, in the lowest bits of the sum.
    constexpr double kRounder = 0x1.8p52 + 1023;
    const double product = static_cast<double>(q) * Detail::kLog2_of_10.high;
    const double rounded = product + kRounder;
    const double t = product - (rounded - kRounder);
    const auto power_of_2 = std::bit_cast<double>(std::bit_cast<std::uint64_t>(rounded) << 52);
    return Polynomial<Arithmetic>(Detail::kExp2_polynomial, t) * power_of_2;
  }

  LUMENAR_KERNEL Attempt Round(float, double estimate) const noexcept {
    return Round_ends(estimate * one_end_, estimate * other_end_);
  }

  float Certain(float x) const noexcept { return Decibel_to_linear(x, k_); }

 private:
  double k_;
  double one_end_;
  double other_end_;
};

template <class Kernel>
Attempt Try(const Kernel& kernel, float x) noexcept {
  return kernel.Round(x,
                      Kernel::template Estimate<Separate_products>(x, Kernel::template Reduce<Separate_products>(x)));
}

constexpr std::size_t kBlock = 64;

template <class Kernel>
[[gnu::noinline]] void Redo(const Kernel& kernel, const float* in, float* out, std::size_t count) noexcept {
  for (std::size_t i = 0; i < count; ++i) out[i] = kernel.Certain(in[i]);
}

/// What the first step makes of a block.
template <class Arithmetic, class Kernel>
using Reduced_block = std::array<decltype(Kernel::template Reduce<Arithmetic>(0.0f)), kBlock>;

template <class Arithmetic, class Kernel>
LUMENAR_KERNEL void Reduce_block(const float* in, Reduced_block<Arithmetic, Kernel>& reduced) noexcept {
  for (std::size_t i = 0; i < kBlock; ++i) reduced[i] = Kernel::template Reduce<Arithmetic>(in[i]);
}

/// kBlock samples, step by step: the steps of one sample wait for each other, those of a block overlap. `reduced` comes
/// with their first step done and goes with that of the samples `next`: its divisions keep a unit busy that the last
/// step leaves alone. The result goes through a buffer of its own, since `in` may be `out` and is needed for the redo.
template <class Arithmetic, class Kernel>
LUMENAR_KERNEL void Convert_block(const Kernel& kernel, const float* in, const float* next,
                                  Reduced_block<Arithmetic, Kernel>& reduced, float* out) noexcept {
  std::array<double, kBlock> estimate;
  for (std::size_t i = 0; i < kBlock; ++i) estimate[i] = Kernel::template Estimate<Arithmetic>(in[i], reduced[i]);
  std::array<float, kBlock> result;
  std::int32_t unsettled = 0;
  for (std::size_t i = 0; i < kBlock; ++i) {
    reduced[i] = Kernel::template Reduce<Arithmetic>(next[i]);
    const Attempt attempt = kernel.Round(in[i], estimate[i]);
    result[i] = attempt.value;
    unsettled |= attempt.unsettled;
  }
  if (unsettled != 0) Redo(kernel, in, result.data(), kBlock);
  std::copy(result.begin(), result.end(), out);
}

/// The rest behind the last whole block is converted as a block too, filled up with 1.
template <class Arithmetic, class Kernel>
LUMENAR_KERNEL void Convert(const Kernel& kernel, const float* in, float* out, std::size_t count) noexcept {
  const std::size_t rest = count % kBlock;
  const std::size_t whole = count - rest;
  std::array<float, kBlock> padded;
  padded.fill(1.0f);
  std::copy_n(in + whole, rest, padded.begin());
  Reduced_block<Arithmetic, Kernel> reduced;
  Reduce_block<Arithmetic, Kernel>(whole > 0 ? in : padded.data(), reduced);
  for (std::size_t i = 0; i < whole; i += kBlock) {
    const float* next = i + kBlock < whole ? in + i + kBlock : padded.data();
    Convert_block<Arithmetic>(kernel, in + i, next, reduced, out + i);
  }
  if (rest == 0) return;
  Convert_block<Arithmetic>(kernel, padded.data(), padded.data(), reduced, padded.data());
  std::copy_n(padded.begin(), rest, out + whole);
}

template <class Kernel>
void Convert_baseline(const Kernel& kernel, const float* in, float* out, std::size_t count) noexcept {
  Convert<Separate_products>(kernel, in, out, count);
}

#if LUMENAR_X86_PATHS
template <class Kernel>
LUMENAR_AVX2_FMA void Convert_avx2(const Kernel& kernel, const float* in, float* out, std::size_t count) noexcept {
  Convert<Fused_products>(kernel, in, out, count);
}

template <class Kernel>
LUMENAR_AVX512_FMA void Convert_avx512(const Kernel& kernel, const float* in, float* out, std::size_t count) noexcept {
  Convert<Fused_products_without_division>(kernel, in, out, count);
}
#endif

template <class Kernel>
void Convert_on(Kernel_path path, const Kernel& kernel, const float* in, float* out, std::size_t count) noexcept {
#if LUMENAR_X86_PATHS
  if (path == Kernel_path::avx512) return Convert_avx512(kernel, in, out, count);
  if (path == Kernel_path::avx2) return Convert_avx2(kernel, in, out, count);
#endif
  static_cast<void>(path);
  Convert_baseline(kernel, in, out, count);
}

float Without_payload(float number) noexcept { return std::isnan(number) ? kNan : number; }

}  // namespace

namespace Detail {

bool Is_available(Kernel_path path) noexcept {
#if LUMENAR_X86_PATHS
  const bool avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
  if (path == Kernel_path::avx2) return avx2;
  if (path == Kernel_path::avx512) {
    return avx2 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
           __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl");
  }
#endif
  return path == Kernel_path::baseline;
}

Kernel_path Best_path() noexcept {
  static const Kernel_path best = Is_available(Kernel_path::avx512) ? Kernel_path::avx512
                                  : Is_available(Kernel_path::avx2) ? Kernel_path::avx2
                                                                    : Kernel_path::baseline;
  return best;
}

void Linear_to_decibel(Kernel_path path, const float* in, float* out, std::size_t count, double k) noexcept {
  const double scale = 10.0 * k;
  const bool fits_float = std::abs(scale) <= kLargest_float && static_cast<double>(static_cast<float>(scale)) == scale;
  if (fits_float) {
    Convert_on(path, To_decibel<float>(k), in, out, count);
  } else if (std::isfinite(scale)) {
    Convert_on(path, To_decibel<double>(k), in, out, count);
  } else {  // An infinite scale makes a NaN of log10(1).
    Redo(To_decibel<double>(k), in, out, count);
  }
}

void Decibel_to_linear(Kernel_path path, const float* in, float* out, std::size_t count, double k) noexcept {
  const To_linear kernel(k);
  if (kernel.Has_estimate()) {
    Convert_on(path, kernel, in, out, count);
  } else {
    Redo(kernel, in, out, count);
  }
}

}  // namespace Detail

float Log10_correctly_rounded(float x) noexcept {
  const Attempt attempt = Try(Log10(), x);
  if (attempt.unsettled == 0) return attempt.value;
  if (x == 0) return static_cast<float>(-kInfinity);
  if (!(x > 0)) return kNan;
  return std::isinf(x) ? x : Detail::Log10_by_double_double(x);
}

float Linear_to_decibel(float x, double k) noexcept {
  return Without_payload(static_cast<float>(10.0 * k * static_cast<double>(Log10_correctly_rounded(x))));
}

float Decibel_to_linear(float x, double k) noexcept {
  const To_linear kernel(k);
  if (kernel.Has_estimate()) {
    const Attempt attempt = Try(kernel, x);
    if (attempt.unsettled == 0) return attempt.value;
  }
  const float q = x / 10.0f;
  if (std::isnan(q) || std::isnan(k)) return kNan;
  // 10^q is neither 0 nor infinite for a finite q, however large: only then may a double stand for it.
  if (std::isinf(q)) return Without_payload(static_cast<float>(k * (q > 0 ? kInfinity : 0.0)));
  if (k == 0 || std::isinf(k)) return static_cast<float>(k);
  return Detail::Power_by_double_double(q, k);
}

void Linear_to_decibel(const float* in, float* out, std::size_t count, double k) noexcept {
  Detail::Linear_to_decibel(Detail::Best_path(), in, out, count, k);
}

void Decibel_to_linear(const float* in, float* out, std::size_t count, double k) noexcept {
  Detail::Decibel_to_linear(Detail::Best_path(), in, out, count, k);
}

}  // namespace Lumenar::Value
