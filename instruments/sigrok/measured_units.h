// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "platform/units/Units.h"

namespace Lumenar::Sigrok {

/// A unit of the library, and what its numbers become: number * factor + offset, in `units`.
struct UnitRow {
  int unit;
  Value::Units units;
  double factor;
  double offset;
};

/// A quantity of the library, and what it is called in the names of readings.
struct QuantityRow {
  int quantity;
  std::string_view name;
};

/// A flag of a measurement that tells two readings of one quantity apart, and what it is called in their names.
struct FlagRow {
  int flag;
  std::string_view name;
};

/// The tables, in the library's order; flags in that of the names.
std::span<const UnitRow> UnitRows() noexcept;
std::span<const QuantityRow> QuantityRows() noexcept;
std::span<const FlagRow> FlagRows() noexcept;

/// Null for a unit that is not in the table.
const UnitRow* FindUnitRow(int unit) noexcept;

/// The flags among `flags` that are in the table.
int NamedFlags(int flags) noexcept;

/// What a reading means: what is measured at which channel, and how.
struct Meaning {
  std::string channel;
  int quantity = 0;
  int flags = 0;  ///< NamedFlags

  /// "P1_VOLTAGE_DC": letters, digits and "_" of the channel's name, the quantity, the flags. A quantity that is not in
  /// the table is called by its number.
  std::string ReadingName() const;
  friend auto operator<=>(const Meaning&, const Meaning&) = default;
};

}  // namespace Lumenar::Sigrok
