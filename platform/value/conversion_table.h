// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/value/Unit_conversion.h"
#include "platform/value/Value_object.h"

#include <array>
#include <vector>

namespace Lumenar::Value {

/// A row of the conversion table: how a number in `source` becomes one in `target`.
struct Conversion_row {
  Units source;
  Units target;
  Number_rule rule;
};

/// Conversions that are more than a factor, or that have a name. The first row that fits decides.
inline constexpr std::array kConversionRows = {
    Conversion_row{C_Volt2PerOhms, C_Watts, Number_rule::Keep},
    Conversion_row{C_VoltAmps, C_Watts, Number_rule::Keep},
    Conversion_row{C_Amps2Ohms, C_Watts, Number_rule::Keep},
    Conversion_row{C_DgreeC, C_DgreeF, Number_rule::Degree_C_to_F},
    Conversion_row{C_DgreeF, C_DgreeC, Number_rule::Degree_F_to_C},
    Conversion_row{C_DgreeC, C_Kelvin, Number_rule::Degree_C_to_K},
    Conversion_row{C_DgreeF, C_Kelvin, Number_rule::Degree_F_to_K},
    Conversion_row{C_Kelvin, C_DgreeC, Number_rule::Kelvin_to_C},
    Conversion_row{C_Kelvin, C_DgreeF, Number_rule::Kelvin_to_F},
};

/// A row as a function on whole values, which takes the source and the target unit and returns the converted value.
template <class T>
struct Units_conversion {
  Units source;
  Units target;
  Value_object<T> (*convert)(const Value_object<T>& source, const Units& target);
};

/// The same table for whole values, in the same order; made when the library is loaded.
template <class T>
struct Units_conv {
  static const std::vector<Units_conversion<T>> Unit_conv_vect;
};

template <>
const std::vector<Units_conversion<float>> Units_conv<float>::Unit_conv_vect;

}  // namespace Lumenar::Value
