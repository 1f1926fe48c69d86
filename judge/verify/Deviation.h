// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "judge/Operation.h"

namespace Lumenar::Judge {

/// Where a recorded result differs from the one that the rules give, and by how much.
struct Deviation {
  std::string field;        ///< the first field that differs: "samples", "value", "plus_err", "units", "length" ...
  std::size_t points = 0;   ///< samples of a trace that differ
  std::size_t first = 0;    ///< of them the first, from 0
  double expected = 0;      ///< there; of fields without a number 0
  double recorded = 0;      ///< there
  std::uint64_t steps = 0;  ///< floating-point numbers from one to the other, in the result's precision
  std::size_t weight = 0;   ///< how much of the value differs: to tell the nearest of several
};

/// Of two values that differ.
Deviation DeviationOf(const Datum& expected, const Datum& recorded);

/// The same in words: "2 of 1001 points differ, first point 17: recorded 1.5, expected 1.25 (3 steps)".
std::string TextOf(const Deviation& deviation);

}  // namespace Lumenar::Judge
