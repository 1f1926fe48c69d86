// SPDX-License-Identifier: Apache-2.0
#include "platform/value/Value_object.h"

#include "platform/units/exceptions.h"
#include "tests/unit/platform/value/value_checks.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

namespace Lumenar::Value {
namespace {

template <class T>
class ValueObject : public testing::Test {
 protected:
  static constexpr T kInf = std::numeric_limits<T>::infinity();
  static constexpr T kNaN = std::numeric_limits<T>::quiet_NaN();
};

using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(ValueObject, Precisions);

constexpr Units kVolt = Make_unit(U_Volt);
constexpr Units kVolt2 = Make_unit(U_Volt, 2);
constexpr Units kGap{false, 0, {{{U_Volt, 1}, {}, {U_Ampere, 1}}}};

Units Inverse(Units units) {
  for (Unit_slot& slot : units.slots) {
    slot.exponent = -slot.exponent;
  }
  return units;
}

TYPED_TEST(ValueObject, StartsAsZeroWithoutUnitAndErrors) {
  const Value_object<TypeParam> value;
  Expect_numbers(value, 0, 0, 0);
  EXPECT_EQ(value.Get_unit(), C_Empty);
}

TYPED_TEST(ValueObject, ConstructorSortsTheErrors) {
  Expect_numbers<TypeParam>({1, kVolt, TypeParam(0.5), TypeParam(-0.2)}, 1, -0.2, 0.5);
  Expect_numbers<TypeParam>({1, kVolt, TypeParam(-0.2), TypeParam(0.5)}, 1, -0.2, 0.5);
}

TYPED_TEST(ValueObject, EqualErrorsOrANaNPutTheSecondIntoMinus) {
  Expect_numbers<TypeParam>({1, kVolt, this->kNaN, 2}, 1, 2, this->kNaN);
  Expect_numbers<TypeParam>({1, kVolt, 2, this->kNaN}, 1, this->kNaN, 2);
  const Value_object<TypeParam> zeros(1, kVolt, TypeParam(0.0), TypeParam(-0.0));
  EXPECT_TRUE(std::signbit(zeros.Get_minus_err()));
  EXPECT_FALSE(std::signbit(zeros.Get_plus_err()));
}

TYPED_TEST(ValueObject, ConstructorArrangesTheUnitAndRefusesAMalformedOne) {
  using Value = Value_object<TypeParam>;
  const Units unsorted{false, 0, {{{U_Ampere, 1}, {U_Volt, 1}}}};
  EXPECT_EQ(Value(1, unsorted, 0, 0).Get_unit(), C_VoltAmps);
  EXPECT_THROW(Value(1, kGap, 0, 0), OperationNotValid);
  EXPECT_THROW(Value(1, Make_unit(static_cast<Units_list>(4711)), 0, 0), OperationNotValid);
}

TYPED_TEST(ValueObject, SetReplacesAllOrNothing) {
  Value_object<TypeParam> value(1, kVolt, -1, 2);
  EXPECT_THROW(value.Set(5, kGap, 0, 0), OperationNotValid);
  Expect_numbers(value, 1, -1, 2);
  value.Set(5, C_Watts, 4, 3);
  Expect_numbers(value, 5, 3, 4);
  EXPECT_EQ(value.Get_unit(), C_Watts);
}

struct Row_case {
  const char* why;
  Units from;
  Units to;
  double value;
  double result;
};

// By hand: 1.8 degF a kelvin, 273.15 K at 0 degC, 32 degF at 0 degC. 0 degF is 255.37222 K.
const Row_case kRows[] = {
    {"C to F", C_DgreeC, C_DgreeF, 100, 212},
    {"F to C", C_DgreeF, C_DgreeC, 212, 100},
    {"C to K", C_DgreeC, C_Kelvin, 100, 373.15},
    {"F to K", C_DgreeF, C_Kelvin, 0, 255.37222222222222},
    {"K to C", C_Kelvin, C_DgreeC, 0, -273.15},
    {"K to F", C_Kelvin, C_DgreeF, 273.15, 32},
    {"V*A to W keeps its number", C_VoltAmps, C_Watts, 7, 7},
    {"V^2/ohm to W", C_Volt2PerOhms, C_Watts, 7, 7},
    {"A^2*ohm to W", C_Amps2Ohms, C_Watts, 7, 7},
    {"to the reciprocal of the target: turned over", C_DgreeC, Inverse(C_DgreeF), 100, 1.0 / 212},
    {"from the reciprocal of the source: turned over", Inverse(C_VoltAmps), C_Watts, 8, 0.125},
    {"both reciprocal: not turned over", Inverse(C_DgreeC), Inverse(C_DgreeF), 100, 212},
    {"the source's power counts after the row", Scaled(C_DgreeC, 1), C_DgreeF, 100, 2120},
    {"the target's power counts after the row", C_VoltAmps, Scaled(C_Watts, 3), 7, 0.007},
};

TYPED_TEST(ValueObject, TableRowsConvertTheValueAndLeaveTheErrors) {
  for (const Row_case& c : kRows) {
    SCOPED_TRACE(c.why);
    const Value_object<TypeParam> source(TypeParam(c.value), c.from, -1, 2);
    const auto result = source.Convert_to(c.to);
    const double scale = std::pow(10.0, c.from.base_power - c.to.base_power);
    Expect_numbers(result, c.result, -1 * scale, 2 * scale);
    EXPECT_EQ(result.Get_unit(), c.to);
  }
}

TYPED_TEST(ValueObject, TemperatureFunctionsGiveTheTargetAndCheckIt) {
  using Value = Value_object<TypeParam>;
  const Value warm(100, C_DgreeC, -1, 2);
  Expect_numbers(Value::Convert_degreeC_to_kelvin(warm, C_Kelvin), 373.15, -1, 2);
  Expect_numbers(Value::Convert_kelvin_to_degreeC(warm, C_DgreeC), -173.15, -1, 2);
  Expect_numbers(Value::Convert_kelvin_to_degreeF(warm, C_DgreeF), -279.67, -1, 2);
  Expect_numbers(Value::Convert_degreeF_to_degreeC(warm, C_DgreeC), 68 / 1.8, -1, 2);
  Expect_numbers(Value::Convert_degreeF_to_kelvin(warm, C_Kelvin), 68 / 1.8 + 273.15, -1, 2);
  Expect_numbers(Value::Power_conversion(warm, C_Watts), 100, -1, 2);
  EXPECT_THROW(Value::Convert_degreeC_to_kelvin(warm, kGap), OperationNotValid);
  EXPECT_THROW(Value::Power_conversion(warm, kGap), OperationNotValid);
}

TYPED_TEST(ValueObject, CelsiusToFahrenheitCopiesTheTargetUnarranged) {
  using Value = Value_object<TypeParam>;
  const Units unsorted{false, 0, {{{U_Ampere, 1}, {U_Volt, 1}}}};
  for (const Units& target : {unsorted, kGap}) {
    const Value result = Value::Convert_degreeC_to_degreeF(Value(100, C_DgreeC, -1, 2), target);
    Expect_numbers(result, 212, -1, 2);
    EXPECT_EQ(result.Get_unit(), target);
  }
}

TYPED_TEST(ValueObject, GenericPathScalesValueAndErrors) {
  const Row_case cases[] = {
      {"in to m", Make_unit(U_Inch), Make_unit(U_Meter), 100, 2.54},
      {"mV to V", Scaled(kVolt, -3), kVolt, 1500, 1.5},
      {"V to mV", kVolt, Scaled(kVolt, -3), 1.5, 1500},
      {"KiB to bit: base 2", Make_unit(U_Byte, 1, 10), Make_unit(U_Bit), 1, 8192},
      {"unit-less to percent", C_Empty, Make_unit(U_Percent), 0.5, 50},
      {"Hz to 1/s", Make_unit(U_Hertz), Make_unit(U_Second, -1), 3, 3},
  };
  for (const Row_case& c : cases) {
    SCOPED_TRACE(c.why);
    const double scale = c.result / c.value;
    const Value_object<TypeParam> source(TypeParam(c.value), c.from, -1, 2);
    Expect_numbers(source.Convert_to(c.to), c.result, -scale, 2 * scale);
    EXPECT_EQ(source.Convert_to(c.to).Get_unit(), c.to);
  }
}

TYPED_TEST(ValueObject, SlotsWithARowOfTheirOwnConvertTheNumber) {
  const Units volt_per_C{false, 0, {{{U_Volt, 1}, {U_DegreeC, -1}}}};
  const Units volt_per_F{false, 0, {{{U_Volt, 1}, {U_DegreeF, -1}}}};
  const Units foot_F{false, 0, {{{U_DegreeF, 1}, {U_Foot, 1}}}};
  const Units inch_C{false, -3, {{{U_DegreeC, 1}, {U_Inch, 1}}}};
  const Value_object<TypeParam> slope(100, volt_per_C, -1, 2);
  Expect_numbers(slope.Convert_to(volt_per_F), 1.0 / 212, -1, 2);
  // (68 - 32) / 1.8 = 20, then 12 in a foot and 1 = 10^3 * 10^-3; the errors by the scale alone.
  Expect_numbers(Value_object<TypeParam>(68, foot_F, -1, 2).Convert_to(inch_C), 240e3, -12e3, 24e3);
  // Slots are compared position by position: here the metre stands where the target has its temperature.
  const Units meter_F{false, 0, {{{U_Meter, 1}, {U_DegreeF, 1}}}};
  Expect_numbers(Value_object<TypeParam>(18, meter_F, -9, 9).Convert_to(Scaled(inch_C, 0)), 10 / 0.0254, -5 / 0.0254,
                 5 / 0.0254);
}

TYPED_TEST(ValueObject, ExponentsThatDifferInMagnitudeAreAnotherDimension) {
  const Value_object<TypeParam> squared(1, kVolt2, 0, 0);
  EXPECT_THROW(squared.Convert_to(kVolt), UnitDimensionNotSame);
  EXPECT_THROW(squared.Convert_to(C_Empty), UnitDimensionNotSame);
  EXPECT_THROW(squared.Convert_to(Make_unit(U_Volt, -2)), UnitDimensionNotSame);
  EXPECT_THROW(squared.Convert_to(kGap), OperationNotValid);
  const Value_object<TypeParam> power(1, C_Amps2Ohms, 0, 0);
  EXPECT_THROW(power.Convert_to(C_VoltAmps), UnitDimensionNotSame) << "A^2 stands where the target has V";
}

TYPED_TEST(ValueObject, AnyExponentAndPowerIsHarmless) {
  constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
  constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
  const Value_object<TypeParam> tiny(1, Make_unit(U_Volt, kMin, kMin), 0, 0);
  Expect_numbers(tiny.Convert_to(Make_unit(U_Volt, kMin)), 0, 0, 0);
  const Value_object<TypeParam> plain(1, Make_unit(U_Byte, 1, kMax), 0, 0);
  EXPECT_TRUE(std::isinf(plain.Convert_to(Make_unit(U_Byte)).Get_value()));
  const Value_object<TypeParam> inch(1, Make_unit(U_Inch, kMax), 0, 0);
  EXPECT_NO_THROW(inch.Convert_to(Make_unit(U_Meter, kMax)));
}

struct Decibel_case {
  const char* why;
  Units unit;
  double dB;
  double linear;
  double back;
};

TYPED_TEST(ValueObject, DecibelRules) {
  using Value = Value_object<TypeParam>;
  const Decibel_case cases[] = {
      {"exponent 1", kVolt, 20, 100, 20},
      {"no unit", C_Empty, 20, 100, 20},
      {"exponent 2 multiplies on the way to linear, too", kVolt2, 20, 200, 20 * std::log10(200.0)},
      {"product of exponents", C_Volt2PerOhms, 20, -200, std::nan("")},
  };
  for (const Decibel_case& c : cases) {
    SCOPED_TRACE(c.why);
    const Value linear = Value::Normalize_DB(Value(TypeParam(c.dB), In_dB(c.unit), 0, 0));
    EXPECT_TRUE(Close(linear.Get_value(), c.linear));
    EXPECT_EQ(linear.Get_unit(), In_dB(c.unit)) << "the flag stays";
    EXPECT_TRUE(Close(Value::Apply_DB(linear).Get_value(), c.back));
  }
  EXPECT_TRUE(Close(Value::Apply_DB(Value(100, In_dB(kVolt2), 0, 0)).Get_value(), 40.0));
}

/// double alone takes a source out of dB.
TEST(ValueObjectDouble, ASourceInDecibelsIsMadeLinearByItsOwnUnit) {
  const Value_object<double> level(10, In_dB(C_Amps2Ohms), 0, 0);  // k is 2: 20 A^2*ohm
  EXPECT_DOUBLE_EQ(level.Convert_to(C_Watts).Get_value(), 20);
  EXPECT_DOUBLE_EQ(level.Convert_to(In_dB(C_Watts)).Get_value(), 10 * std::log10(20.0));
  EXPECT_DOUBLE_EQ(Value_object<double>(10, In_dB(C_Volt2PerOhms), 0, 0).Convert_to(C_Watts).Get_value(), -20)
      << "k is -2";
}

TYPED_TEST(ValueObject, NormalizeLeavesLinearValuesAlone) {
  using Value = Value_object<TypeParam>;
  const Value linear(20, kVolt, -1, 2);
  Expect_same_bits(Value::Normalize_DB(linear), linear);
}

TYPED_TEST(ValueObject, ApplyLeavesValuesAloneWhoseUnitIsNotInDecibels) {
  using Value = Value_object<TypeParam>;
  for (const TypeParam number : {TypeParam(100), TypeParam(0), TypeParam(-3)}) {
    const Value linear(number, kVolt2, -1, 2);
    Expect_same_bits(Value::Apply_DB(linear), linear);
  }
}

TYPED_TEST(ValueObject, ErrorsFollowTheDecibelRulesAndStaySorted) {
  using Value = Value_object<TypeParam>;
  Expect_numbers(Value::Normalize_DB(Value(0, In_dB(kVolt), -10, 10)), 1, 0.1, 10);
  Expect_numbers(Value::Normalize_DB(Value(0, In_dB(Make_unit(U_Second, -1)), -10, 10)), -1, -10, -0.1);
  Expect_numbers(Value::Apply_DB(Value(1, In_dB(kVolt), 10, 100)), 0, 10, 20);
}

TYPED_TEST(ValueObject, RangeCheck) {
  using Value = Value_object<TypeParam>;
  const auto check = [](TypeParam value, TypeParam a, TypeParam b) {
    Value::Is_value_in_range(Value(value, kVolt, a, b));
  };
  EXPECT_NO_THROW(check(1, -this->kInf, this->kInf));
  for (const TypeParam bad : {this->kInf, -this->kInf, this->kNaN}) {
    EXPECT_THROW(check(bad, 0, 0), std::out_of_range);
  }
  EXPECT_THROW(check(1, this->kNaN, 0), std::out_of_range);
  EXPECT_THROW(check(1, 0, this->kNaN), std::out_of_range);
  try {
    check(this->kNaN, 0, 0);
  } catch (const std::out_of_range& e) {
    EXPECT_STREQ(e.what(), "Value is out of range");
  }
}

TEST(ValueObjectFloat, TargetInDecibelScalesThenTakesTheLogarithm) {
  Expect_numbers(Value_object<float>(1, C_Watts, 0.1F, 10).Convert_to(In_dB(Scaled(C_Watts, -3))), 30, 20, 40);
  Expect_numbers(Value_object<float>(100, kVolt2, 1, 10).Convert_to(In_dB(kVolt2)), 40, 0, 20);
}

TEST(ValueObjectFloat, ConvertNeverTakesASourceOutOfDecibel) {
  const Value_object<float> level(20, In_dB(C_Watts), -1, 2);
  Expect_numbers(level.Convert_to(C_Watts), 20, -1, 2);
  Expect_numbers(level.Convert_to(Scaled(C_Watts, -3)), 20000, -1000, 2000);
  Expect_numbers(level.Convert_to(In_dB(C_Watts)), 13.010299956639812, 3.0102999566398121, std::nan(""));
}

TEST(ValueObjectFloat, EachScaleIsStoredAsFloat) {
  // 0.1f * 10^-3 in double, stored as float, times 10^3 in double, stored as float: by exact arithmetic 0x1.99999cp-4.
  const float tenth = 0.1F;
  const float once = static_cast<float>(static_cast<double>(tenth) * 1e-3);
  const float twice = static_cast<float>(static_cast<double>(once) * 1e3);
  const Units milli = Scaled(kVolt, -3);
  EXPECT_EQ(Value_object<float>(tenth, milli, 0, 0).Convert_to(milli).Get_value(), twice);
}

TEST(ValueObjectDouble, TheDecibelFlagsOfBothSidesCount) {
  using Value = Value_object<double>;
  const Value level(20, In_dB(C_Watts), -10, 10);
  Expect_numbers(level.Convert_to(C_Watts), 100, 0.1, 10);
  Expect_numbers(level.Convert_to(Scaled(C_Watts, -3)), 1e5, 100, 1e4);
  Expect_numbers(level.Convert_to(In_dB(Scaled(C_Watts, -3))), 50, 20, 40);
  Expect_numbers(level.Convert_to(In_dB(C_Watts)), 20, -10, 10);
  Expect_numbers(Value(100, C_Watts, 1, 10).Convert_to(In_dB(C_Watts)), 20, 0, 10);
  Expect_numbers(Value(20, In_dB(C_VoltAmps), -10, 10).Convert_to(In_dB(C_Watts)), 20, -10, 10);
  Expect_numbers(Value(20, In_dB(C_Empty), 0, 0).Convert_to(C_Empty), 100, 1, 1);
}

TEST(ValueObjectDouble, TheLargestPowerOfTenIsANumber) {
  const Units largest = Make_unit(U_Watt, 1, 308);
  EXPECT_DOUBLE_EQ(Value_object<double>(1e-300, largest, 0, 0).Convert_to(C_Watts).Get_value(), 1e8);
  const Units beyond = Make_unit(U_Watt, 1, 309);
  EXPECT_EQ(Value_object<double>(1e-300, beyond, 0, 0).Convert_to(C_Watts).Get_value(),
            std::numeric_limits<double>::infinity());
}

TEST(ValueObjectDouble, TheSameUnitInEveryRespectChangesNothing) {
  const Value_object<double> squared(20.1, In_dB(Scaled(kVolt2, -3)), -1.1, 2.3);
  Expect_same_bits(squared.Convert_to(squared.Get_unit()), squared);
  const Value_object<double> milli(0.1, Scaled(kVolt, -3), 0.3, 0.7);
  Expect_same_bits(milli.Convert_to(milli.Get_unit()), milli);
}

}  // namespace
}  // namespace Lumenar::Value
