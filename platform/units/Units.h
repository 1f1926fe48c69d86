// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace Lumenar::Value {

/// The units that a slot can name. The numbers travel in records: once published, a number never changes its meaning.
/// One line a unit, with symbol, dimension and factor, stands in unit_table.cpp.
enum Units_list : std::int32_t {
  U_None = 0,
  U_Watt = 1,
  U_Volt = 2,
  U_Ampere = 3,
  U_Ohm = 4,
  U_Hertz = 5,
  U_Second = 6,
  U_Meter = 7,
  U_Percent = 8,
  U_PartsPerMillion = 9,
  U_PartsPerBillion = 10,
  U_DegreeC = 11,
  U_DegreeF = 12,
  U_Kelvin = 13,
  U_Radian = 14,
  U_Degree = 15,
  U_Foot = 16,
  U_Inch = 17,
  U_Bit = 18,
  U_Byte = 19,
  U_Sample = 20,
  U_Farad = 21,
  U_Henry = 22,
  U_Coulomb = 23,
  U_Joule = 24,
  U_Newton = 25,
  U_Pascal = 26,
  U_Kilogram = 27,
  U_Lumen = 28,
  U_Candela = 29,
  U_Tesla = 30,
  U_Siemens = 31,
  U_Minute = 32,
  U_Hour = 33,
  U_Bar = 34,
  U_Mole = 35,
  U_Lux = 36,
  U_Weber = 37,
  U_Gray = 38,
  U_Sievert = 39,
  U_ElectronVolt = 40,
  U_Neper = 41,
  U_RevolutionPerMinute = 42,
  U_VoltAmpere = 43,
  U_Var = 44,
};

/// The last of them.
inline constexpr Units_list kLastUnit = U_Var;

/// One factor of a unit; unit U_None is an empty slot.
struct Unit_slot {
  Units_list unit = U_None;
  std::int32_t exponent = 0;
  friend constexpr bool operator==(const Unit_slot&, const Unit_slot&) = default;
};

inline constexpr std::size_t kUnitSlots = 5;

/// The unit of a number: base^base_power * product of the slots' unit^exponent; with is_dB, the number is in decibels
/// of that. A value without invariants; arranged units have their slots sorted, merged and packed at the front.
struct Units {
  bool is_dB = false;
  std::int32_t base_power = 0;
  std::array<Unit_slot, kUnitSlots> slots{};
  friend constexpr bool operator==(const Units&, const Units&) = default;
};

/// A unit with one slot.
constexpr Units Make_unit(Units_list unit, std::int32_t exponent = 1, std::int32_t base_power = 0, bool is_dB = false) {
  Units units;
  units.is_dB = is_dB;
  units.base_power = base_power;
  units.slots[0] = {unit, exponent};
  return units;
}

inline constexpr Units C_Empty{};
inline constexpr Units C_Watts = Make_unit(U_Watt);
inline constexpr Units C_DgreeC = Make_unit(U_DegreeC);
inline constexpr Units C_DgreeF = Make_unit(U_DegreeF);
inline constexpr Units C_Kelvin = Make_unit(U_Kelvin);
inline constexpr Units C_VoltAmps{false, 0, {{{U_Volt, 1}, {U_Ampere, 1}}}};
inline constexpr Units C_Amps2Ohms{false, 0, {{{U_Ampere, 2}, {U_Ohm, 1}}}};
inline constexpr Units C_Volt2PerOhms{false, 0, {{{U_Volt, 2}, {U_Ohm, -1}}}};

/// The algebra of units. All functions are pure.
class Units_library {
 public:
  /// The unit in canonical arrangement: the leading run of non-empty slots sorted by unit number and merged (a sum of
  /// exponents of 0 drops the slot). A slot behind a gap stays where it is: such a unit is malformed.
  /// Errors   OperationNotValid when a sum of exponents leaves the 32-bit range or a slot names no unit of the table.
  static Units Arrange_tuple(const Units& units);

  /// The same of a unit that is not malformed.
  /// Errors   OperationNotValid, also for a malformed unit.
  static Units Arrange_packed(const Units& units);

  /// True when no non-empty slot follows an empty one.
  static bool Is_packed(const Units& units) noexcept;

  /// Whether two units are the same unit: the arranged slots; with `exact` also base_power and is_dB.
  static bool Compare_units(const Units& a, const Units& b, bool exact);

  /// Whether two units are the same unit and both or neither in decibels; with `exact` also the same base_power.
  static bool Compare_units_DB(const Units& a, const Units& b, bool exact);

  /// True when one unit is the reciprocal of the other (slots alone); false when either is empty.
  static bool Is_Invert_units(const Units& a, const Units& b);

  /// The factor that turns a number in `from` into one in `to`, of the slots alone: base_power does not count.
  /// A factor outside the range of double comes out as 0, infinity or NaN.
  /// Errors   UnitDimensionNotSame; OperationNotValid when a slot names no unit of the table.
  static double Get_conversion_factor(const Units& to, const Units& from);

  /// The base to which base_power applies: 2 for units of information (bits and bytes alone; rates are decimal), else
  /// 10.
  static double Get_unit_base(const Units& units) noexcept;

  /// k of the decibel rules: the product of the exponents of the leading non-empty slots, 1 if there are none.
  static double Decibel_factor(const Units& units) noexcept;
};

/// Units for people: "W", "dBm" for dB of mW, "us", "dB(us)", "V^2/ohm", "10^-4 V", "%", "dB"; empty for C_Empty.
std::string Units_text(const Units& units);

/// The reverse, and forgiving: symbols and English names ("second", "Volt", "volts"), SI prefixes, "^", "*", "." and
/// "/", "dB", "dBm", "dBuV", "dB(us)". An empty text is C_Empty.
/// Errors   std::invalid_argument that names the part of the text that is not understood.
Units Units_from_text(std::string_view text);

}  // namespace Lumenar::Value
