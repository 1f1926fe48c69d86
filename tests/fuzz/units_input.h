// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/records/Records.h"
#include "tests/fuzz/Input.h"

namespace Lumenar::Fuzz {

/// Units as a peer may send them: mostly known units with small exponents, sometimes any numbers at all.
inline Corvanta::VALUE_UNITS::Units TakeUnits(Input& input) {
  constexpr int kJustAboveTheTable = 33;
  const auto form = input.Take<std::uint8_t>();
  const bool wild = (form & 0xe0) == 0xe0;
  Corvanta::VALUE_UNITS::Units units{};
  units.is_dB = (form & 1) != 0;
  units.base_power = wild ? input.Take<std::int32_t>() : input.Take<std::int8_t>() / 4;
  const int used = wild ? 5 : (form >> 1) % 6;
  for (int i = 0; i < used; ++i) {
    units.slots[i].unit = wild ? input.Take<std::int32_t>() : input.Take<std::uint8_t>() % kJustAboveTheTable;
    units.slots[i].exponent = wild ? input.Take<std::int32_t>() : input.Take<std::int8_t>() / 16;
  }
  return units;
}

}  // namespace Lumenar::Fuzz
