// SPDX-License-Identifier: Apache-2.0
#include "platform/units/Units.h"

#include "platform/units/prefixes.h"
#include "platform/units/unit_table.h"

#include <fmt/format.h>

#include <span>

namespace Lumenar::Value {
namespace {

std::string Symbol(Units_list unit) {
  const Unit_row* row = Find_unit(unit);
  if (row == nullptr) {
    return fmt::format("unit{}", static_cast<std::int32_t>(unit));
  }
  return fmt::format("{}{}", row->stem_power == -3 ? "k" : "", row->stem);
}

/// "s^2" for a slot, "s" for exponent 1; the sign of the exponent is shown by the caller.
std::string Factor(const std::string& symbol, std::int64_t exponent) {
  const std::int64_t size = exponent < 0 ? -exponent : exponent;
  return size == 1 ? symbol : fmt::format("{}{}{}", symbol, Pow_sign, size);
}

/// The symbol with the power of the base as its prefix; empty when no prefix stands for that power.
std::string Prefixed_symbol(const Unit_row& row, std::int64_t power, bool binary) {
  if ((row.prefixes == Prefixes::None) || (binary != (row.prefixes == Prefixes::Binary) && binary)) {
    return {};
  }
  const std::int64_t wanted = power - row.stem_power;
  if (wanted == 0) {
    return std::string(row.stem);
  }
  const std::span<const Prefix> prefixes = binary ? std::span<const Prefix>(kBinaryPrefixes) : kDecimalPrefixes;
  for (const Prefix& prefix : prefixes) {
    if (prefix.power == wanted) {
      return fmt::format("{}{}", prefix.symbol, row.stem);
    }
  }
  return {};
}

/// The slots as "V^2*A/ohm"; `front` replaces the symbol of the first slot when it is not empty.
std::string Slots_text(const Units& units, const std::string& front) {
  std::string above;
  std::string below;
  bool first = true;
  for (const Unit_slot& slot : units.slots) {
    if (slot.unit == U_None) {
      continue;
    }
    const std::string factor = Factor(first && !front.empty() ? front : Symbol(slot.unit), slot.exponent);
    first = false;
    if (slot.exponent < 0) {
      below += fmt::format("{}{}", Divide_sign, factor);
    } else {
      above += fmt::format("{}{}", above.empty() ? "" : "*", factor);
    }
  }
  return (above.empty() && !below.empty() ? "1" : above) + below;
}

std::string Linear_text(const Units& units) {
  const bool binary = Units_library::Get_unit_base(units) == 2.0;
  const Unit_slot& first = units.slots[0];
  const Unit_row* row = Find_unit(first.unit);
  if (row != nullptr && first.exponent == 1) {
    const std::string front = Prefixed_symbol(*row, units.base_power, binary);
    if (!front.empty()) {
      return Slots_text(units, front);
    }
  }
  const std::string slots = Slots_text(units, {});
  if (units.base_power == 0) {
    return slots;
  }
  return fmt::format("{}{}{}{}{}", binary ? 2 : 10, Pow_sign, units.base_power, slots.empty() ? "" : " ", slots);
}

}  // namespace

std::string Units_text(const Units& units) {
  const std::string linear = Linear_text(units);
  if (!units.is_dB) {
    return linear;
  }
  for (const Level_name& name : kLevelNames) {
    if (name.unit == linear) {
      return std::string(name.level);
    }
  }
  return linear.empty() ? "dB" : fmt::format("dB({})", linear);
}

}  // namespace Lumenar::Value
