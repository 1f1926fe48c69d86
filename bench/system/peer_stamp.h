// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>

/// The moment of sending inside a trace: four floats of 16 bits each, which a float holds exactly. One clock for the
/// whole machine.
inline void StampTrace(float* samples) {
  auto now = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
  for (int i = 0; i < 4; ++i, now >>= 16) samples[i] = static_cast<float>(now & 0xffff);
}

/// Microseconds from the stamp to now.
inline double MicrosecondsSinceStamp(const float* samples) {
  std::uint64_t then = 0;
  for (int i = 3; i >= 0; --i) then = then << 16 | static_cast<std::uint64_t>(samples[i]);
  const auto now = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
  return static_cast<double>(now - then) / 1000;
}
