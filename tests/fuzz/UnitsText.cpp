// SPDX-License-Identifier: Apache-2.0
#include <stdexcept>

#include "platform/units/Units.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/Violation.h"

namespace Lumenar::Fuzz {

void UnitsText(Bytes input) {
  Value::Units units;
  try {
    units = Value::Units_from_text(TextOf(input));
  } catch (const std::invalid_argument&) {
    return;
  }
  Require(Value::Units_library::Is_packed(units), "units read are packed");
  Require(Value::Units_library::Arrange_tuple(units) == units, "units read are arranged");
  const std::string text = Value::Units_text(units);
  Require(Value::Units_from_text(text) == units, "units written are read again as they were: \"" + text + '"');
}

}  // namespace Lumenar::Fuzz
