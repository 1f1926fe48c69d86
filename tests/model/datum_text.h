// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tests/model/quantities.h"

namespace Lumenar::Model {

/// Bit for bit, save that one NaN is as good as another, and that errors which the model does not know may be any.
bool Same(const Datum& actual, const Datum& expected);

std::string TextOf(const Datum& datum);

}  // namespace Lumenar::Model
