// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/value/Value_object.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace Lumenar::Value {

/// Near enough for numbers that went through logarithms; NaN equals NaN.
template <class T>
testing::AssertionResult Close(T actual, double expected) {
  const double tolerance = (sizeof(T) == sizeof(float) ? 2e-6 : 1e-13) * std::max(1.0, std::abs(expected));
  const bool close = std::isnan(expected) ? std::isnan(actual) : std::abs(actual - expected) <= tolerance;
  return (close ? testing::AssertionSuccess() : testing::AssertionFailure())
         << "is " << actual << ", expected " << expected;
}

template <class T>
void Expect_numbers(const Value_object<T>& actual, double value, double minus_err, double plus_err) {
  EXPECT_TRUE(Close(actual.Get_value(), value)) << "(value)";
  EXPECT_TRUE(Close(actual.Get_minus_err(), minus_err)) << "(minus error)";
  EXPECT_TRUE(Close(actual.Get_plus_err(), plus_err)) << "(plus error)";
}

inline Units In_dB(Units units) {
  units.is_dB = true;
  return units;
}

inline Units Scaled(Units units, std::int32_t base_power) {
  units.base_power = base_power;
  return units;
}

template <class T>
void Expect_same_bits(const Value_object<T>& a, const Value_object<T>& b) {
  EXPECT_EQ(a.Get_value(), b.Get_value());
  EXPECT_EQ(a.Get_minus_err(), b.Get_minus_err());
  EXPECT_EQ(a.Get_plus_err(), b.Get_plus_err());
  EXPECT_EQ(a.Get_unit(), b.Get_unit());
}

}  // namespace Lumenar::Value
