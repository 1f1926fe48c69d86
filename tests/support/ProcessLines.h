// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Test {

/// Waits until a process has written a whole line that `matches`; false after `limit`, or when the process ended
/// without it.
bool WaitForLineThat(Process& process, const std::function<bool(const std::string&)>& matches,
                     std::chrono::milliseconds limit = std::chrono::seconds(10));

}  // namespace Lumenar::Test
