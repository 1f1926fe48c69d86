// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <iterator>
#include <ostream>
#include <vector>

#include "judge/Trace.h"
#include "judge/same_bits.h"
#include "platform/records/Records.h"
#include "platform/value/Value_object.h"

namespace Lumenar::Test {

/// The judge's trace under the names that the engine's has, so that a step is written once for both.
class JudgedTrace : public Judge::Trace {
 public:
  using ValueOperator = Value::Value_object<float>& (Value::Value_object<float>::*)(const Value::Value_object<float>&);

  JudgedTrace(const Record& source, std::ostream& lines) : Trace(source, &lines) {}
  using Trace::operator=;

  void operator+=(const JudgedTrace& other) { Add(other); }
  void operator-=(const JudgedTrace& other) { Subtract(other); }
  void operator*=(int factor) { Multiply(factor); }
  void operator/=(int divisor) { Divide(divisor); }
  void RelativeSubEqual(const JudgedTrace& other) { SubtractLevels(other); }
  Judge::Number<double> CumulativeAdd(int start, int stop) const { return SumOf(start, stop); }
  void Add_dB() { AddDecibels(); }
  bool Remove_dB() { return RemoveDecibels(); }
  void DoPeak(const JudgedTrace& other) { KeepLarger(other); }

  /// The one operator that the tests give is the assignment.
  void DoValueEqualOp(const JudgedTrace& other, ValueOperator /*assignment*/) {
    Combine(other, [](const Sample&, const Sample& theirs) { return theirs; });
  }
};

/// The judge's number as the value library has it.
template <class T>
Value::Value_object<T> ValueOf(const Judge::Number<T>& number) {
  // The greater error first: stored so, both stay where they are, a NaN too.
  return {number.value, VALUE::UnitsFromCorba(Judge::ToRecord(number.units)), number.plus_err, number.minus_err};
}

/// Whether the engine's number is the judge's, to the bit.
template <class T>
bool Same(const Value::Value_object<T>& got, const Judge::Number<T>& expected) {
  return Judge::SameBits(got.Get_value(), expected.value) && Judge::SameBits(got.Get_minus_err(), expected.minus_err) &&
         Judge::SameBits(got.Get_plus_err(), expected.plus_err) &&
         got.Get_unit() == VALUE::UnitsFromCorba(Judge::ToRecord(expected.units));
}

inline std::vector<Value::Value_object<float>> ValuesOf(const std::vector<Judge::Number<float>>& numbers) {
  std::vector<Value::Value_object<float>> values;
  values.reserve(numbers.size());
  std::transform(numbers.begin(), numbers.end(), std::back_inserter(values), ValueOf<float>);
  return values;
}

}  // namespace Lumenar::Test
