// SPDX-License-Identifier: Apache-2.0
#include "judge/unit_rows.h"

#include <iterator>

namespace Lumenar::Judge {
namespace {

constexpr double kPi = 3.141592653589793238462643383279502884;

// Derived units: SI brochure, 9th edition, table 4. Foot and inch: the international yard of 1959, 0.9144 m exactly. A
// degree Fahrenheit is 5/9 of a kelvin, as a difference. Minute, hour, electronvolt: table 8 of the brochure. Revolutions are
// counted, so that 60 a minute are 1 Hz.
// clang-format off
constexpr UnitRow kRows[] = {
    //  m  kg   s   A  K cd rad bit Sa mol Np
    {{  2,  1, -3,  0, 0, 0, 0, 0, 0, 0, 0}, 1, 1, false},         //  1 watt
    {{  2,  1, -3, -1, 0, 0, 0, 0, 0, 0, 0}, 1, 1, false},         //  2 volt
    {{  0,  0,  0,  1, 0, 0, 0, 0, 0, 0, 0}, 1, 1, false},         //  3 ampere
    {{  2,  1, -3, -2, 0, 0, 0, 0, 0, 0, 0}, 1, 1, false},         //  4 ohm
    {{  0,  0, -1,  0, 0, 0, 0, 0, 0, 0, 0}, 1, 1, false},         //  5 hertz
    {{  0,  0,  1,  0, 0, 0, 0, 0, 0, 0, 0}, 1, 1, false},         //  6 second
    {{  1,  0,  0,  0, 0, 0, 0, 0, 0, 0, 0}, 1, 1, false},         //  7 metre
    {{  0,  0,  0,  0, 0, 0, 0, 0, 0, 0, 0}, 1, 100, false},       //  8 percent
    {{  0,  0,  0,  0, 0, 0, 0, 0, 0, 0, 0}, 1, 1e6, false},       //  9 part per million
    {{  0,  0,  0,  0, 0, 0, 0, 0, 0, 0, 0}, 1, 1e9, false},       // 10 part per billion
    {{  0,  0,  0,  0, 1, 0, 0, 0, 0, 0, 0}, 1, 1, false},         // 11 degree Celsius
    {{  0,  0,  0,  0, 1, 0, 0, 0, 0, 0, 0}, 5, 9, false},         // 12 degree Fahrenheit
    {{  0,  0,  0,  0, 1, 0, 0, 0, 0, 0, 0}, 1, 1, false},         // 13 kelvin
    {{  0,  0,  0,  0, 0, 0, 1, 0, 0, 0, 0}, 1, 1, false},         // 14 radian
    {{  0,  0,  0,  0, 0, 0, 1, 0, 0, 0, 0}, kPi, 180, false},     // 15 degree of angle
    {{  1,  0,  0,  0, 0, 0, 0, 0, 0, 0, 0}, 3048, 10000, false},  // 16 foot
    {{  1,  0,  0,  0, 0, 0, 0, 0, 0, 0, 0}, 254, 10000, false},   // 17 inch
    {{  0,  0,  0,  0, 0, 0, 0, 1, 0, 0, 0}, 1, 1, true},          // 18 bit
    {{  0,  0,  0,  0, 0, 0, 0, 1, 0, 0, 0}, 8, 1, true},          // 19 byte
    {{  0,  0,  0,  0, 0, 0, 0, 0, 1, 0, 0}, 1, 1, false},         // 20 sample
    {{ -2, -1,  4,  2, 0, 0, 0, 0, 0, 0, 0}, 1, 1, false},         // 21 farad
    {{  2,  1, -2, -2, 0, 0, 0, 0, 0, 0, 0}, 1, 1, false},         // 22 henry
    {{  0,  0,  1,  1, 0, 0, 0, 0, 0, 0, 0}, 1, 1, false},         // 23 coulomb
    {{  2,  1, -2,  0, 0, 0, 0, 0, 0, 0, 0}, 1, 1, false},         // 24 joule
    {{  1,  1, -2,  0, 0, 0, 0, 0, 0, 0, 0}, 1, 1, false},         // 25 newton
    {{ -1,  1, -2,  0, 0, 0, 0, 0, 0, 0, 0}, 1, 1, false},         // 26 pascal
    {{  0,  1,  0,  0, 0, 0, 0, 0, 0, 0, 0}, 1, 1, false},         // 27 kilogram
    {{  0,  0,  0,  0, 0, 1, 2, 0, 0, 0, 0}, 1, 1, false},         // 28 lumen
    {{  0,  0,  0,  0, 0, 1, 0, 0, 0, 0, 0}, 1, 1, false},         // 29 candela
    {{  0,  1, -2, -1, 0, 0, 0, 0, 0, 0, 0}, 1, 1, false},         // 30 tesla
    {{-2, -1,  3,  2, 0, 0, 0, 0, 0, 0, 0}, 1, 1, false},       // 31 siemens
    {{ 0,  0,  1,  0, 0, 0, 0, 0, 0, 0, 0}, 60, 1, false},      // 32 minute
    {{ 0,  0,  1,  0, 0, 0, 0, 0, 0, 0, 0}, 3600, 1, false},    // 33 hour
    {{-1,  1, -2,  0, 0, 0, 0, 0, 0, 0, 0}, 1e5, 1, false},     // 34 bar
    {{ 0,  0,  0,  0, 0, 0, 0, 0, 0, 1, 0}, 1, 1, false},       // 35 mole
    {{-2,  0,  0,  0, 0, 1, 2, 0, 0, 0, 0}, 1, 1, false},       // 36 lux
    {{ 2,  1, -2, -1, 0, 0, 0, 0, 0, 0, 0}, 1, 1, false},       // 37 weber
    {{ 2,  0, -2,  0, 0, 0, 0, 0, 0, 0, 0}, 1, 1, false},       // 38 gray
    {{ 2,  0, -2,  0, 0, 0, 0, 0, 0, 0, 0}, 1, 1, false},       // 39 sievert
    {{ 2,  1, -2,  0, 0, 0, 0, 0, 0, 0, 0}, 1.602176634e-19, 1, false}, // 40 electronvolt
    {{ 0,  0,  0,  0, 0, 0, 0, 0, 0, 0, 1}, 1, 1, false},       // 41 neper
    {{ 0,  0, -1,  0, 0, 0, 0, 0, 0, 0, 0}, 1, 60, false},      // 42 revolution per minute
    {{ 2,  1, -3,  0, 0, 0, 0, 0, 0, 0, 0}, 1, 1, false},       // 43 volt-ampere
    {{ 2,  1, -3,  0, 0, 0, 0, 0, 0, 0, 0}, 1, 1, false},       // 44 var
};
// clang-format on

}  // namespace

const UnitRow* RowOf(std::int32_t unit) { return unit >= 1 && unit <= LastUnit() ? &kRows[unit - 1] : nullptr; }

std::int32_t LastUnit() { return static_cast<std::int32_t>(std::size(kRows)); }

}  // namespace Lumenar::Judge
