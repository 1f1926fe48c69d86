#pragma once

#include "Value/Unit_conversion.h"

#include <array>

namespace Lumenar::Value {

/// A row of the conversion table: how a number in `source` becomes one in `target`.
struct Units_conversion {
  Units source;
  Units target;
  Number_rule rule;
};

/// Conversions that are more than a factor, or that have a name. The first row that fits decides.
inline constexpr std::array Unit_conv_vect = {
    Units_conversion{C_Volt2PerOhms, C_Watts, Number_rule::Keep},
    Units_conversion{C_VoltAmps, C_Watts, Number_rule::Keep},
    Units_conversion{C_Amps2Ohms, C_Watts, Number_rule::Keep},
    Units_conversion{C_DgreeC, C_DgreeF, Number_rule::Degree_C_to_F},
    Units_conversion{C_DgreeF, C_DgreeC, Number_rule::Degree_F_to_C},
    Units_conversion{C_DgreeC, C_Kelvin, Number_rule::Degree_C_to_K},
    Units_conversion{C_DgreeF, C_Kelvin, Number_rule::Degree_F_to_K},
    Units_conversion{C_Kelvin, C_DgreeC, Number_rule::Kelvin_to_C},
    Units_conversion{C_Kelvin, C_DgreeF, Number_rule::Kelvin_to_F},
};

}  // namespace Lumenar::Value
