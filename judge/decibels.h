// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>

namespace Lumenar::Judge {

/// How the answers came about. `closest` is the smallest distance of an irrational result from a rounding boundary that
/// MPFR was asked about: the binary logarithm of the distance relative to the result.
struct Tally {
  std::uint64_t by_mpfr = 0;
  double closest = 0;

  void Merge(const Tally& other) noexcept;
};

/// The judges of the decibel kernels: nothing in here comes from them. Extended precision answers where it is 2^-50 or
/// more, relatively, from a boundary between two floats; MPFR with 300 bits answers the rest, and everything where long
/// double has fewer than 64 bits.
float Log10(float x, Tally& tally);
float Linear_to_decibel(float x, double k, Tally& tally);
float Decibel_to_linear(float x, double k, Tally& tally);

/// The same of many floats, whose bits ascend. Logarithm, power and every rounding keep the order of numbers, so where
/// both ends of a stretch without a change of sign have the same result, so has everything between them: judged one by
/// one are both ends of every run of equal results, and next to nothing within.
void Linear_to_decibel(std::span<const float> in, std::span<float> out, double k, Tally& tally);
void Decibel_to_linear(std::span<const float> in, std::span<float> out, double k, Tally& tally);

}  // namespace Lumenar::Judge
