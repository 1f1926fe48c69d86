// SPDX-License-Identifier: Apache-2.0
#include "judge/decibels.h"

#include <mpfr.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace Lumenar::Judge {

namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr bool kHas_extended = std::numeric_limits<long double>::digits >= 64;

/// A number of MPFR with room for every exact result: 200 bits of a power times the 53 of a factor.
class BigNumber {
 public:
  BigNumber() { mpfr_init2(number_, 300); }
  ~BigNumber() { mpfr_clear(number_); }
  BigNumber(const BigNumber&) = delete;
  BigNumber& operator=(const BigNumber&) = delete;

  mpfr_ptr Get() noexcept { return number_; }

 private:
  mpfr_t number_;
};

/// The distance from the nearest middle between two normal floats.
double Distance_from_boundary(mpfr_srcptr value) {
  BigNumber middle;
  BigNumber half_step;
  mpfr_set_prec(half_step.Get(), 24);
  mpfr_set(half_step.Get(), value, MPFR_RNDZ);
  mpfr_set(middle.Get(), half_step.Get(), MPFR_RNDN);
  mpfr_set_ui_2exp(half_step.Get(), 1, mpfr_get_exp(value) - 25, MPFR_RNDN);
  if (mpfr_sgn(value) > 0) {
    mpfr_add(middle.Get(), middle.Get(), half_step.Get(), MPFR_RNDN);
  } else {
    mpfr_sub(middle.Get(), middle.Get(), half_step.Get(), MPFR_RNDN);
  }
  mpfr_sub(middle.Get(), middle.Get(), value, MPFR_RNDN);
  mpfr_div(middle.Get(), middle.Get(), value, MPFR_RNDN);
  return mpfr_get_d(middle.Get(), MPFR_RNDN);
}

float Rounded(mpfr_srcptr value, Tally& tally) {
  ++tally.by_mpfr;
  const float result = mpfr_get_flt(value, MPFR_RNDN);
  if (!std::isnormal(result)) return result;
  const double distance = std::abs(Distance_from_boundary(value));
  if (distance > 0) tally.closest = std::min(tally.closest, std::log2(distance));
  return result;
}

float Log10_by_mpfr(float x, Tally& tally) {
  BigNumber value;
  mpfr_set_flt(value.Get(), x, MPFR_RNDN);
  mpfr_log10(value.Get(), value.Get(), MPFR_RNDN);
  return Rounded(value.Get(), tally);
}

float Power_by_mpfr(float q, double k, Tally& tally) {
  BigNumber value;
  mpfr_set_prec(value.Get(), 200);
  mpfr_set_flt(value.Get(), q, MPFR_RNDN);
  mpfr_exp10(value.Get(), value.Get(), MPFR_RNDN);
  BigNumber product;
  mpfr_mul_d(product.Get(), value.Get(), k, MPFR_RNDN);
  return Rounded(product.Get(), tally);
}

/// Whether all numbers within 2^-50 of the value round to the same float.
bool Is_clear(long double value) {
  constexpr long double kTolerance = 0x1p-50L;
  return kHas_extended && static_cast<float>(value * (1 - kTolerance)) == static_cast<float>(value * (1 + kTolerance));
}

/// k * 10^q; far beyond the range of a float, where the result is certain, 0 or infinity.
long double Scaled_power(float q, double k) {
  constexpr float kTiny = 0x1p-40f;
  constexpr long double kLn_10 = 2.302585092994045684017991454684364208L;
  constexpr double kLog2_10 = 3.3219280948873623;
  const double magnitude = std::ilogb(k) + static_cast<double>(q) * kLog2_10;
  if (magnitude < -200) return std::copysign(0.0L, static_cast<long double>(k));
  if (magnitude > 200) return std::copysign(std::numeric_limits<long double>::infinity(), static_cast<long double>(k));
  if (std::abs(q) < kTiny) return k * (1 + static_cast<long double>(q) * kLn_10);  // the next term is below 2^-78
  return k * std::pow(10.0L, static_cast<long double>(q));
}

float Scaled_logarithm(float logarithm, double k) {
  const auto result = static_cast<float>(10.0 * k * static_cast<double>(logarithm));
  return std::isnan(result) ? kNan : result;
}

std::uint32_t Bits(float number) { return std::bit_cast<std::uint32_t>(number); }

/// In the order of their bits: 0 the numbers from +0 to infinity, 1 the NaN behind them, 2 from -0 to -infinity, 3 NaN
/// again. Within one part a greater number of bits means a greater number, or a smaller one, or NaN throughout.
int Part(float x) {
  constexpr std::uint32_t kSign = 0x80000000;
  return (std::isnan(x) ? 1 : 0) + ((Bits(x) & kSign) != 0 ? 2 : 0);
}

/// Floats, their results as far as they are known, and the judge of one of them.
template <class Judge>
struct Run_finder {
  std::span<const float> in;
  std::span<float> out;
  const Judge& judge;

  void Find_all() const {
    if (in.empty()) return;
    out.front() = judge(in.front());
    out.back() = judge(in.back());
    Fill_between(0, in.size() - 1);
  }

  /// Both ends are known.
  void Fill_between(std::size_t first, std::size_t last) const {
    if (last - first < 2) return;
    if (Bits(out[first]) == Bits(out[last]) && Part(in[first]) == Part(in[last])) {
      std::fill(&out[first + 1], &out[last], out[first]);
      return;
    }
    const std::size_t middle = first + (last - first) / 2;
    out[middle] = judge(in[middle]);
    Fill_between(first, middle);
    Fill_between(middle, last);
  }
};

}  // namespace

void Tally::Merge(const Tally& other) noexcept {
  by_mpfr += other.by_mpfr;
  closest = std::min(closest, other.closest);
}

float Log10(float x, Tally& tally) {
  if (std::isnan(x) || x < 0) return kNan;
  if (x == 0) return -std::numeric_limits<float>::infinity();
  if (std::isinf(x)) return x;
  const long double value = std::log10(static_cast<long double>(x));
  return Is_clear(value) ? static_cast<float>(value) : Log10_by_mpfr(x, tally);
}

float Linear_to_decibel(float x, double k, Tally& tally) { return Scaled_logarithm(Log10(x, tally), k); }

float Decibel_to_linear(float x, double k, Tally& tally) {
  const float q = x / 10.0f;
  if (std::isnan(q) || std::isnan(k)) return kNan;
  if (std::isinf(q)) {
    const auto result = static_cast<float>(k * (q > 0 ? std::numeric_limits<double>::infinity() : 0.0));
    return std::isnan(result) ? kNan : result;
  }
  if (k == 0 || std::isinf(k)) return static_cast<float>(k);
  const long double value = Scaled_power(q, k);
  return Is_clear(value) ? static_cast<float>(value) : Power_by_mpfr(q, k, tally);
}

/// The runs are those of the logarithm: a product with an infinite factor is not in order.
void Linear_to_decibel(std::span<const float> in, std::span<float> out, double k, Tally& tally) {
  const auto judge = [&](float x) { return Log10(x, tally); };
  Run_finder<decltype(judge)>{in, out, judge}.Find_all();
  for (float& number : out) number = Scaled_logarithm(number, k);
}

void Decibel_to_linear(std::span<const float> in, std::span<float> out, double k, Tally& tally) {
  const auto judge = [&](float x) { return Decibel_to_linear(x, k, tally); };
  Run_finder<decltype(judge)>{in, out, judge}.Find_all();
}

}  // namespace Lumenar::Judge
