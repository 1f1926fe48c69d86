// SPDX-License-Identifier: Apache-2.0
#include "platform/units/Units.h"

#include "platform/units/exceptions.h"
#include "platform/units/unit_table.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <numbers>
#include <vector>

namespace Lumenar::Value {
namespace {

constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
constexpr auto kUnknown = static_cast<Units_list>(kLastUnit + 1);
constexpr auto kHostile = static_cast<Units_list>(kMin);

Units Slots(std::initializer_list<Unit_slot> slots, std::int32_t base_power = 0, bool is_dB = false) {
  Units units;
  units.base_power = base_power;
  units.is_dB = is_dB;
  std::copy(slots.begin(), slots.end(), units.slots.begin());
  return units;
}

struct Arrange_case {
  const char* why;
  Units given;
  Units arranged;
};

TEST(Units, ArrangeSortsMergesAndPacksTheLeadingRun) {
  const Arrange_case cases[] = {
      {"empty", C_Empty, C_Empty},
      {"sorted by unit number", Slots({{U_Meter, 1}, {U_Watt, 2}}), Slots({{U_Watt, 2}, {U_Meter, 1}})},
      {"merged", Slots({{U_Volt, 1}, {U_Ohm, -1}, {U_Volt, 1}}), C_Volt2PerOhms},
      {"a sum of 0 drops the slot", Slots({{U_Volt, 1}, {U_Ohm, 1}, {U_Volt, -1}}), Slots({{U_Ohm, 1}})},
      {"an exponent of 0 is no factor", Slots({{U_Volt, 0}, {U_Ohm, 1}}), Slots({{U_Ohm, 1}})},
      {"the exponent of an empty slot means nothing", Slots({{U_Volt, 1}, {U_None, 7}}), Slots({{U_Volt, 1}})},
      {"a gap stays", Slots({{U_Volt, 1}, {}, {U_Ampere, 1}}), Slots({{U_Volt, 1}, {}, {U_Ampere, 1}})},
      {"a gap at the front stays", Slots({{}, {U_Ampere, 1}}), Slots({{}, {U_Ampere, 1}})},
      {"flag and power are carried", Slots({{U_Watt, 1}}, -3, true), Slots({{U_Watt, 1}}, -3, true)},
      {"five slots", Slots({{U_Meter, 1}, {U_Second, 2}, {U_Hertz, 3}, {U_Ohm, 4}, {U_Watt, 5}}),
       Slots({{U_Watt, 5}, {U_Ohm, 4}, {U_Hertz, 3}, {U_Second, 2}, {U_Meter, 1}})},
      {"sums may pass through the 32-bit limit", Slots({{U_Volt, kMax}, {U_Volt, kMax}, {U_Volt, kMin}}),
       Slots({{U_Volt, kMax - 1}})},
      {"the smallest exponent", Slots({{U_Volt, kMin}}), Slots({{U_Volt, kMin}})},
  };
  for (const Arrange_case& c : cases) {
    EXPECT_EQ(Units_library::Arrange_tuple(c.given), c.arranged) << c.why;
    EXPECT_EQ(Units_library::Arrange_tuple(c.arranged), c.arranged) << c.why << " (again)";
  }
}

TEST(Units, OnlyRatiosHaveTheDimensionOfNoUnit) {
  for (const Unit_row& row : Unit_table()) {
    const Units unit = Make_unit(row.unit);
    if (row.unit == U_Percent || row.unit == U_PartsPerMillion || row.unit == U_PartsPerBillion) {
      EXPECT_EQ(Units_library::Get_conversion_factor(C_Empty, unit), row.numerator / row.denominator) << row.stem;
    } else {
      EXPECT_THROW(Units_library::Get_conversion_factor(C_Empty, unit), UnitDimensionNotSame) << row.stem;
      EXPECT_THROW(Units_library::Get_conversion_factor(unit, C_Empty), UnitDimensionNotSame) << row.stem;
      EXPECT_THROW(Units_library::Get_conversion_factor(unit, Make_unit(U_Percent)), UnitDimensionNotSame) << row.stem;
    }
  }
}

TEST(Units, RatiosStandInATableByTheirNumbers) {
  const std::map<Units_list, double> expected = {
      {static_cast<Units_list>(8), 0.01}, {static_cast<Units_list>(9), 1e-6}, {static_cast<Units_list>(10), 1e-9}};
  EXPECT_EQ(angle_conv_table, expected);
  for (const auto& [unit, ratio] : angle_conv_table) {
    EXPECT_EQ(Units_library::Get_conversion_factor(C_Empty, Make_unit(unit)), ratio) << Units_text(Make_unit(unit));
  }
}

TEST(Units, ThingsThatAreCountedDoNotMeet) {
  const Units counted[] = {Make_unit(U_Sample), Make_unit(U_Bit), Make_unit(U_Radian), Make_unit(U_Candela)};
  for (const Units& a : counted) {
    for (const Units& b : counted) {
      if (a == b) {
        EXPECT_EQ(Units_library::Get_conversion_factor(a, b), 1.0) << Units_text(a);
      } else {
        EXPECT_THROW(Units_library::Get_conversion_factor(a, b), UnitDimensionNotSame)
            << Units_text(a) << Units_text(b);
      }
    }
  }
}

TEST(Units, ArrangeRefusesExponentsBeyond32BitsAndUnknownUnits) {
  EXPECT_THROW(Units_library::Arrange_tuple(Slots({{U_Volt, kMax}, {U_Volt, 1}})), OperationNotValid);
  EXPECT_THROW(Units_library::Arrange_tuple(Slots({{U_Volt, kMin}, {U_Volt, -1}})), OperationNotValid);
  EXPECT_THROW(Units_library::Arrange_tuple(Slots({{kUnknown, 1}})), OperationNotValid);
  EXPECT_THROW(Units_library::Arrange_tuple(Slots({{kHostile, 1}})), OperationNotValid);
  EXPECT_THROW(Units_library::Arrange_tuple(Slots({{U_Volt, 1}, {}, {kUnknown, 1}})), OperationNotValid);
}

TEST(Units, PackedMeansNothingBehindAGap) {
  EXPECT_TRUE(Units_library::Is_packed(C_Empty));
  EXPECT_TRUE(Units_library::Is_packed(C_VoltAmps));
  EXPECT_FALSE(Units_library::Is_packed(Slots({{}, {U_Volt, 1}})));
  EXPECT_FALSE(Units_library::Is_packed(Slots({{U_Volt, 1}, {}, {}, {}, {U_Ohm, 1}})));
}

TEST(Units, ArrangingOfPackedUnitsRefusesAGap) {
  EXPECT_EQ(Units_library::Arrange_packed(C_Empty), C_Empty);
  EXPECT_EQ(Units_library::Arrange_packed(Slots({{U_Ampere, 1}, {U_Volt, 1}})), C_VoltAmps);
  EXPECT_THROW(Units_library::Arrange_packed(Slots({{}, {U_Volt, 1}})), OperationNotValid);
  EXPECT_THROW(Units_library::Arrange_packed(Slots({{U_Volt, 1}, {}, {}, {}, {U_Ohm, 1}})), OperationNotValid);
  EXPECT_THROW(Units_library::Arrange_packed(Slots({{kUnknown, 1}})), OperationNotValid);
}

struct Compare_case {
  const char* why;
  Units a;
  Units b;
  bool slots_alone;
  bool exact;
  bool dB;
  bool dB_exact;
};

TEST(Units, CompareLooksAtWhatItIsAskedFor) {
  const Compare_case cases[] = {
      {"the same", C_Watts, C_Watts, true, true, true, true},
      {"written otherwise", Slots({{U_Ampere, 1}, {U_Volt, 1}}), C_VoltAmps, true, true, true, true},
      {"another power", C_Watts, Make_unit(U_Watt, 1, -3), true, false, true, false},
      {"one in dB", C_Watts, Make_unit(U_Watt, 1, 0, true), true, false, false, false},
      {"another unit", C_Watts, C_VoltAmps, false, false, false, false},
      {"another exponent", C_Watts, Make_unit(U_Watt, 2), false, false, false, false},
      {"bare dB against empty", C_Empty, Slots({}, 0, true), true, false, false, false},
  };
  for (const Compare_case& c : cases) {
    EXPECT_EQ(Units_library::Compare_units(c.a, c.b, false), c.slots_alone) << c.why;
    EXPECT_EQ(Units_library::Compare_units(c.b, c.a, true), c.exact) << c.why;
    EXPECT_EQ(Units_library::Compare_units_DB(c.a, c.b, false), c.dB) << c.why;
    EXPECT_EQ(Units_library::Compare_units_DB(c.b, c.a, true), c.dB_exact) << c.why;
  }
}

TEST(Units, ReciprocalUnits) {
  EXPECT_TRUE(Units_library::Is_Invert_units(Make_unit(U_Second, -1), Make_unit(U_Second)));
  EXPECT_TRUE(Units_library::Is_Invert_units(Slots({{U_Ohm, 1}, {U_Volt, -2}}), C_Volt2PerOhms));
  EXPECT_FALSE(Units_library::Is_Invert_units(C_Watts, C_Watts));
  EXPECT_FALSE(Units_library::Is_Invert_units(C_VoltAmps, Slots({{U_Volt, -1}, {U_Ampere, 1}})));
  EXPECT_FALSE(Units_library::Is_Invert_units(C_Empty, C_Empty)) << "no unit has no reciprocal";
  EXPECT_FALSE(Units_library::Is_Invert_units(C_Watts, C_Empty));
  EXPECT_FALSE(Units_library::Is_Invert_units(Make_unit(U_Volt, kMin), Make_unit(U_Volt, kMin)));
}

struct Factor_case {
  Units to;
  Units from;
  double factor;
};

// Factors by hand from the definitions: 1 in = 0.0254 m, 1 ft = 12 in, 1 byte = 8 bit, 1 K = 1.8 degF.
TEST(Units, ConversionFactors) {
  const Factor_case cases[] = {
      {C_Watts, C_Watts, 1.0},
      {Make_unit(U_Inch), Make_unit(U_Foot), 12.0},
      {Make_unit(U_Meter), Make_unit(U_Inch), 0.0254},
      {Make_unit(U_Inch, 2), Make_unit(U_Foot, 2), 144.0},
      {Make_unit(U_Foot, -1), Make_unit(U_Inch, -1), 12.0},
      {Make_unit(U_Percent), C_Empty, 100.0},
      {C_Empty, Make_unit(U_PartsPerMillion), 1e-6},
      {Make_unit(U_PartsPerBillion), Make_unit(U_Percent), 1e7},
      {Make_unit(U_Radian), Make_unit(U_Degree), std::numbers::pi / 180},
      {Make_unit(U_Bit), Make_unit(U_Byte), 8.0},
      {C_DgreeF, C_Kelvin, 1.8},
      {C_Kelvin, C_DgreeC, 1.0},
      {Make_unit(U_Second, -1), Make_unit(U_Hertz), 1.0},
      {Make_unit(U_Volt), Slots({{U_Ampere, 1}, {U_Ohm, 1}}), 1.0},
      {Make_unit(U_Joule), Slots({{U_Watt, 1}, {U_Second, 1}}), 1.0},
      {Make_unit(U_Foot, kMax), Make_unit(U_Foot, kMax), 1.0},
  };
  for (const Factor_case& c : cases) {
    EXPECT_DOUBLE_EQ(Units_library::Get_conversion_factor(c.to, c.from), c.factor)
        << Units_text(c.from) << " to " << Units_text(c.to);
  }
}

TEST(Units, NoFactorBetweenDimensions) {
  const std::pair<Units, Units> cases[] = {
      {C_Watts, Make_unit(U_Volt)},
      {C_Watts, C_Empty},
      {C_Empty, Make_unit(U_Radian)},
      {Make_unit(U_Hertz), Make_unit(U_Second)},
      {Make_unit(U_Lumen), Make_unit(U_Candela)},
      {Make_unit(U_Sample), Make_unit(U_Bit)},
      {C_Watts, Slots({{U_Watt, 1}, {U_Second, 1}})},
      {Make_unit(U_Meter, kMin), Make_unit(U_Meter, kMax)},
  };
  for (const auto& [to, from] : cases) {
    EXPECT_THROW(Units_library::Get_conversion_factor(to, from), UnitDimensionNotSame) << Units_text(to);
  }
  EXPECT_THROW(Units_library::Get_conversion_factor(C_Watts, Slots({{kHostile, 1}})), OperationNotValid);
}

TEST(Units, BaseIsTwoForInformationAlone) {
  EXPECT_EQ(Units_library::Get_unit_base(Make_unit(U_Byte)), 2.0);
  EXPECT_EQ(Units_library::Get_unit_base(Slots({{U_Bit, 1}, {U_Byte, -1}})), 2.0);
  EXPECT_EQ(Units_library::Get_unit_base(Slots({{U_Second, -1}, {U_Byte, 1}})), 10.0) << "rates are decimal";
  EXPECT_EQ(Units_library::Get_unit_base(C_Watts), 10.0);
  EXPECT_EQ(Units_library::Get_unit_base(C_Empty), 10.0);
  EXPECT_EQ(Units_library::Get_unit_base(Slots({{kUnknown, 1}})), 10.0);
}

TEST(Units, DecibelFactorIsTheProductOfTheLeadingExponents) {
  EXPECT_EQ(Units_library::Decibel_factor(C_Empty), 1.0);
  EXPECT_EQ(Units_library::Decibel_factor(C_Watts), 1.0);
  EXPECT_EQ(Units_library::Decibel_factor(C_Volt2PerOhms), -2.0);
  EXPECT_EQ(Units_library::Decibel_factor(Slots({{U_Volt, 3}, {}, {U_Ohm, 5}})), 3.0);
  EXPECT_EQ(Units_library::Decibel_factor(Slots({{U_Volt, kMin}, {U_Ohm, kMin}})), 0x1p62);
}

TEST(Units, MismatchOfASumCountsAsMismatchOfDimension) {
  EXPECT_THROW(throw UnitDimensionNotProper(), UnitDimensionNotSame);
  EXPECT_STREQ(OperationNotValid().what(), "OperationNotValid");
}

}  // namespace
}  // namespace Lumenar::Value
