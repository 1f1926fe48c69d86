// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace Lumenar::Value {

/// A prefix in front of a unit symbol or name, and the power of the unit's base that it stands for.
struct Prefix {
  std::string_view symbol;
  std::string_view name;
  std::int32_t power;
};

/// Powers of ten. "c" comes in texts that people write.
inline constexpr std::array kDecimalPrefixes = {
    Prefix{"f", "femto", -15}, Prefix{"p", "pico", -12}, Prefix{"n", "nano", -9}, Prefix{"u", "micro", -6},
    Prefix{"m", "milli", -3},  Prefix{"c", "centi", -2}, Prefix{"h", "hecto", 2}, Prefix{"k", "kilo", 3},
    Prefix{"M", "mega", 6},    Prefix{"G", "giga", 9},   Prefix{"T", "tera", 12}, Prefix{"P", "peta", 15},
    Prefix{"E", "exa", 18},
};

/// Powers of two, for information.
inline constexpr std::array kBinaryPrefixes = {
    Prefix{"Ki", "kibi", 10}, Prefix{"Mi", "mebi", 20}, Prefix{"Gi", "gibi", 30},
    Prefix{"Ti", "tebi", 40}, Prefix{"Pi", "pebi", 50}, Prefix{"Ei", "exbi", 60},
};

/// Levels that have a name of their own: the text of the whole level, and the text of the unit under the logarithm.
struct Level_name {
  std::string_view level;
  std::string_view unit;
};

inline constexpr std::array kLevelNames = {
    Level_name{"dBm", "mW"},  Level_name{"dBW", "W"},   Level_name{"dBV", "V"},
    Level_name{"dBmV", "mV"}, Level_name{"dBuV", "uV"},
};

}  // namespace Lumenar::Value
