// SPDX-License-Identifier: Apache-2.0
// The judge's rules for numbers and units, against values from a table or by hand.
#include <gtest/gtest.h>

#include <mpfr.h>

#include <cmath>
#include <limits>

#include "judge/Conversion.h"
#include "judge/Number.h"
#include "judge/Refused.h"
#include "judge/same_bits.h"
#include "judge/unit_rows.h"

namespace Lumenar::Judge {
namespace {

constexpr std::int32_t kWatt = 1, kVolt = 2, kAmpere = 3, kOhm = 4, kSecond = 6, kMeter = 7, kPercent = 8, kPpm = 9;
constexpr std::int32_t kCelsius = 11, kFahrenheit = 12, kKelvin = 13, kFoot = 16, kInch = 17, kBit = 18, kByte = 19;

Units Unit(std::int32_t unit, std::int32_t exponent = 1, std::int32_t base_power = 0, bool is_dB = false) {
  Units units{is_dB, base_power, {}};
  units.slots[0] = {unit, exponent};
  return units;
}

Units Pair(Slot first, Slot second) {
  Units units;
  units.slots[0] = first;
  units.slots[1] = second;
  return units;
}

template <class T>
Number<T> Plain(T value, const Units& units = {}) {
  return Number<T>(value, units, 0, 0);
}

template <class Function>
Why ReasonOf(Function function) {
  try {
    function();
  } catch (const Refused& refused) {
    return refused.Reason();
  }
  ADD_FAILURE() << "nothing was refused";
  return Why::Lengths;
}

TEST(JudgeUnits, AreArrangedBySortingAndMerging) {
  EXPECT_EQ(Arranged(Pair({kAmpere, 1}, {kVolt, 1})), Pair({kVolt, 1}, {kAmpere, 1}));
  EXPECT_EQ(Arranged(Pair({kVolt, 1}, {kVolt, 1})), Unit(kVolt, 2));
  EXPECT_EQ(Arranged(Pair({kVolt, 1}, {kVolt, -1})), Units{});
  Units gap;
  gap.slots[1] = {kWatt, 1};
  EXPECT_EQ(ReasonOf([&] { WellFormed(gap); }), Why::NotValid);
  EXPECT_EQ(ReasonOf([] { Arranged(Unit(LastUnit() + 1)); }), Why::NotValid);
  EXPECT_EQ(ReasonOf([] { Arranged(Pair({kVolt, 2147483647}, {kVolt, 1})); }), Why::NotValid);
}

TEST(JudgeUnits, FactorsAreThoseOfTheTables) {
  EXPECT_EQ(ConversionFactor(Unit(kMeter).slots, Unit(kFoot).slots), 0.3048);
  EXPECT_EQ(ConversionFactor(Unit(kInch).slots, Unit(kFoot).slots), 12.0);
  EXPECT_EQ(ConversionFactor(Unit(kPpm).slots, Unit(kPercent).slots), 1e4);
  EXPECT_EQ(ConversionFactor(Unit(kBit).slots, Unit(kByte).slots), 8.0);
  EXPECT_EQ(ReasonOf([] { ConversionFactor(Unit(kMeter).slots, Unit(kSecond).slots); }), Why::NotSame);
  EXPECT_EQ(PowerOfBase(Unit(kWatt, 1, -3), 1), 1e-3);
  EXPECT_EQ(PowerOfBase(Unit(kByte, 1, 10), -1), 0x1p-10);
}

TEST(JudgeConversion, TemperaturesHaveTheirZeroPoints) {
  EXPECT_EQ(Converted(Plain(100.0, Unit(kCelsius)), Unit(kFahrenheit)).value, 212.0);
  EXPECT_NEAR(Converted(Plain(0.0f, Unit(kFahrenheit)), Unit(kKelvin)).value, 255.3722, 5e-5);
  const Number<double> errors = Converted(Number<double>(20, Unit(kCelsius), -1, 2), Unit(kFahrenheit));
  EXPECT_EQ(errors.minus_err, -1);
  EXPECT_EQ(errors.plus_err, 2);
}

TEST(JudgeConversion, PowersOfOtherNamesBecomeWattsAndNotTheReverse) {
  EXPECT_EQ(Converted(Plain(5.0, Pair({kVolt, 1}, {kAmpere, 1})), Unit(kWatt)).value, 5.0);
  EXPECT_EQ(Converted(Plain(5.0, Pair({kVolt, 2}, {kOhm, -1})), Unit(kWatt)).value, 5.0);
  EXPECT_EQ(ReasonOf([] { Converted(Plain(5.0, Unit(kWatt)), Pair({kVolt, 2}, {kOhm, -1})); }), Why::NotSame);
}

TEST(JudgeConversion, ADoubleGoesIntoDecibelsAndBackWhereOnlyTheFlagDiffers) {
  EXPECT_EQ(Converted(Plain(100.0, Unit(kWatt)), Unit(kWatt, 1, 0, true)).value, 20.0);
  EXPECT_EQ(Converted(Plain(20.0, Unit(kWatt, 1, 0, true)), Unit(kWatt)).value, 100.0);
  EXPECT_EQ(Converted(Plain(20.0f, Unit(kWatt, 1, 0, true)), Unit(kWatt)).value, 20.0f);  // a float's caller does that
}

TEST(JudgeNumbers, DecibelsHaveTheFactorOfTheirExponents) {
  EXPECT_EQ(Normalized(Plain(20.0f, Unit(kWatt, 1, 0, true))).value, 100.0f);
  EXPECT_EQ(Normalized(Plain(20.0f, Unit(kVolt, 2, 0, true))).value, 200.0f);
  EXPECT_EQ(Decibels(100.0f, 2), 40.0f);
}

TEST(JudgeNumbers, SumsOfLevels) {
  const Units level = Unit(kWatt, 1, -3, true);
  const Units gain{true, 0, {}};
  EXPECT_EQ(Sum(Plain(10.0f, level), Plain(3.0f, level)).value, 13.0f);
  EXPECT_EQ(Difference(Plain(10.0f, level), Plain(3.0f, gain)).value, 7.0f);
  EXPECT_EQ(ReasonOf([&] { Sum(Plain(10.0f, gain), Plain(3.0f, level)); }), Why::NotProper);
  EXPECT_EQ(ReasonOf([&] { Sum(Plain(10.0f, level), Plain(3.0f, Unit(kSecond))); }), Why::NotProper);
  EXPECT_EQ(LevelDifference(Plain(10.0f, level), Plain(4.0f, level)).value, 6.0f);
  EXPECT_EQ(ReasonOf([] { LevelDifference(Plain(1.0, Unit(kWatt)), Plain(1.0, Unit(kWatt))); }), Why::NotValid);
  EXPECT_EQ(ReasonOf([&] { LevelDifference(Plain(1.0), Plain(1.0, level)); }), Why::MissingUnit);
}

TEST(JudgeNumbers, ScalingSortsErrorsAndDivisionChecks) {
  const Number<float> product = Product(Number<float>(10, {}, -1, 2), -2.0f);
  EXPECT_EQ(product.value, -20);
  EXPECT_EQ(product.minus_err, -4);
  EXPECT_EQ(product.plus_err, 2);
  EXPECT_EQ(ReasonOf([] { Quotient(Plain(5.0f), 0.0f); }), Why::OutOfRange);
  EXPECT_TRUE(std::isinf(Product(Plain(3e38f), 10.0f).value));
}

/// The C library's logarithm and power decide the decibels of scalars: the rules allow them two units in the last place.
TEST(JudgeNumbers, TheCLibraryIsWithinTwoUnitsOfTheTruth) {
  mpfr_t exact;
  mpfr_init2(exact, 200);
  for (int i = 1; i < 20000; ++i) {
    const double x = std::ldexp(1.0 + i / 20000.0, i % 61 - 30);
    mpfr_set_d(exact, x, MPFR_RNDN);
    mpfr_log10(exact, exact, MPFR_RNDN);
    const double logarithm = mpfr_get_d(exact, MPFR_RNDN);
    ASSERT_NEAR(std::log10(x), logarithm, 2 * std::abs(logarithm) * 0x1p-52) << x;
    const double level = i / 100.0 - 100.0;
    mpfr_set_d(exact, level / 10.0, MPFR_RNDN);
    mpfr_exp10(exact, exact, MPFR_RNDN);
    const double power = mpfr_get_d(exact, MPFR_RNDN);
    ASSERT_NEAR(Linear(level, 1), power, 2 * power * 0x1p-52) << level;
  }
  mpfr_clear(exact);
}

TEST(JudgeBits, ZerosDifferAndNotANumberIsOne) {
  EXPECT_FALSE(SameBits(0.0f, -0.0f));
  EXPECT_TRUE(SameBits(std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::quiet_NaN()));
}

}  // namespace
}  // namespace Lumenar::Judge
