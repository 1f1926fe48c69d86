// SPDX-License-Identifier: Apache-2.0
#include "instruments/sigrok/measured_units.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libsigrok/libsigrok.h>

#include <set>
#include <string>

namespace Lumenar::Sigrok {
namespace {

/// What a unit of the library is called by us, and what its number 1 becomes.
struct ExpectedUnit {
  int unit;
  const char* text;
  double one;
};

// 1 lb = 453.59237 g, 1 ct = 200 mg, 1 momme = 3.75 g: definitions. 20 uPa are -93.979 dB of 1 Pa.
const ExpectedUnit kExpectedUnits[] = {
    {SR_UNIT_VOLT, "V", 1},
    {SR_UNIT_AMPERE, "A", 1},
    {SR_UNIT_OHM, "ohm", 1},
    {SR_UNIT_FARAD, "F", 1},
    {SR_UNIT_KELVIN, "K", 1},
    {SR_UNIT_CELSIUS, "degC", 1},
    {SR_UNIT_FAHRENHEIT, "degF", 1},
    {SR_UNIT_HERTZ, "Hz", 1},
    {SR_UNIT_PERCENTAGE, "%", 1},
    {SR_UNIT_BOOLEAN, "", 1},
    {SR_UNIT_SECOND, "s", 1},
    {SR_UNIT_SIEMENS, "S", 1},
    {SR_UNIT_DECIBEL_MW, "dBm", 1},
    {SR_UNIT_DECIBEL_VOLT, "dBV", 1},
    {SR_UNIT_UNITLESS, "", 1},
    {SR_UNIT_DECIBEL_SPL, "dB(Pa)", 1 - 93.97940008672037},
    {SR_UNIT_CONCENTRATION, "ppm", 1e6},
    {SR_UNIT_REVOLUTIONS_PER_MINUTE, "rpm", 1},
    {SR_UNIT_VOLT_AMPERE, "VA", 1},
    {SR_UNIT_WATT, "W", 1},
    {SR_UNIT_WATT_HOUR, "W*h", 1},
    {SR_UNIT_METER_SECOND, "m/s", 1},
    {SR_UNIT_HECTOPASCAL, "hPa", 1},
    {SR_UNIT_HUMIDITY_293K, "%", 1},
    {SR_UNIT_DEGREE, "deg", 1},
    {SR_UNIT_HENRY, "H", 1},
    {SR_UNIT_GRAM, "g", 1},
    {SR_UNIT_CARAT, "g", 0.2},
    {SR_UNIT_OUNCE, "g", 28.349523125},
    {SR_UNIT_TROY_OUNCE, "g", 31.1034768},
    {SR_UNIT_POUND, "g", 453.59237},
    {SR_UNIT_PENNYWEIGHT, "g", 1.55517384},
    {SR_UNIT_GRAIN, "g", 0.06479891},
    {SR_UNIT_MOMME, "g", 3.75},
    {SR_UNIT_TOLA, "g", 11.6638038},
    {SR_UNIT_PIECE, "", 1},
};

TEST(MeasuredUnits, EachIsTheOneOfTheTable) {
  for (const ExpectedUnit& row : kExpectedUnits) {
    const UnitRow* found = FindUnitRow(row.unit);
    ASSERT_NE(found, nullptr) << row.unit;
    EXPECT_EQ(found->units, Value::Units_from_text(row.text)) << row.text;
    EXPECT_EQ(Value::Units_library::Arrange_tuple(found->units), found->units) << row.text;
    EXPECT_EQ(found->factor + found->offset, row.one) << row.text << ' ' << row.unit;
  }
  EXPECT_EQ(UnitRows().size(), std::size(kExpectedUnits));
}

TEST(MeasuredUnits, OnlyTheTaelIsLeftOut) {
  for (int unit = SR_UNIT_VOLT; unit <= SR_UNIT_PIECE; ++unit)
    EXPECT_EQ(FindUnitRow(unit) == nullptr, unit == SR_UNIT_TAEL) << unit;
  EXPECT_EQ(FindUnitRow(SR_UNIT_PIECE + 1), nullptr);
}

TEST(MeasuredQuantities, AllHaveANameOfTheirOwn) {
  std::set<std::string> names;
  for (int quantity = SR_MQ_VOLTAGE; quantity <= SR_MQ_HARMONIC_RATIO; ++quantity) {
    const std::string name = Meaning{"X", quantity, 0}.ReadingName();
    EXPECT_THAT(name, testing::MatchesRegex("X_[A-Z_]+"));
    names.insert(name);
  }
  EXPECT_EQ(names.size(), QuantityRows().size());
  EXPECT_EQ((Meaning{"X", 4711, 0}.ReadingName()), "X_QUANTITY_4711");
}

TEST(ReadingNames, ChannelQuantityAndFlagsInOneOrder) {
  EXPECT_EQ((Meaning{"P1", SR_MQ_VOLTAGE, SR_MQFLAG_DC}.ReadingName()), "P1_VOLTAGE_DC");
  EXPECT_EQ((Meaning{"P1", SR_MQ_CURRENT, SR_MQFLAG_MAX | SR_MQFLAG_RMS | SR_MQFLAG_AC}.ReadingName()),
            "P1_CURRENT_AC_RMS_MAX");
  EXPECT_EQ((Meaning{"CH 1/a", SR_MQ_RESISTANCE, 0}.ReadingName()), "CH_1_a_RESISTANCE");
}

TEST(ReadingNames, FlagsThatChangeNothingAreNotInThem) {
  EXPECT_EQ(NamedFlags(SR_MQFLAG_AUTORANGE | SR_MQFLAG_UNSTABLE | SR_MQFLAG_FOUR_WIRE | SR_MQFLAG_DC), SR_MQFLAG_DC);
}

}  // namespace
}  // namespace Lumenar::Sigrok
