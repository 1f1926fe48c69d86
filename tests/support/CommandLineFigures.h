// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Test {

/// What `mathctl list` takes from its start to its end, in seconds: the best of some, since other work on the machine only
/// adds to it.
double SecondsToList(IsolatedPlatform& platform);

/// The same of any command that ends by itself, with an exit code of 0 or 3.
double SecondsOf(IsolatedPlatform& platform, const std::vector<std::string>& words);

/// Processor time of `mathctl top` for each round on a terminal of 80 by 24, in seconds.
double ProcessorSecondsToRedraw(IsolatedPlatform& platform);

}  // namespace Lumenar::Test
