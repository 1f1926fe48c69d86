// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <vector>

#include "judge/Units.h"

namespace Lumenar::Judge {

/// A number of the precision T out of decibels: k * 10^(x/10).
/// float: the division in float, power and product together rounded once. double: by the C library's pow.
float Linear(float level_dB, double k);
double Linear(double level_dB, double k);

/// A linear number in decibels: 10 * k * log10(x).
/// float: the logarithm rounded once to float, the products in double. double: by the C library's log10.
float Decibels(float number, double k);
double Decibels(double number, double k);

/// How a number in one unit becomes one in another.
///
/// 1. double alone: a number in decibels is made linear. (Who holds float decibels makes them linear beforehand.)
/// 2. Temperatures, and powers that have another name, go by a table: a row for the whole unit or its reciprocal, else
///    a row for each slot against the slot at its place. Errors do not take part.
/// 3. It is multiplied by the factor of what the table left, and by the source's base^base_power, in double.
/// 4. It is multiplied by base^-base_power of the target, in double. After either step it is rounded to T.
/// 5. A target in decibels: it goes into them.
/// A double whose unit is the target in every respect stays as it is.
template <class T>
class Conversion {
 public:
  /// Errors   Refused NotSame when the dimensions differ, and when exponents at the same place differ in size; NotValid
  ///          for a malformed target.
  Conversion(const Units& from, const Units& to);

  const Units& Target() const { return target_; }
  bool GoesThroughDecibels() const { return source_dB_k_ || target_dB_k_; }

  T OfValue(T number) const;
  T OfError(T error) const;

 private:
  struct TableStep {
    T (*rule)(T);
    bool turned_over;  ///< 1/number afterwards
  };

  bool TakeWholeUnit(const Slots& source);
  void TakeSlots(const Slots& source);
  T Scaled(T number) const;

  Units target_;
  std::optional<double> source_dB_k_;
  std::optional<double> target_dB_k_;
  std::vector<TableStep> table_steps_;
  double factor_ = 1;
  double target_factor_ = 1;
};

extern template class Conversion<float>;
extern template class Conversion<double>;

}  // namespace Lumenar::Judge
