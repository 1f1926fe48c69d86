// SPDX-License-Identifier: Apache-2.0
#include "Common_Math/src/MathValueValueDouble.h"

#include "EngineAttrib.hh"
#include "MathFactory.hh"
#include "platform/base/Diagnostic.h"
#include "platform/records/Records.h"

namespace Lumenar {
namespace {

using Number = MathScalar::Number;
using Value::Units;
using Value::Units_library;

Number PresentNumber(Corvanta::EngineReadingBase_ptr reading) {
  const Corvanta::EngineReadingValueDouble_var scalar = Corvanta::EngineReadingValueDouble::_narrow(reading);
  if (!CORBA::is_nil(scalar)) return VALUE::ValueFromCorba(scalar->Get());
  const Corvanta::EngineAttribValueDouble_var attribute = Corvanta::EngineAttribValueDouble::_narrow(reading);
  if (!CORBA::is_nil(attribute)) return VALUE::ValueFromCorba(attribute->Get());
  Diagnose("Common_Math/src/MathValueValueDouble", "MathValue", " Error: could not narrow attrib to ValueDouble type!");
  throw Corvanta::MathFactory::MathFactoryException("Invalid ::Corvanta::VALUE_DOUBLE::VALUE Attrib type");
}

}  // namespace

MathScalar::MathValue(const Corvanta::EngineReadingBase_ptr& reading) : value(PresentNumber(reading)) {}

MathScalar::MathValue(const Record& record) : value(VALUE::ValueFromCorba(record)) {}

MathScalar& MathScalar::operator=(const Record& record) {
  value = VALUE::ValueFromCorba(record);
  return *this;
}

void MathScalar::Add_dB() {
  Units unit = value.Get_unit();
  unit.is_dB = true;
  value = value.Convert_to(unit);
}

bool MathScalar::Remove_dB() {
  Units unit = value.Get_unit();
  if (!unit.is_dB || Units_library::Compare_units(unit, Value::C_Empty, false)) return false;
  unit.is_dB = false;
  value = value.Convert_to(unit);
  return true;
}

MathScalar& MathScalar::operator+=(const MathValue& other) {
  Number sum = value;
  sum += other.value;
  value = sum.Convert_to(value.Get_unit());
  return *this;
}

MathScalar& MathScalar::operator-=(const MathValue& other) {
  Number difference = value;
  difference -= other.value;
  value = difference.Convert_to(value.Get_unit());
  return *this;
}

MathScalar& MathScalar::operator*=(const int& factor) {
  value *= static_cast<double>(factor);
  return *this;
}

MathScalar& MathScalar::operator/=(const int& divisor) {
  value /= static_cast<double>(divisor);
  return *this;
}

void MathScalar::DoPeak(const MathValue& other) {
  if (value < other.value) value = other.value;
}

MathScalar::Record MathScalar::ToRecord() const { return VALUE::ValueToCorba(value); }

template <>
MathScalar operator-(const MathScalar& a, const MathScalar& b) {
  MathScalar difference(a);
  difference -= b;
  return difference;
}

template <>
MathScalar RelativeSub(const MathScalar& a, const MathScalar& b) {
  return MathScalar(Value::Relative_sub(a.value, b.value));
}

template <>
MathScalar CumulativeAdd(const MathTrace& trace, const MathValue<int>& start, const MathValue<int>& stop) {
  return MathScalar(trace.CumulativeAdd(start.value, stop.value));
}

}  // namespace Lumenar
