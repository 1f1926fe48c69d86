// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "judge/Operation.h"

namespace Lumenar::Model {

/// A value in words.
std::string TextOf(const Judge::Datum& datum);

}  // namespace Lumenar::Model
