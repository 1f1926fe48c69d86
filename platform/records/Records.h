// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "BASIC_TRACE.hh"
#include "VALUE_DOUBLE.hh"
#include "platform/value/Value_object.h"

/// Units and values to and from their form in records.
namespace VALUE {

/// Field by field; the two are each other's inverse for every record, also one with unknown unit numbers.
/// Errors   none.      Threads  pure.
Lumenar::Value::Units UnitsFromCorba(const Corvanta::VALUE_UNITS::Units& units);
Corvanta::VALUE_UNITS::Units UnitsToCorba(const Lumenar::Value::Units& units);

/// Errors   OperationNotValid when the record's units are malformed.
Lumenar::Value::Value_object<double> ValueFromCorba(const Corvanta::VALUE_DOUBLE::VALUE& record);
Corvanta::VALUE_DOUBLE::VALUE ValueToCorba(const Lumenar::Value::Value_object<double>& value);

}  // namespace VALUE

namespace Lumenar {

/// The value of a reading before its first sample: every number 0, false, no unit, no samples.
template <class T>
T DefaultRecord() {
  return T{};
}

/// DefaultRecord as one constant a record type, built on first use.
template <class T>
const T& f_DefaultVal() {
  static const T value = DefaultRecord<T>();
  return value;
}

}  // namespace Lumenar
