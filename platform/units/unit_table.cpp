// SPDX-License-Identifier: Apache-2.0
#include "platform/units/unit_table.h"

#include <array>
#include <numbers>

namespace Lumenar::Value {
namespace {

constexpr auto kNone = Prefixes::None;
constexpr auto kDec = Prefixes::Decimal;
constexpr auto kBin = Prefixes::Binary;

// clang-format off
constexpr std::array kUnits = {
    //        unit              stem    power prefixes
    //        names                      dimension                                numerator, denominator
    Unit_row{U_Watt,            "W",    0,  kDec,  "watt",                        {.m = 2, .kg = 1, .s = -3},              1, 1},
    Unit_row{U_Volt,            "V",    0,  kDec,  "volt",                        {.m = 2, .kg = 1, .s = -3, .A = -1},     1, 1},
    Unit_row{U_Ampere,          "A",    0,  kDec,  "ampere amp",                  {.A = 1},                                1, 1},
    Unit_row{U_Ohm,             "ohm",  0,  kDec,  "ohm",                         {.m = 2, .kg = 1, .s = -3, .A = -2},     1, 1},
    Unit_row{U_Hertz,           "Hz",   0,  kDec,  "hertz hz",                    {.s = -1},                               1, 1},
    Unit_row{U_Second,          "s",    0,  kDec,  "second sec",                  {.s = 1},                                1, 1},
    Unit_row{U_Meter,           "m",    0,  kDec,  "meter metre",                 {.m = 1},                                1, 1},
    Unit_row{U_Percent,         "%",    0,  kNone, "percent",                     {},                                      1, 100},
    Unit_row{U_PartsPerMillion, "ppm",  0,  kNone, "ppm",                         {},                                      1, 1e6},
    Unit_row{U_PartsPerBillion, "ppb",  0,  kNone, "ppb",                         {},                                      1, 1e9},
    Unit_row{U_DegreeC,         "degC", 0,  kDec,  "celsius",                     {.K = 1},                                1, 1},
    Unit_row{U_DegreeF,         "degF", 0,  kDec,  "fahrenheit",                  {.K = 1},                                5, 9},
    Unit_row{U_Kelvin,          "K",    0,  kDec,  "kelvin",                      {.K = 1},                                1, 1},
    Unit_row{U_Radian,          "rad",  0,  kDec,  "radian",                      {.rad = 1},                              1, 1},
    Unit_row{U_Degree,          "deg",  0,  kDec,  "degree",                      {.rad = 1},                              std::numbers::pi, 180},
    Unit_row{U_Foot,            "ft",   0,  kNone, "foot feet",                   {.m = 1},                                3048, 10000},
    Unit_row{U_Inch,            "in",   0,  kNone, "inch inches",                 {.m = 1},                                254, 10000},
    Unit_row{U_Bit,             "bit",  0,  kBin,  "bit",                         {.bit = 1},                              1, 1},
    Unit_row{U_Byte,            "B",    0,  kBin,  "byte",                        {.bit = 1},                              8, 1},
    Unit_row{U_Sample,          "Sa",   0,  kDec,  "sample",                      {.sample = 1},                           1, 1},
    Unit_row{U_Farad,           "F",    0,  kDec,  "farad",                       {.m = -2, .kg = -1, .s = 4, .A = 2},     1, 1},
    Unit_row{U_Henry,           "H",    0,  kDec,  "henry henries",               {.m = 2, .kg = 1, .s = -2, .A = -2},     1, 1},
    Unit_row{U_Coulomb,         "C",    0,  kDec,  "coulomb",                     {.s = 1, .A = 1},                        1, 1},
    Unit_row{U_Joule,           "J",    0,  kDec,  "joule",                       {.m = 2, .kg = 1, .s = -2},              1, 1},
    Unit_row{U_Newton,          "N",    0,  kDec,  "newton",                      {.m = 1, .kg = 1, .s = -2},              1, 1},
    Unit_row{U_Pascal,          "Pa",   0,  kDec,  "pascal",                      {.m = -1, .kg = 1, .s = -2},             1, 1},
    Unit_row{U_Kilogram,        "g",    -3, kDec,  "gram gramme",                 {.kg = 1},                               1, 1},
    Unit_row{U_Lumen,           "lm",   0,  kDec,  "lumen",                       {.cd = 1, .rad = 2},                     1, 1},
    Unit_row{U_Candela,         "cd",   0,  kDec,  "candela",                     {.cd = 1},                               1, 1},
    Unit_row{U_Tesla,           "T",    0,  kDec,  "tesla",                       {.kg = 1, .s = -2, .A = -1},             1, 1},
    Unit_row{U_Siemens,          "S",    0,  kDec,  "siemens",                     {.m = -2, .kg = -1, .s = 3, .A = 2},     1, 1},
    Unit_row{U_Minute,           "min",  0,  kNone, "minute",                      {.s = 1},                                60, 1},
    Unit_row{U_Hour,             "h",    0,  kNone, "hour",                        {.s = 1},                                3600, 1},
    Unit_row{U_Bar,              "bar",  0,  kDec,  "bar",                         {.m = -1, .kg = 1, .s = -2},             1e5, 1},
    Unit_row{U_Mole,             "mol",  0,  kDec,  "mole",                        {.mol = 1},                              1, 1},
    Unit_row{U_Lux,              "lx",   0,  kDec,  "lux",                         {.m = -2, .cd = 1, .rad = 2},            1, 1},
    Unit_row{U_Weber,            "Wb",   0,  kDec,  "weber",                       {.m = 2, .kg = 1, .s = -2, .A = -1},     1, 1},
    Unit_row{U_Gray,             "Gy",   0,  kDec,  "gray",                        {.m = 2, .s = -2},                       1, 1},
    Unit_row{U_Sievert,          "Sv",   0,  kDec,  "sievert",                     {.m = 2, .s = -2},                       1, 1},
    Unit_row{U_ElectronVolt,     "eV",   0,  kDec,  "electronvolt",                {.m = 2, .kg = 1, .s = -2},              1.602176634e-19, 1},
    Unit_row{U_Neper,            "Np",   0,  kDec,  "neper",                       {.Np = 1},                               1, 1},
    Unit_row{U_RevolutionPerMinute,"rpm", 0,  kDec,  "rpm",                         {.s = -1},                               1, 60},
    Unit_row{U_VoltAmpere,       "VA",   0,  kDec,  "voltampere",                  {.m = 2, .kg = 1, .s = -3},              1, 1},
    Unit_row{U_Var,              "var",  0,  kDec,  "var",                         {.m = 2, .kg = 1, .s = -3},              1, 1},
};
// clang-format on

constexpr bool Rows_are_numbered_from_1() {
  for (std::size_t i = 0; i < kUnits.size(); ++i) {
    if (kUnits[i].unit != static_cast<Units_list>(i + 1)) {
      return false;
    }
  }
  return true;
}

constexpr bool Stems_differ() {
  for (std::size_t i = 0; i < kUnits.size(); ++i) {
    for (std::size_t j = i + 1; j < kUnits.size(); ++j) {
      if (kUnits[i].stem == kUnits[j].stem) {
        return false;
      }
    }
  }
  return true;
}

static_assert(kUnits.size() == kUnitRows);
static_assert(Rows_are_numbered_from_1());
static_assert(Stems_differ());

}  // namespace

std::span<const Unit_row> Unit_table() noexcept { return kUnits; }

const Unit_row* Find_unit(Units_list unit) noexcept {
  const auto number = static_cast<std::int64_t>(unit);
  const bool known = number >= 1 && number <= static_cast<std::int64_t>(kUnits.size());
  return known ? &kUnits[static_cast<std::size_t>(number - 1)] : nullptr;
}

}  // namespace Lumenar::Value
