// SPDX-License-Identifier: Apache-2.0
#include "platform/units/Units.h"
#include "platform/units/unit_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

namespace Lumenar::Value {
namespace {

Units Of(std::initializer_list<Unit_slot> slots, std::int32_t base_power = 0, bool is_dB = false) {
  Units units;
  units.base_power = base_power;
  units.is_dB = is_dB;
  std::copy(slots.begin(), slots.end(), units.slots.begin());
  return units;
}

struct Text_case {
  const char* text;
  Units units;
};

const Text_case kBothWays[] = {
    {"", C_Empty},
    {"W", C_Watts},
    {"mW", Make_unit(U_Watt, 1, -3)},
    {"dB", Of({}, 0, true)},
    {"dBW", Make_unit(U_Watt, 1, 0, true)},
    {"dBm", Make_unit(U_Watt, 1, -3, true)},
    {"dBuV", Make_unit(U_Volt, 1, -6, true)},
    {"dB(us)", Make_unit(U_Second, 1, -6, true)},
    {"dB(m)", Make_unit(U_Meter, 1, 0, true)},
    {"us", Make_unit(U_Second, 1, -6)},
    {"V^2/ohm", C_Volt2PerOhms},
    {"V*A", C_VoltAmps},
    {"10^-4 V", Make_unit(U_Volt, 1, -4)},
    {"10^-6 V^2", Make_unit(U_Volt, 2, -6)},
    {"%", Make_unit(U_Percent)},
    {"10^-3 %", Make_unit(U_Percent, 1, -3)},
    {"10^3", Of({}, 3)},
    {"1/s", Make_unit(U_Second, -1)},
    {"10^-3 1/s", Make_unit(U_Second, -1, -3)},
    {"mW/Hz", Of({{U_Watt, 1}, {U_Hertz, -1}}, -3)},
    {"dB(mW/Hz)", Of({{U_Watt, 1}, {U_Hertz, -1}}, -3, true)},
    {"kg", Make_unit(U_Kilogram)},
    {"g", Make_unit(U_Kilogram, 1, -3)},
    {"kg^2", Make_unit(U_Kilogram, 2)},
    {"mdegC", Make_unit(U_DegreeC, 1, -3)},
    {"KiB", Make_unit(U_Byte, 1, 10)},
    {"hPa", Make_unit(U_Pascal, 1, 2)},
    {"uS", Make_unit(U_Siemens, 1, -6)},
    {"min", Make_unit(U_Minute)},
    {"h", Make_unit(U_Hour)},
    {"mbar", Make_unit(U_Bar, 1, -3)},
    {"mmol", Make_unit(U_Mole, 1, -3)},
    {"keV", Make_unit(U_ElectronVolt, 1, 3)},
    {"kVA", Make_unit(U_VoltAmpere, 1, 3)},
    {"1/min", Make_unit(U_Minute, -1)},
    {"2^3 bit", Make_unit(U_Bit, 1, 3)},
    {"1/V^2147483648", Make_unit(U_Volt, std::numeric_limits<std::int32_t>::min())},
};

TEST(UnitsText, BothWays) {
  for (const Text_case& c : kBothWays) {
    EXPECT_EQ(Units_text(c.units), c.text);
    EXPECT_EQ(Units_from_text(c.text), c.units) << c.text;
  }
}

TEST(UnitsText, ReadsWhatPeopleWrite) {
  const Text_case cases[] = {
      {"  Volt ", Make_unit(U_Volt)},
      {"volts", Make_unit(U_Volt)},
      {"milliseconds", Make_unit(U_Second, 1, -3)},
      {"MegaHertz", Make_unit(U_Hertz, 1, 6)},
      {"feet", Make_unit(U_Foot)},
      {"kibibytes", Make_unit(U_Byte, 1, 10)},
      {"cm", Make_unit(U_Meter, 1, -2)},
      {"cd", Make_unit(U_Candela)},
      {"Pa", Make_unit(U_Pascal)},
      {"T", Make_unit(U_Tesla)},
      {"mV^2", Make_unit(U_Volt, 2, -6)},
      {"V^2 / ohm", C_Volt2PerOhms},
      {"V.A", C_VoltAmps},
      {"A V", C_VoltAmps},
      {"V*V/ohm", C_Volt2PerOhms},
      {"s^-1", Make_unit(U_Second, -1)},
      {"/s", Make_unit(U_Second, -1)},
      {"\u00B5s", Make_unit(U_Second, 1, -6)},
      {"k\u03A9", Make_unit(U_Ohm, 1, 3)},
      {"\u00B0C", C_DgreeC},
      {"dB(mW)", Make_unit(U_Watt, 1, -3, true)},
      {"dB W", Make_unit(U_Watt, 1, 0, true)},
      {"dBm/Hz", Of({{U_Watt, 1}, {U_Hertz, -1}}, -3, true)},
      {"kB/s", Of({{U_Second, -1}, {U_Byte, 1}}, 3)},
      {"V/V", C_Empty},
      {"siemens", Make_unit(U_Siemens)},
      {"minutes", Make_unit(U_Minute)},
      {"hectopascal", Make_unit(U_Pascal, 1, 2)},
      {"microsievert/hour", Of({{U_Hour, -1}, {U_Sievert, 1}}, -6)},
      {"%RH", Make_unit(U_Percent)},
      {"dBc", Of({}, 0, true)},
      {"dBi", Of({}, 0, true)},
      {"dBc/Hz", Make_unit(U_Hertz, -1, 0, true)},
      {"dBinch", Make_unit(U_Inch, 1, 0, true)},
      {"dBcd", Make_unit(U_Candela, 1, 0, true)},
  };
  for (const Text_case& c : cases) {
    EXPECT_EQ(Units_from_text(c.text), c.units) << c.text << " read as " << Units_text(Units_from_text(c.text));
  }
}

TEST(UnitsText, RefusesAndNamesThePart) {
  const std::pair<const char*, const char*> cases[] = {
      {"furlong", "furlong"},
      {"V/parsec", "parsec"},
      {"V^", "V^"},
      {"V^x", "V^x"},
      {"V^1.5", "5"},
      {"V//s", "//"},
      {"V*", "*"},
      {"*V", "*"},
      {"mft", "mft"},
      {"kB", "binary prefix"},
      {"KiB/s", "decimal"},
      {"V^99999999999", "V^99999999999"},
      {"V^2147483648", "V^2147483648"},
      {"s m A V W ohm", "five factors"},
      {"V^2147483647*V", "32 bits"},
      {"(V", "(V"},
      {"/V^2147483649", "V^2147483649"},
      {"10^-2147483649", "32 bits"},
      {"dBfoo", "foo"},
      {"EV^2147483647", "32 bits"},
      {"10^4294967297", "10^4294967297"},
      {"V/sqrt(Hz)", "unit \"V/sqrt(Hz)\": \"sqrt(Hz)\" is a root"},
      {"dB\u00B5V/sqrt(Hz)", "unit \"dB\u00B5V/sqrt(Hz)\": \"sqrt(Hz)\" is a root"},
      {"\u00B5furlong", "unit \"\u00B5furlong\""},
  };
  for (const auto& [text, part] : cases) {
    try {
      ADD_FAILURE() << text << " was read as " << Units_text(Units_from_text(text));
    } catch (const std::invalid_argument& e) {
      EXPECT_THAT(e.what(), testing::HasSubstr(part)) << text;
    }
  }
}

TEST(UnitsText, EveryRowOfTheTableThereAndBack) {
  for (const Unit_row& row : Unit_table()) {
    for (const std::int32_t exponent : {-3, -1, 1, 2}) {
      for (std::int32_t base_power = -20; base_power <= 60; ++base_power) {
        for (const bool is_dB : {false, true}) {
          const Units units = Make_unit(row.unit, exponent, base_power, is_dB);
          const std::string text = Units_text(units);
          ASSERT_EQ(Units_from_text(text), units) << text;
        }
      }
    }
  }
}

TEST(UnitsText, EveryNameOfTheTableIsRead) {
  for (const Unit_row& row : Unit_table()) {
    std::string_view names = row.names;
    while (!names.empty()) {
      const std::string_view name = names.substr(0, names.find(' '));
      const Units expected = Make_unit(row.unit, 1, row.stem_power);
      EXPECT_EQ(Units_from_text(name), expected) << name;
      EXPECT_EQ(Units_from_text(std::string(name) + "s"), expected) << name;
      names.remove_prefix(std::min(names.size(), name.size() + 1));
    }
  }
}

TEST(UnitsText, MalformedUnitsHaveATextToo) {
  EXPECT_EQ(Units_text(Of({{static_cast<Units_list>(99), 1}})), "unit99");
  EXPECT_EQ(Units_text(Of({{}, {U_Volt, -1}})), "1/V");
  EXPECT_EQ(Units_text(Of({{static_cast<Units_list>(-5), 2}}, 3)), "10^3 unit-5^2");
}

}  // namespace
}  // namespace Lumenar::Value
