// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Bench {

/// What `mathctl list` takes from its start to its end, in seconds: the best of some, since other work on the machine only
/// adds to it.
double SecondsToList(Test::IsolatedPlatform& platform);

/// Processor time of `mathctl top` for each round on a terminal of 80 by 24, in seconds.
double ProcessorSecondsToRedraw(Test::IsolatedPlatform& platform);

}  // namespace Lumenar::Bench
