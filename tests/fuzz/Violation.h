// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace Lumenar::Fuzz {

/// A rule that does not hold. Of no common exception type, so that no handler of a documented error takes it.
struct Violation {
  std::string rule;
};

/// `rule` says what must hold.
inline void Require(bool holds, const std::string& rule) {
  if (!holds) throw Violation{rule};
}

}  // namespace Lumenar::Fuzz
