// SPDX-License-Identifier: Apache-2.0
#include "judge/Number.h"

#include <cmath>
#include <optional>

#include "judge/Conversion.h"
#include "judge/Refused.h"

namespace Lumenar::Judge {
namespace {

/// Stores two errors in order; see Number.
template <class T>
void StoreErrors(Number<T>& number, T first, T second) {
  const bool in_order = second > first;
  number.minus_err = in_order ? first : second;
  number.plus_err = in_order ? second : first;
}

/// The errors stored once more, as each rule begins and ends. It shows in a NaN and in zeros of two signs, which change
/// places.
template <class T>
Number<T> ErrorsStored(Number<T> number) {
  StoreErrors(number, number.minus_err, number.plus_err);
  return number;
}

/// The same where they stand in order, or are neither smaller nor greater: those stay in their places.
template <class T>
Number<T> ErrorsInOrder(Number<T> number) {
  StoreErrors(number, number.plus_err, number.minus_err);
  return number;
}

/// The conversion between two units. The samples of a trace come one after the other with the same two, so the last one
/// is kept: to make one costs a hundred times as much as to use it.
/// Errors   those of Conversion.      Threads   each has its own; the reference holds until the next call.
template <class T>
const Conversion<T>& ConversionBetween(const Units& from, const Units& to) {
  struct Made {
    Units from;
    Units to;
    Conversion<T> conversion;
  };
  thread_local std::optional<Made> last;
  if (!last || last->from != from || last->to != to) last = Made{from, to, Conversion<T>(from, to)};
  return last->conversion;
}

template <class T, class Rule>
Number<T> Each(Number<T> number, Rule rule) {
  number.value = rule(number.value);
  number.minus_err = rule(number.minus_err);
  number.plus_err = rule(number.plus_err);
  return number;
}

template <class T>
Number<T> IntoDecibels(const Number<T>& number, double k) {
  return Each(number, [k](T x) { return Decibels(x, k); });
}

/// The linear number behind a number, and its linear unit.
template <class T>
Number<T> MadeLinear(const Number<T>& number) {
  if (!number.units.is_dB) return number;
  Number<T> linear = ErrorsInOrder(Normalized(number));
  linear.units = LinearForm(number.units);
  return linear;
}

/// The same in another unit; untouched where that is its own.
template <class T>
Number<T> LinearIn(const Number<T>& number, const Units& target) {
  const Number<T> linear = MadeLinear(number);
  return SameInEveryRespect(linear.units, target) ? linear : Converted(linear, target);
}

/// How two operands of a sum meet.
enum class Meeting { AsTheyStand, Converted, Linear };

Meeting MeetingOf(const Units& a, const Units& b) {
  const bool same_unit = SameUnit(a, b);
  if (same_unit && a.is_dB == b.is_dB && a.base_power == b.base_power) return Meeting::AsTheyStand;
  if (a.is_dB && b.is_dB && (same_unit || HasNoUnit(b))) return Meeting::AsTheyStand;
  if (HasNoUnit(a) != HasNoUnit(b)) throw Refused(Why::NotProper);
  return a.is_dB == b.is_dB ? Meeting::Converted : Meeting::Linear;
}

template <class T, class Rule>
Number<T> Paired(Number<T> a, const Number<T>& b, Rule rule) {
  a.value = rule(a.value, b.value);
  a.minus_err = rule(a.minus_err, b.minus_err);
  a.plus_err = rule(a.plus_err, b.plus_err);
  return ErrorsStored(a);
}

template <class T, class Rule>
Number<T> CombinedAs(Meeting meeting, const Number<T>& a, const Number<T>& b, Rule rule) {
  if (meeting == Meeting::AsTheyStand) return Paired(ErrorsStored(a), ErrorsStored(b), rule);
  if (meeting == Meeting::Converted) return Paired(ErrorsStored(a), LinearIn(ErrorsStored(b), a.units), rule);
  const Number<T> linear = MadeLinear(ErrorsStored(a));
  Number<T> result = Paired(linear, LinearIn(ErrorsStored(b), LinearForm(a.units)), rule);
  if (a.units.is_dB) result = ErrorsStored(IntoDecibels(result, DecibelFactor(a.units)));
  result.units = a.units;
  return result;
}

template <class T, class Rule>
Number<T> Combined(const Number<T>& a, const Number<T>& b, Rule rule) {
  try {
    return ErrorsInOrder(CombinedAs(MeetingOf(a.units, b.units), a, b, rule));
  } catch (const Refused& refused) {
    if (refused.Reason() == Why::NotSame) throw Refused(Why::NotProper);
    throw;
  }
}

/// Linear numbers by a rule, and back into decibels where they came from there.
template <class T, class Rule, class Check>
Number<T> Scaled(const Number<T>& a, Rule rule, Check check) {
  Number<T> result = ErrorsStored(Each(Normalized(ErrorsStored(a)), rule));
  check(result);
  if (a.units.is_dB) result = ErrorsStored(IntoDecibels(result, DecibelFactor(a.units)));
  return ErrorsInOrder(result);
}

template <class T>
void RequireInRange(const Number<T>& number) {
  if (!std::isfinite(number.value) || std::isnan(number.minus_err) || std::isnan(number.plus_err)) {
    throw Refused(Why::OutOfRange);
  }
}

}  // namespace

template <class T>
Number<T>::Number(T number, const Units& unit, T first_error, T second_error) : value(number), units(WellFormed(unit)) {
  StoreErrors(*this, first_error, second_error);
}

template <class T>
Number<T> Converted(const Number<T>& number, const Units& target) {
  const Conversion<T>& conversion = ConversionBetween<T>(number.units, target);
  Number<T> result;
  result.value = conversion.OfValue(number.value);
  result.minus_err = conversion.OfError(number.minus_err);
  result.plus_err = conversion.OfError(number.plus_err);
  result.units = conversion.Target();
  return conversion.GoesThroughDecibels() ? ErrorsStored(result) : result;
}

template <class T>
Number<T> Normalized(const Number<T>& number) {
  Number<T> result = ErrorsStored(number);
  if (!number.units.is_dB) return result;
  const double k = DecibelFactor(number.units);
  return ErrorsInOrder(Each(result, [k](T x) { return Linear(x, k); }));
}

template <class T>
Number<T> Sum(const Number<T>& a, const Number<T>& b) {
  return Combined(a, b, [](T x, T y) { return x + y; });
}

template <class T>
Number<T> Difference(const Number<T>& a, const Number<T>& b) {
  return Combined(a, b, [](T x, T y) { return x - y; });
}

template <class T>
Number<T> Product(const Number<T>& a, T factor) {
  return Scaled(
      a, [factor](T x) { return x * factor; }, [](const Number<T>&) {});
}

template <class T>
Number<T> Quotient(const Number<T>& a, T divisor) {
  return Scaled(
      a, [divisor](T x) { return x / divisor; }, RequireInRange<T>);
}

template <class T>
Number<T> LevelDifference(const Number<T>& a, const Number<T>& b) {
  if (!a.units.is_dB && !b.units.is_dB) throw Refused(Why::NotValid);
  if (HasNoUnit(a.units)) throw Refused(Why::MissingUnit);
  const bool as_it_stands = SameUnit(a.units, b.units) || HasNoUnit(b.units);
  const Number<T> subtrahend = ErrorsStored(b);
  const Number<T> taken = as_it_stands ? subtrahend : Converted(MadeLinear(subtrahend), a.units);
  return ErrorsInOrder(Paired(ErrorsStored(a), taken, [](T x, T y) { return x - y; }));
}

template <class T>
bool IsLess(const Number<T>& a, const Number<T>& b) {
  if (SameInEveryRespect(a.units, b.units)) return a.value < b.value;
  const Number<T> linear = MadeLinear(a);
  return linear.value < LinearIn(b, linear.units).value;
}

template struct Number<float>;
template struct Number<double>;
template Number<float> Converted(const Number<float>&, const Units&);
template Number<double> Converted(const Number<double>&, const Units&);
template Number<float> Normalized(const Number<float>&);
template Number<double> Normalized(const Number<double>&);
template Number<float> Sum(const Number<float>&, const Number<float>&);
template Number<double> Sum(const Number<double>&, const Number<double>&);
template Number<float> Difference(const Number<float>&, const Number<float>&);
template Number<double> Difference(const Number<double>&, const Number<double>&);
template Number<float> Product(const Number<float>&, float);
template Number<double> Product(const Number<double>&, double);
template Number<float> Quotient(const Number<float>&, float);
template Number<double> Quotient(const Number<double>&, double);
template Number<float> LevelDifference(const Number<float>&, const Number<float>&);
template Number<double> LevelDifference(const Number<double>&, const Number<double>&);
template bool IsLess(const Number<float>&, const Number<float>&);
template bool IsLess(const Number<double>&, const Number<double>&);

}  // namespace Lumenar::Judge
