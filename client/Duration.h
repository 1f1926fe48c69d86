// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

namespace Lumenar::Client {

/// A length of time for people, in the largest unit that leaves a number to be read: "12 ms", "3.4 s", "47 s", "5 min",
/// "3 h", "12 days".
std::string DurationText(std::chrono::duration<double> time);

}  // namespace Lumenar::Client
