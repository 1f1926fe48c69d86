// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "VALUE_UNITS.hh"

/// The rules of units, decibels and operations once more: slow, plain, and on nothing of the engine's but the records
/// of the interface. What an engine computes must come out of here, bit for bit.
namespace Lumenar::Judge {

/// One factor of a unit: the unit's number, as VALUE_UNITS.idl gives it, and its exponent. Number 0 is an empty slot.
struct Slot {
  std::int32_t unit = 0;
  std::int32_t exponent = 0;
  friend bool operator==(const Slot&, const Slot&) = default;
};

using Slots = std::array<Slot, 5>;

/// The unit of a number: base^base_power times the product of the slots; with is_dB, the number is decibels of that.
struct Units {
  bool is_dB = false;
  std::int32_t base_power = 0;
  Slots slots{};
  friend bool operator==(const Units&, const Units&) = default;
};

Units FromRecord(const Corvanta::VALUE_UNITS::Units& record);
Corvanta::VALUE_UNITS::Units ToRecord(const Units& units);

/// The same unit without decibels, and with them.
Units LinearForm(Units units);
Units DecibelForm(Units units);

/// Slots in front of the first empty one.
std::size_t LeadingSlots(const Slots& slots);

/// Whether there is no unit at all: the first slot of an arranged unit is empty.
bool HasNoUnit(const Units& arranged);

/// The one form of a unit: the leading slots sorted by number, a unit once, exponents added, a sum of 0 dropped. What
/// stands behind an empty slot stays there.
/// Errors   Refused NotValid for a number that names no unit, and for a sum beyond 32 bits.
Units Arranged(const Units& units);

/// The same, of a unit that is a value's.
/// Errors   also Refused NotValid when a slot stands behind an empty one.
Units WellFormed(const Units& units);

/// Whether two units are the same unit, whatever their base powers and decibel flags; and in every respect.
bool SameUnit(const Units& a, const Units& b);
bool SameInEveryRespect(const Units& a, const Units& b);

/// Whether the slots of one are those of the other with exponents of the other sign; never of no unit.
bool AreReciprocal(const Slots& a, const Slots& b);

/// k of the decibel rules: the product of the leading slots' exponents; 1 of no unit.
double DecibelFactor(const Units& units);

/// base^(base_power * sign), rounded once: the base is 2 where all factors are bits or bytes, else 10.
double PowerOfBase(const Units& units, int sign);

/// What a number in the unit `from` is to be multiplied by to be one in `to`; of the slots alone. Each unit is an exact
/// quotient of its SI unit; numerators and denominators are multiplied in double, in the order of the units' numbers,
/// powers by squaring, and divided at the end.
/// Errors   Refused NotSame when the dimensions differ.
double ConversionFactor(const Slots& to, const Slots& from);

}  // namespace Lumenar::Judge
