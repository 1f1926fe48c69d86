// SPDX-License-Identifier: Apache-2.0
#include "instruments/sigrok/measured_units.h"

#include <fmt/format.h>
#include <libsigrok/libsigrok.h>

#include <algorithm>
#include <array>

namespace Lumenar::Sigrok {
namespace {

using namespace Value;

constexpr Units kNoUnit{};
constexpr Units kGram = Make_unit(U_Kilogram, 1, -3);
constexpr Units kWattHour{false, 0, {{{U_Watt, 1}, {U_Hour, 1}}}};
constexpr Units kMeterPerSecond{false, 0, {{{U_Second, -1}, {U_Meter, 1}}}};
constexpr double kSoundReference_dB = -93.97940008672037;  // 20 * log10(20e-6): 20 uPa as a level of 1 Pa

// What is left out has no row: a tael has three sizes, and the library does not say which.
// clang-format off
constexpr std::array kUnitRows = {
    UnitRow{SR_UNIT_VOLT,                   Make_unit(U_Volt),                 1, 0},
    UnitRow{SR_UNIT_AMPERE,                 Make_unit(U_Ampere),               1, 0},
    UnitRow{SR_UNIT_OHM,                    Make_unit(U_Ohm),                  1, 0},
    UnitRow{SR_UNIT_FARAD,                  Make_unit(U_Farad),                1, 0},
    UnitRow{SR_UNIT_KELVIN,                 Make_unit(U_Kelvin),               1, 0},
    UnitRow{SR_UNIT_CELSIUS,                Make_unit(U_DegreeC),              1, 0},
    UnitRow{SR_UNIT_FAHRENHEIT,             Make_unit(U_DegreeF),              1, 0},
    UnitRow{SR_UNIT_HERTZ,                  Make_unit(U_Hertz),                1, 0},
    UnitRow{SR_UNIT_PERCENTAGE,             Make_unit(U_Percent),              1, 0},
    UnitRow{SR_UNIT_BOOLEAN,                kNoUnit,                           1, 0},
    UnitRow{SR_UNIT_SECOND,                 Make_unit(U_Second),               1, 0},
    UnitRow{SR_UNIT_SIEMENS,                Make_unit(U_Siemens),              1, 0},
    UnitRow{SR_UNIT_DECIBEL_MW,             Make_unit(U_Watt, 1, -3, true),    1, 0},
    UnitRow{SR_UNIT_DECIBEL_VOLT,           Make_unit(U_Volt, 1, 0, true),     1, 0},
    UnitRow{SR_UNIT_UNITLESS,               kNoUnit,                           1, 0},
    UnitRow{SR_UNIT_DECIBEL_SPL,            Make_unit(U_Pascal, 1, 0, true),   1, kSoundReference_dB},
    UnitRow{SR_UNIT_CONCENTRATION,          Make_unit(U_PartsPerMillion),      1e6, 0},
    UnitRow{SR_UNIT_REVOLUTIONS_PER_MINUTE, Make_unit(U_RevolutionPerMinute),  1, 0},
    UnitRow{SR_UNIT_VOLT_AMPERE,            Make_unit(U_VoltAmpere),           1, 0},
    UnitRow{SR_UNIT_WATT,                   Make_unit(U_Watt),                 1, 0},
    UnitRow{SR_UNIT_WATT_HOUR,              kWattHour,                         1, 0},
    UnitRow{SR_UNIT_METER_SECOND,           kMeterPerSecond,                   1, 0},
    UnitRow{SR_UNIT_HECTOPASCAL,            Make_unit(U_Pascal, 1, 2),         1, 0},
    UnitRow{SR_UNIT_HUMIDITY_293K,          Make_unit(U_Percent),              1, 0},
    UnitRow{SR_UNIT_DEGREE,                 Make_unit(U_Degree),               1, 0},
    UnitRow{SR_UNIT_HENRY,                  Make_unit(U_Henry),                1, 0},
    UnitRow{SR_UNIT_GRAM,                   kGram,                             1, 0},
    UnitRow{SR_UNIT_CARAT,                  kGram,                             0.2, 0},
    UnitRow{SR_UNIT_OUNCE,                  kGram,                             28.349523125, 0},
    UnitRow{SR_UNIT_TROY_OUNCE,             kGram,                             31.1034768, 0},
    UnitRow{SR_UNIT_POUND,                  kGram,                             453.59237, 0},
    UnitRow{SR_UNIT_PENNYWEIGHT,            kGram,                             1.55517384, 0},
    UnitRow{SR_UNIT_GRAIN,                  kGram,                             0.06479891, 0},
    UnitRow{SR_UNIT_MOMME,                  kGram,                             3.75, 0},
    UnitRow{SR_UNIT_TOLA,                   kGram,                             11.6638038, 0},
    UnitRow{SR_UNIT_PIECE,                  kNoUnit,                           1, 0},
};

constexpr std::array kQuantityRows = {
    QuantityRow{SR_MQ_VOLTAGE,              "VOLTAGE"},
    QuantityRow{SR_MQ_CURRENT,              "CURRENT"},
    QuantityRow{SR_MQ_RESISTANCE,           "RESISTANCE"},
    QuantityRow{SR_MQ_CAPACITANCE,          "CAPACITANCE"},
    QuantityRow{SR_MQ_TEMPERATURE,          "TEMPERATURE"},
    QuantityRow{SR_MQ_FREQUENCY,            "FREQUENCY"},
    QuantityRow{SR_MQ_DUTY_CYCLE,           "DUTY_CYCLE"},
    QuantityRow{SR_MQ_CONTINUITY,           "CONTINUITY"},
    QuantityRow{SR_MQ_PULSE_WIDTH,          "PULSE_WIDTH"},
    QuantityRow{SR_MQ_CONDUCTANCE,          "CONDUCTANCE"},
    QuantityRow{SR_MQ_POWER,                "POWER"},
    QuantityRow{SR_MQ_GAIN,                 "GAIN"},
    QuantityRow{SR_MQ_SOUND_PRESSURE_LEVEL, "SOUND_LEVEL"},
    QuantityRow{SR_MQ_CARBON_MONOXIDE,      "CARBON_MONOXIDE"},
    QuantityRow{SR_MQ_RELATIVE_HUMIDITY,    "HUMIDITY"},
    QuantityRow{SR_MQ_TIME,                 "TIME"},
    QuantityRow{SR_MQ_WIND_SPEED,           "WIND_SPEED"},
    QuantityRow{SR_MQ_PRESSURE,             "PRESSURE"},
    QuantityRow{SR_MQ_PARALLEL_INDUCTANCE,  "PARALLEL_INDUCTANCE"},
    QuantityRow{SR_MQ_PARALLEL_CAPACITANCE, "PARALLEL_CAPACITANCE"},
    QuantityRow{SR_MQ_PARALLEL_RESISTANCE,  "PARALLEL_RESISTANCE"},
    QuantityRow{SR_MQ_SERIES_INDUCTANCE,    "SERIES_INDUCTANCE"},
    QuantityRow{SR_MQ_SERIES_CAPACITANCE,   "SERIES_CAPACITANCE"},
    QuantityRow{SR_MQ_SERIES_RESISTANCE,    "SERIES_RESISTANCE"},
    QuantityRow{SR_MQ_DISSIPATION_FACTOR,   "DISSIPATION_FACTOR"},
    QuantityRow{SR_MQ_QUALITY_FACTOR,       "QUALITY_FACTOR"},
    QuantityRow{SR_MQ_PHASE_ANGLE,          "PHASE_ANGLE"},
    QuantityRow{SR_MQ_DIFFERENCE,           "DIFFERENCE"},
    QuantityRow{SR_MQ_COUNT,                "COUNT"},
    QuantityRow{SR_MQ_POWER_FACTOR,         "POWER_FACTOR"},
    QuantityRow{SR_MQ_APPARENT_POWER,       "APPARENT_POWER"},
    QuantityRow{SR_MQ_MASS,                 "MASS"},
    QuantityRow{SR_MQ_HARMONIC_RATIO,       "HARMONIC_RATIO"},
};

constexpr std::array kFlagRows = {
    FlagRow{SR_MQFLAG_AC,                "AC"},
    FlagRow{SR_MQFLAG_DC,                "DC"},
    FlagRow{SR_MQFLAG_RMS,               "RMS"},
    FlagRow{SR_MQFLAG_MIN,               "MIN"},
    FlagRow{SR_MQFLAG_MAX,               "MAX"},
    FlagRow{SR_MQFLAG_AVG,               "AVG"},
    FlagRow{SR_MQFLAG_RELATIVE,          "REL"},
    FlagRow{SR_MQFLAG_DIODE,             "DIODE"},
    FlagRow{SR_MQFLAG_SPL_FREQ_WEIGHT_A, "A"},
    FlagRow{SR_MQFLAG_SPL_FREQ_WEIGHT_C, "C"},
    FlagRow{SR_MQFLAG_SPL_FREQ_WEIGHT_Z, "Z"},
};
// clang-format on

std::string QuantityName(int quantity) {
  for (const QuantityRow& row : kQuantityRows)
    if (row.quantity == quantity) return std::string(row.name);
  return fmt::format("QUANTITY_{}", quantity);
}

bool IsNameLetter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

}  // namespace

std::span<const UnitRow> UnitRows() noexcept { return kUnitRows; }
std::span<const QuantityRow> QuantityRows() noexcept { return kQuantityRows; }
std::span<const FlagRow> FlagRows() noexcept { return kFlagRows; }

const UnitRow* FindUnitRow(int unit) noexcept {
  const auto* found =
      std::find_if(kUnitRows.begin(), kUnitRows.end(), [=](const UnitRow& row) { return row.unit == unit; });
  return found == kUnitRows.end() ? nullptr : found;
}

int NamedFlags(int flags) noexcept {
  int named = 0;
  for (const FlagRow& row : kFlagRows) named |= flags & row.flag;
  return named;
}

std::string Meaning::ReadingName() const {
  std::string name = channel;
  std::replace_if(
      name.begin(), name.end(), [](char c) { return !IsNameLetter(c); }, '_');
  name += '_' + QuantityName(quantity);
  for (const FlagRow& row : kFlagRows)
    if ((flags & row.flag) != 0) name += '_' + std::string(row.name);
  return name;
}

}  // namespace Lumenar::Sigrok
