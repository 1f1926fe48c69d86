// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>

namespace Lumenar::Judge {

/// What a unit is in the bases of the SI, and in ours: angle, information, samples, logarithmic ratio.
struct UnitRow {
  std::array<int, 11> dimension;  ///< m, kg, s, A, K, cd, rad, bit, sample, mol, Np
  double numerator;               ///< one of it is numerator / denominator of its SI unit
  double denominator;
  bool counts_information;
};

/// The unit of this number; null for 0 and for a number that names none.
const UnitRow* RowOf(std::int32_t unit);

/// The highest number.
std::int32_t LastUnit();

}  // namespace Lumenar::Judge
