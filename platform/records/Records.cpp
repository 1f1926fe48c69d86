// SPDX-License-Identifier: Apache-2.0
#include "platform/records/Records.h"

#include <algorithm>
#include <iterator>

namespace VALUE {

Lumenar::Value::Units UnitsFromCorba(const Corvanta::VALUE_UNITS::Units& units) {
  Lumenar::Value::Units result;
  result.is_dB = units.is_dB;
  result.base_power = units.base_power;
  std::transform(std::begin(units.slots), std::end(units.slots), result.slots.begin(),
                 [](const Corvanta::VALUE_UNITS::UnitSlot& slot) {
                   return Lumenar::Value::Unit_slot{static_cast<Lumenar::Value::Units_list>(slot.unit), slot.exponent};
                 });
  return result;
}

Corvanta::VALUE_UNITS::Units UnitsToCorba(const Lumenar::Value::Units& units) {
  Corvanta::VALUE_UNITS::Units result;
  result.is_dB = units.is_dB;
  result.base_power = units.base_power;
  std::transform(units.slots.begin(), units.slots.end(), std::begin(result.slots),
                 [](const Lumenar::Value::Unit_slot& slot) {
                   return Corvanta::VALUE_UNITS::UnitSlot{static_cast<CORBA::Long>(slot.unit), slot.exponent};
                 });
  return result;
}

Lumenar::Value::Value_object<double> ValueFromCorba(const Corvanta::VALUE_DOUBLE::VALUE& record) {
  return {record.val, UnitsFromCorba(record.units), record.minus_err, record.plus_err};
}

Corvanta::VALUE_DOUBLE::VALUE ValueToCorba(const Lumenar::Value::Value_object<double>& value) {
  Corvanta::VALUE_DOUBLE::VALUE record;
  record.units = UnitsToCorba(value.Get_unit());
  record.minus_err = value.Get_minus_err();
  record.plus_err = value.Get_plus_err();
  record.val = value.Get_value();
  return record;
}

}  // namespace VALUE
