// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <stdexcept>

#include "instruments/sim/SimConfig.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/Violation.h"

namespace Lumenar::Fuzz {

void SimItems(Bytes input) {
  try {
    for (const Sim::ItemConfig& item : Sim::ParseItems(TextOf(input))) {
      Require(!item.name.empty(), "an item has a name");
      Require(std::isfinite(item.rate_Hz) && item.rate_Hz >= 0, "a rate is a rate");
      Require(item.points > 0, "a trace has points");
      Require(item.lower <= item.upper, "limits are in order");
      Require(Value::Units_library::Is_packed(item.units), "units are packed");
    }
  } catch (const std::invalid_argument&) {}
}

}  // namespace Lumenar::Fuzz
