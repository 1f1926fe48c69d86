// SPDX-License-Identifier: Apache-2.0
#include "client/values.h"

#include <gtest/gtest.h>

#include "platform/records/Records.h"
#include "platform/units/Units.h"

namespace Lumenar::Client {
namespace {

using Value::Make_unit;
using Value::Units;

TEST(LongFromText, Table) {
  EXPECT_EQ(LongFromText("10"), 10);
  EXPECT_EQ(LongFromText("-3"), -3);
  EXPECT_EQ(LongFromText("2147483647"), 2147483647);
  for (const char* text : {"", "2147483648", "1.5", "0x10", "10 ", " 10", "ten", "+1"}) {
    EXPECT_THROW(LongFromText(text), Error) << '"' << text << '"';
  }
}

TEST(ScalarFromText, ReadsANumberAndItsUnits) {
  constexpr Units kSeconds = Make_unit(Value::U_Second);
  struct Row {
    const char* text;
    double number;
    Units units;
  };
  const Row kRows[] = {
      {"7", 7, kSeconds},  // keeps the units it had
      {"-2.5e-3", -2.5e-3, kSeconds},
      {"2.5 ms", 2.5, Make_unit(Value::U_Second, 1, -3)},
      {"2.5ms", 2.5, Make_unit(Value::U_Second, 1, -3)},
      {"-10 dBm", -10, Make_unit(Value::U_Watt, 1, -3, true)},
      {"3  V", 3, Make_unit(Value::U_Volt)},
  };
  for (const Row& row : kRows) {
    double number = 0;
    auto units = VALUE::UnitsToCorba(kSeconds);
    ScalarFromText(row.text, number, units);
    EXPECT_EQ(number, row.number) << row.text;
    EXPECT_EQ(VALUE::UnitsFromCorba(units), row.units) << row.text;
  }
}

TEST(ScalarFromText, ChangesNothingWhenItDoesNotUnderstand) {
  for (const char* text : {"", "ms", "2.5 furlongs", "1 V V^", "--1"}) {
    double number = 42;
    auto units = VALUE::UnitsToCorba(Value::C_Watts);
    try {
      ScalarFromText(text, number, units);
      ADD_FAILURE() << '"' << text << '"';
    } catch (const Error& error) {
      EXPECT_EQ(error.Kind(), ErrorKind::BadArgument);
    }
    EXPECT_EQ(number, 42);
    EXPECT_EQ(VALUE::UnitsFromCorba(units), Value::C_Watts);
  }
}

TEST(SetValue, RefusesAReadingBeforeAnyCall) {
  const Reading reading{{"PROBE/1", "WAKEUP"}, "BasicTrace", false, "PROBE/1/WAKEUP", {}};
  try {
    SetValue(reading, "1");
    FAIL();
  } catch (const Error& error) {
    EXPECT_EQ(error.Kind(), ErrorKind::BadArgument);
  }
}

}  // namespace
}  // namespace Lumenar::Client
