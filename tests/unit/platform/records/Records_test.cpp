// SPDX-License-Identifier: Apache-2.0
#include "platform/records/Records.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <limits>

#include "platform/units/exceptions.h"

namespace {

using Lumenar::Value::Units;
using Lumenar::Value::Value_object;

Corvanta::VALUE_UNITS::Units HostileUnits() {
  Corvanta::VALUE_UNITS::Units units;
  units.is_dB = true;
  units.base_power = std::numeric_limits<CORBA::Long>::min();
  for (CORBA::Long i = 0; i < 5; ++i) {
    units.slots[i].unit = (i % 2 == 0) ? std::numeric_limits<CORBA::Long>::max() - i : -i;
    units.slots[i].exponent = std::numeric_limits<CORBA::Long>::min() + i;
  }
  return units;
}

TEST(Records, UnitsRoundTripEvenWithUnknownNumbers) {
  const Corvanta::VALUE_UNITS::Units record = HostileUnits();
  const Corvanta::VALUE_UNITS::Units back = VALUE::UnitsToCorba(VALUE::UnitsFromCorba(record));
  EXPECT_EQ(back.is_dB, record.is_dB);
  EXPECT_EQ(back.base_power, record.base_power);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(back.slots[i].unit, record.slots[i].unit);
    EXPECT_EQ(back.slots[i].exponent, record.slots[i].exponent);
  }
}

TEST(Records, UnitsFieldByField) {
  const Units units{true, -3, {{{Lumenar::Value::U_Volt, 2}, {Lumenar::Value::U_Ohm, -1}}}};
  const Corvanta::VALUE_UNITS::Units record = VALUE::UnitsToCorba(units);
  EXPECT_TRUE(record.is_dB);
  EXPECT_EQ(record.base_power, -3);
  EXPECT_EQ(record.slots[0].unit, 2);
  EXPECT_EQ(record.slots[0].exponent, 2);
  EXPECT_EQ(record.slots[1].unit, 4);
  EXPECT_EQ(record.slots[1].exponent, -1);
  EXPECT_EQ(record.slots[4].unit, 0);
  EXPECT_EQ(VALUE::UnitsFromCorba(record), units);
}

TEST(Records, ValueFieldByField) {
  Corvanta::VALUE_DOUBLE::VALUE record;
  record.units = VALUE::UnitsToCorba(Lumenar::Value::C_Watts);
  record.minus_err = -1.5;
  record.plus_err = 2.5;
  record.val = 10.25;
  const Value_object<double> value = VALUE::ValueFromCorba(record);
  EXPECT_EQ(value.Get_value(), 10.25);
  EXPECT_EQ(value.Get_minus_err(), -1.5);
  EXPECT_EQ(value.Get_plus_err(), 2.5);
  EXPECT_EQ(value.Get_unit(), Lumenar::Value::C_Watts);
  const Corvanta::VALUE_DOUBLE::VALUE back = VALUE::ValueToCorba(value);
  EXPECT_EQ(back.val, 10.25);
  EXPECT_EQ(back.minus_err, -1.5);
  EXPECT_EQ(back.plus_err, 2.5);
  EXPECT_EQ(back.units.slots[0].unit, 1);
}

TEST(Records, ValueWithMalformedUnitsIsRefused) {
  Corvanta::VALUE_DOUBLE::VALUE record = VALUE::ValueToCorba({});
  record.units = HostileUnits();
  EXPECT_THROW(VALUE::ValueFromCorba(record), Lumenar::Value::OperationNotValid);
  record.units = VALUE::UnitsToCorba(Lumenar::Value::C_Empty);
  record.units.slots[1].unit = 1;
  record.units.slots[1].exponent = 1;
  EXPECT_THROW(VALUE::ValueFromCorba(record), Lumenar::Value::OperationNotValid) << "a gap";
}

TEST(Records, Defaults) {
  const auto& trace = Lumenar::f_DefaultVal<Corvanta::BASIC_TRACE::BT_DATA>();
  EXPECT_EQ(trace.sequence_number, 0U);
  EXPECT_EQ(trace.flags, 0U);
  EXPECT_TRUE(std::all_of(std::begin(trace.header), std::end(trace.header), [](auto word) { return word == 0; }));
  EXPECT_EQ(VALUE::UnitsFromCorba(trace.units), Units{});
  EXPECT_EQ(trace.x_step, 0.0);
  EXPECT_EQ(trace.samples.length(), 0U);

  const auto& value = Lumenar::f_DefaultVal<Corvanta::VALUE_DOUBLE::VALUE>();
  EXPECT_EQ(value.val, 0.0);
  EXPECT_EQ(value.minus_err, 0.0);
  EXPECT_EQ(value.plus_err, 0.0);
  EXPECT_EQ(VALUE::UnitsFromCorba(value.units), Units{});

  EXPECT_EQ(Lumenar::f_DefaultVal<int>(), 0);
  EXPECT_FALSE(Lumenar::f_DefaultVal<bool>());
  EXPECT_EQ(&Lumenar::f_DefaultVal<int>(), &Lumenar::f_DefaultVal<int>()) << "one constant";
}

}  // namespace
