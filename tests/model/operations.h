// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "tests/model/MathModel.h"

namespace Lumenar::Model {

/// The first computation of an object whose inputs have these values, and the object's state after it. `result` stays
/// the default of its kind when there is nothing to compute.
void Begin(Object& object, const std::vector<Datum>& values);

/// What the object publishes for a sample of its input number `input`; nothing when it publishes nothing.
std::optional<Datum> Update(Object& object, std::size_t input, const Datum& sample);

/// What RESET publishes.
std::optional<Datum> ResetOf(Object& object);

}  // namespace Lumenar::Model
