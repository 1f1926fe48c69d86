// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Common_Math/src/MathValue.h"
#include "Common_Math/src/MathValueBasicTrace.h"
#include "Common_Math/src/MathValueLong.h"
#include "EngineReading.hh"
#include "VALUE_DOUBLE.hh"
#include "platform/value/Value_object.h"

namespace Lumenar {

/// A scalar on which operations compute: value, unit and errors.
///
/// Errors of all operations: the value library's, with this value unchanged.
template <>
class MathValue<Corvanta::VALUE_DOUBLE::VALUE> {
 public:
  using Record = Corvanta::VALUE_DOUBLE::VALUE;
  using Number = Value::Value_object<double>;

  /// The present value of a ValueDouble reading or a ValueDouble attribute.
  /// Errors   a diagnostic line and MathFactoryException; CORBA system exceptions.
  explicit MathValue(const Corvanta::EngineReadingBase_ptr& reading);
  /// Errors   OperationNotValid when the record's units are malformed.
  explicit MathValue(const Record& record);
  explicit MathValue(const Number& number) : value(number) {}
  virtual ~MathValue() = default;
  MathValue(const MathValue&) = default;
  MathValue& operator=(const MathValue&) = default;
  MathValue& operator=(const Record& record);

  /// Takes the value into dB. Zero and negative values are not treated specially, unlike those of a trace.
  void Add_dB();

  /// Takes the value out of dB; false, with nothing changed, for a linear value and for one in plain decibels, which
  /// have no linear form.
  bool Remove_dB();

  /// Sum and difference stay in this value's unit.
  MathValue& operator+=(const MathValue& other);
  MathValue& operator-=(const MathValue& other);
  MathValue& operator*=(const int& factor);
  MathValue& operator/=(const int& divisor);

  /// Becomes the other value, with its unit and errors, when that is larger; equal ones stay.
  void DoPeak(const MathValue& other);

  Record ToRecord() const;

  Number value;
};

using MathScalar = MathValue<Corvanta::VALUE_DOUBLE::VALUE>;

template <>
MathScalar operator-(const MathScalar& a, const MathScalar& b);
template <>
MathScalar RelativeSub(const MathScalar& a, const MathScalar& b);
template <>
MathScalar CumulativeAdd(const MathTrace& trace, const MathValue<int>& start, const MathValue<int>& stop);

}  // namespace Lumenar
