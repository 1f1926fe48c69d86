// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/units/Units.h"

#include <cstdint>
#include <map>
#include <span>
#include <string_view>

namespace Lumenar::Value {

/// Signs of the text form of units: V^2, V/s.
inline constexpr std::string_view Pow_sign = "^";
inline constexpr std::string_view Divide_sign = "/";

/// Units that are plain ratios, and what one of them is. Made when the library is loaded.
inline const std::map<Units_list, double> angle_conv_table = {
    {U_Percent, 0.01},
    {U_PartsPerMillion, 1e-6},
    {U_PartsPerBillion, 1e-9},
};

/// Exponents over the SI bases, and over four that count what SI has no base for: angle, logarithmic ratio, information, samples.
struct Dimension {
  std::int8_t m = 0, kg = 0, s = 0, A = 0, K = 0, cd = 0, rad = 0, mol = 0, Np = 0, bit = 0, sample = 0;
};

inline constexpr std::size_t kDimensions = 11;

/// Whether a symbol takes prefixes in text: not at all, the decimal ones, or (alone) the binary ones.
enum class Prefixes : std::uint8_t { None, Decimal, Binary };

/// All there is to know about one unit.
struct Unit_row {
  Units_list unit;
  /// The symbol to which prefixes are put, and the power of ten that it lacks: "g" and -3 for the kilogram, else the
  /// symbol itself and 0.
  std::string_view stem;
  std::int32_t stem_power;
  Prefixes prefixes;
  /// English names in lower case, a blank between two; a plural in "s" need not be listed.
  std::string_view names;
  Dimension dimension;
  /// One of this unit is numerator / denominator of the SI unit; kept apart, so that a quotient of two units is rounded
  /// once. For temperatures this is the factor of a difference; the zero points stand in the conversion table.
  double numerator;
  double denominator;
};

/// Unit numbers run from 1 to this one.
inline constexpr std::size_t kUnitRows = kLastUnit;

/// The rows in the order of the unit numbers, from 1.
std::span<const Unit_row> Unit_table() noexcept;

/// The row of a unit; null for U_None and for numbers that name no unit.
const Unit_row* Find_unit(Units_list unit) noexcept;

}  // namespace Lumenar::Value
