// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace Lumenar::Sim {

/// The shapes of a simulated signal.
enum class Wave { Constant, Count, Ramp, Sine, Square, Noise };

/// Numbers that describe a simulated signal.
struct WaveForm {
  Wave wave = Wave::Sine;
  double amplitude = 1;
  double offset = 0;
  std::uint32_t period = 100;  ///< points of a cycle; at least 1
  std::uint64_t seed = 0;
};

/// A signal in which every point of every sample is a function of its indices, so that whoever knows the indices knows
/// the value.
///
/// Point i of sample n is  offset + amplitude * w(n, i),  in double, with p = (n + i) mod period and
///   constant  0
///   count     n
///   ramp      p / period
///   sine      sin(2 pi p / period)
///   square    1 where 2 p < period, else -1
///   noise     2 * (h >> 11) / 2^53 - 1, h the 64-bit hash of seed, n and i (see Hash); from -1 to below 1, evenly
/// So a cyclic wave moves by one point from sample to sample. Scalars are points 0.
/// Threads   pure.
class Waveform {
 public:
  explicit Waveform(const WaveForm& form);

  double At(std::uint64_t n, std::uint32_t i) const;

  /// All points of sample n, each rounded to float.
  void Fill(std::uint64_t n, std::span<float> points) const;

  /// mix(mix(mix(seed + g) + n + g) + i + g), g = 0x9e3779b97f4a7c15, all modulo 2^64; mix(z) is: z ^= z >> 30,
  /// z *= 0xbf58476d1ce4e5b9, z ^= z >> 27, z *= 0x94d049bb133111eb, z ^= z >> 31.
  static std::uint64_t Hash(std::uint64_t seed, std::uint64_t n, std::uint64_t i);

 private:
  bool IsCyclic() const;
  double OfPhase(std::uint32_t phase) const;

  WaveForm form_;
  std::vector<double> cycle_;  ///< of a cyclic wave, by phase
};

}  // namespace Lumenar::Sim
