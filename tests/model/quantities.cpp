// SPDX-License-Identifier: Apache-2.0
#include "tests/model/quantities.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <utility>

#include "tests/support/decibel_reference.h"

namespace Lumenar::Model {
namespace {

bool IsBare(const Units& units) { return units.slots[0].unit == Value::U_None; }
double FactorOf(const Units& units) { return IsBare(units) ? 1 : units.slots[0].exponent; }

Units Linear(Units units) {
  units.is_dB = false;
  return units;
}

// The decibel rules, for both precisions.

double ToDecibel(double x, const Units& units) { return 10.0 * FactorOf(units) * std::log10(x); }
double FromDecibel(double x, const Units& units) { return FactorOf(units) * std::pow(10.0, x / 10.0); }

float ToDecibel(float x, const Units& units) {
  Value::Reference::Tally tally;
  return Value::Reference::Linear_to_decibel(x, FactorOf(units), tally);
}

float FromDecibel(float x, const Units& units) {
  Value::Reference::Tally tally;
  return Value::Reference::Decibel_to_linear(x, FactorOf(units), tally);
}

/// A number from one prefix to another, by way of the unit without prefix: two roundings.
template <class T>
T Rescaled(T x, const Units& from, const Units& to) {
  const double milli = 1e-3;
  if (from.base_power != 0) x = static_cast<T>(static_cast<double>(x) * milli);
  if (to.base_power != 0) x = static_cast<T>(static_cast<double>(x) * 1e3);
  return x;
}

template <class Function>
void Each(Quantity& quantity, Function function) {
  for (double* number : {&quantity.value, &quantity.minus, &quantity.plus}) *number = function(*number);
  if (std::isnan(quantity.minus) || std::isnan(quantity.plus)) quantity.minus = quantity.plus = NAN;
  if (quantity.minus > quantity.plus) std::swap(quantity.minus, quantity.plus);
}

void Combine(Quantity& a, const Quantity& b, double sign) {
  a.value += sign * b.value;
  a.minus += sign * b.minus;
  a.plus += sign * b.plus;
  Each(a, [](double x) { return x; });
}

/// `quantity` in another unit of the same dimension.
Quantity In(Quantity quantity, const Units& target) {
  const Units from = quantity.units;
  if (from == target) return quantity;
  if (from.slots != target.slots) throw Stop::Dimension;
  Each(quantity, [&](double x) {
    if (from.is_dB) x = FromDecibel(x, from);
    x = Rescaled(x, from, target);
    return target.is_dB ? ToDecibel(x, target) : x;
  });
  quantity.units = target;
  return quantity;
}

/// The linear number behind a quantity, its prefix as it is.
Quantity MadeLinear(Quantity quantity) {
  if (quantity.units.is_dB) Each(quantity, [&](double x) { return FromDecibel(x, quantity.units); });
  quantity.units.is_dB = false;
  return quantity;
}

void AddOrSubtract(Quantity& a, const Quantity& b, double sign) {
  if (a.units == b.units) return Combine(a, b, sign);
  const bool same = a.units.slots == b.units.slots;
  if (a.units.is_dB && b.units.is_dB && (same || IsBare(b.units))) return Combine(a, b, sign);
  if (!same) throw Stop::Dimension;
  if (a.units.is_dB == b.units.is_dB) return Combine(a, In(b, a.units), sign);
  Quantity result = MadeLinear(a);
  Combine(result, In(MadeLinear(b), Linear(a.units)), sign);
  if (a.units.is_dB) Each(result, [&](double x) { return ToDecibel(x, a.units); });
  result.units = a.units;
  a = result;
}

/// Of linear sweeps. Every sample ends by way of the unit without prefix.
void AddOrSubtract(Sweep& a, const Sweep& b, float sign) {
  if (a.samples.empty() || a.samples.size() != b.samples.size()) return;
  if (a.units.slots != b.units.slots) throw Stop::Dimension;
  for (std::size_t i = 0; i < a.samples.size(); ++i) {
    const float other = a.units == b.units ? b.samples[i] : Rescaled(b.samples[i], b.units, a.units);
    a.samples[i] = Rescaled(a.samples[i] + sign * other, a.units, a.units);
  }
}

/// Scales linear numbers; levels are made linear for it.
template <class Function>
void Scale(Quantity& a, bool must_be_finite, Function function) {
  Quantity result = a;
  if (a.units.is_dB) Each(result, [&](double x) { return FromDecibel(x, a.units); });
  Each(result, function);
  if (must_be_finite && (!std::isfinite(result.value) || std::isnan(result.minus))) throw Stop::OutOfRange;
  if (a.units.is_dB) Each(result, [&](double x) { return ToDecibel(x, a.units); });
  a = result;
}

/// Whether a relative difference is taken of the numbers as they are, or ends.
void RequireLevels(const Units& a, const Units& b) {
  if (!a.is_dB && !b.is_dB) throw Stop::NotValid;
  if (IsBare(a)) throw Stop::MissingUnit;
  if (a.slots != b.slots && !IsBare(b)) throw Stop::Dimension;
}

}  // namespace

bool RemoveDecibels(Quantity& quantity) {
  if (!quantity.units.is_dB || IsBare(quantity.units)) return false;
  quantity = In(quantity, Linear(quantity.units));
  return true;
}

bool RemoveDecibels(Sweep& sweep) {
  if (!sweep.units.is_dB || sweep.samples.empty()) return false;
  for (float& x : sweep.samples) x = Rescaled(FromDecibel(x, sweep.units), sweep.units, sweep.units);
  sweep.units.is_dB = false;
  return true;
}

void AddDecibels(Quantity& quantity) {
  Units target = quantity.units;
  target.is_dB = true;
  quantity = In(quantity, target);
}

void AddDecibels(Sweep& sweep) {
  if (sweep.samples.empty()) return;
  for (float& x : sweep.samples) {
    if (x <= 0) x = FLT_MIN;
    x = ToDecibel(Rescaled(x, sweep.units, sweep.units), sweep.units);
  }
  sweep.units.is_dB = true;
}

void Add(Quantity& a, const Quantity& b) { AddOrSubtract(a, b, 1); }
void Add(Sweep& a, const Sweep& b) { AddOrSubtract(a, b, 1); }
void Subtract(Quantity& a, const Quantity& b) { AddOrSubtract(a, b, -1); }
void Subtract(Sweep& a, const Sweep& b) { AddOrSubtract(a, b, -1); }

void Multiply(Quantity& a, int factor) {
  Scale(a, false, [&](double x) { return x * factor; });
}

void Multiply(Sweep& a, int factor) {
  for (float& x : a.samples) x *= static_cast<float>(factor);
}

void Divide(Quantity& a, int divisor) {
  Scale(a, true, [&](double x) { return x / divisor; });
}

void Divide(Sweep& a, int divisor) {
  for (float& x : a.samples) {
    x /= static_cast<float>(divisor);
    if (!std::isfinite(x)) throw Stop::OutOfRange;
  }
}

Quantity RelativeDifference(Quantity a, const Quantity& b) {
  RequireLevels(a.units, b.units);
  Combine(a, b, -1);
  return a;
}

Sweep RelativeDifference(Sweep a, const Sweep& b) {
  if (a.samples.empty() || a.samples.size() != b.samples.size()) return a;
  RequireLevels(a.units, b.units);
  for (std::size_t i = 0; i < a.samples.size(); ++i) a.samples[i] -= b.samples[i];
  return a;
}

void KeepLarger(Quantity& a, const Quantity& b) {
  const bool less =
      a.units == b.units ? a.value < b.value : MadeLinear(a).value < In(MadeLinear(b), Linear(a.units)).value;
  if (less) a = b;
}

void KeepLarger(Sweep& a, const Sweep& b) {
  if (a.samples.empty()) return;
  if (a.samples.size() != b.samples.size()) throw Stop::Length;
  if (a.units.slots != b.units.slots) throw Stop::Dimension;
  for (std::size_t i = 0; i < a.samples.size(); ++i) {
    const float here = a.units == b.units ? a.samples[i] : Rescaled(a.samples[i], a.units, b.units);
    if (here < b.samples[i]) a.samples[i] = Rescaled(b.samples[i], b.units, a.units);
  }
}

Quantity SumOf(const Sweep& sweep, int from, int to) {
  const int last = static_cast<int>(sweep.samples.size()) - 1;
  const int begin = std::max(from, 0);
  const int end = std::min(to, last);
  if (end < begin) return {};
  float sum = sweep.samples[static_cast<std::size_t>(begin)];
  for (int i = begin + 1; i <= end; ++i) sum += sweep.samples[static_cast<std::size_t>(i)];
  Quantity result;
  result.value = static_cast<double>(begin == end ? sum : Rescaled(sum, sweep.units, sweep.units));
  result.units = sweep.units;
  return result;
}

}  // namespace Lumenar::Model
