// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <chrono>

namespace Lumenar {

using SteadyTime = std::chrono::steady_clock::time_point;

/// A pause that doubles with each failure.
class Backoff {
 public:
  std::chrono::milliseconds Next(std::chrono::milliseconds first, std::chrono::milliseconds longest) {
    pause_ = pause_.count() == 0 ? first : std::min(2 * pause_, longest);
    return pause_;
  }
  void Reset() { pause_ = {}; }

 private:
  std::chrono::milliseconds pause_{0};
};

}  // namespace Lumenar
