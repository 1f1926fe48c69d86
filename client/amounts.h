// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

namespace Lumenar::Client {

// Amounts in words for people.

/// "1,001".
std::string WithThousands(std::uint64_t number);

/// "20 a second", "6 a minute", "2 an hour".
std::string RateInWords(double per_second);

/// "1 sample", "17 samples".
std::string CountInWords(std::uint64_t count, const std::string& thing);

}  // namespace Lumenar::Client
