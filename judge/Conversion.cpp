// SPDX-License-Identifier: Apache-2.0
#include "judge/Conversion.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <type_traits>

#include "judge/Refused.h"
#include "judge/decibels.h"

namespace Lumenar::Judge {
namespace {

enum UnitNumber : std::int32_t {
  kWatt = 1,
  kVolt = 2,
  kAmpere = 3,
  kOhm = 4,
  kCelsius = 11,
  kFahrenheit = 12,
  kKelvin = 13
};

// Temperatures, computed in T. Source: the definitions of the scales, 0 degC = 273.15 K = 32 degF.
template <class T>
T Same(T x) {
  return x;
}
template <class T>
T CelsiusToFahrenheit(T x) {
  return T(32) + T(1.8) * x;
}
template <class T>
T FahrenheitToCelsius(T x) {
  return (x - T(32)) / T(1.8);
}
template <class T>
T CelsiusToKelvin(T x) {
  return x + T(273.15);
}
template <class T>
T FahrenheitToKelvin(T x) {
  return (x - T(32)) / T(1.8) + T(273.15);
}
template <class T>
T KelvinToCelsius(T x) {
  return x - T(273.15);
}
template <class T>
T KelvinToFahrenheit(T x) {
  return T(32) + (x - T(273.15)) * T(1.8);
}

template <class T>
struct TableRow {
  Slots source;
  Slots target;
  T (*rule)(T);
};

/// The first row that fits counts. Watts do not become volts and amperes: there is no row back. Slots are arranged.
template <class T>
const std::vector<TableRow<T>>& Table() {
  static const Slots watts{{{kWatt, 1}}};
  static const Slots celsius{{{kCelsius, 1}}};
  static const Slots fahrenheit{{{kFahrenheit, 1}}};
  static const Slots kelvin{{{kKelvin, 1}}};
  static const std::vector<TableRow<T>> rows = {
      {{{{kVolt, 2}, {kOhm, -1}}}, watts, Same<T>},  {{{{kVolt, 1}, {kAmpere, 1}}}, watts, Same<T>},
      {{{{kAmpere, 2}, {kOhm, 1}}}, watts, Same<T>}, {celsius, fahrenheit, CelsiusToFahrenheit<T>},
      {fahrenheit, celsius, FahrenheitToCelsius<T>}, {celsius, kelvin, CelsiusToKelvin<T>},
      {fahrenheit, kelvin, FahrenheitToKelvin<T>},   {kelvin, celsius, KelvinToCelsius<T>},
      {kelvin, fahrenheit, KelvinToFahrenheit<T>},
  };
  return rows;
}

/// The rule between two single units; null without one.
template <class T>
T (*RuleBetween(std::int32_t from, std::int32_t to))
(T) {
  for (const TableRow<T>& row : Table<T>()) {
    if (row.source == Slots{{{from, 1}}} && row.target == Slots{{{to, 1}}}) return row.rule;
  }
  return nullptr;
}

/// In double, rounded to T.
template <class T>
T Times(T number, double factor) {
  return static_cast<T>(static_cast<double>(number) * factor);
}

/// Answers of a function of a float and a factor, each kept until another one takes its place. The operands of an
/// object are converted again with each of its results, and again for each order of samples that is tried.
/// Memory   1.5 MB.      Threads   one.
class Answers {
 public:
  using Judge = float (*)(float, double, Tally&);

  explicit Answers(Judge judge) : judge_(judge), kept_(std::make_unique<std::array<Answer, kPlaces>>()) {}

  float Of(float x, double k) {
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(x);
    Answer& answer = (*kept_)[(bits * 0x9e3779b1u >> 16) % kPlaces];
    if (answer.known && answer.bits == bits &&
        std::bit_cast<std::uint64_t>(answer.k) == std::bit_cast<std::uint64_t>(k))
      return answer.result;
    Tally tally;
    answer = {k, bits, judge_(x, k, tally), true};
    return answer.result;
  }

 private:
  static constexpr std::size_t kPlaces = 65536;
  struct Answer {
    double k = 0;
    std::uint32_t bits = 0;
    float result = 0;
    bool known = false;
  };

  const Judge judge_;
  const std::unique_ptr<std::array<Answer, kPlaces>> kept_;
};

}  // namespace

float Linear(float level_dB, double k) {
  thread_local Answers answers(Decibel_to_linear);
  return answers.Of(level_dB, k);
}

double Linear(double level_dB, double k) { return k * std::pow(10.0, level_dB / 10.0); }

float Decibels(float number, double k) {
  thread_local Answers answers(Linear_to_decibel);
  return answers.Of(number, k);
}

double Decibels(double number, double k) { return 10.0 * k * std::log10(number); }

template <class T>
Conversion<T>::Conversion(const Units& from, const Units& to) : target_(WellFormed(to)) {
  const Units source = Arranged(from);
  if (std::is_same_v<T, double>) {
    if (source == target_) return;
    if (source.is_dB) source_dB_k_ = DecibelFactor(source);
  }
  if (!TakeWholeUnit(source.slots)) TakeSlots(source.slots);
  factor_ *= PowerOfBase(source, 1);
  target_factor_ = PowerOfBase(target_, -1);
  if (target_.is_dB) target_dB_k_ = DecibelFactor(target_);
}

template <class T>
bool Conversion<T>::TakeWholeUnit(const Slots& source) {
  for (const TableRow<T>& row : Table<T>()) {
    const bool source_reciprocal = AreReciprocal(source, row.source);
    const bool target_reciprocal = AreReciprocal(target_.slots, row.target);
    if (!source_reciprocal && source != row.source) continue;
    if (!target_reciprocal && target_.slots != row.target) continue;
    table_steps_.push_back({row.rule, source_reciprocal != target_reciprocal});
    return true;
  }
  return false;
}

template <class T>
void Conversion<T>::TakeSlots(const Slots& source) {
  Slots source_rest = source;
  Slots target_rest = target_.slots;
  for (std::size_t i = 0; i < source.size(); ++i) {
    const Slot& from = source[i];
    const Slot& to = target_.slots[i];
    if (from.unit == 0 || to.unit == 0) continue;
    if (std::abs(std::int64_t{from.exponent}) != std::abs(std::int64_t{to.exponent})) throw Refused(Why::NotSame);
    const auto rule = RuleBetween<T>(from.unit, to.unit);
    if (rule == nullptr || from.exponent != to.exponent) continue;
    table_steps_.push_back({rule, from.exponent < 0});
    source_rest[i] = target_rest[i] = {};
  }
  if (source_rest != target_rest) factor_ = ConversionFactor(target_rest, source_rest);
}

template <class T>
T Conversion<T>::Scaled(T number) const {
  const T scaled = Times(Times(number, factor_), target_factor_);
  return target_dB_k_ ? Decibels(scaled, *target_dB_k_) : scaled;
}

template <class T>
T Conversion<T>::OfValue(T number) const {
  if (source_dB_k_) number = Linear(number, *source_dB_k_);
  for (const TableStep& step : table_steps_) {
    number = step.rule(number);
    if (step.turned_over) number = T(1) / number;
  }
  return Scaled(number);
}

template <class T>
T Conversion<T>::OfError(T error) const {
  return Scaled(source_dB_k_ ? Linear(error, *source_dB_k_) : error);
}

template class Conversion<float>;
template class Conversion<double>;

}  // namespace Lumenar::Judge
