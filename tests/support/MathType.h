// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Lumenar::Test {

/// The operations by their numbers in TYPE, and their names: both are published and stay as they are.
enum MathType { Subtract, RelativeSubtract, Average, Peak, CumulativeAdd };
inline constexpr const char* kMathTypeNames[] = {"Subtract", "RelativeSubtract", "Average", "Peak", "CumulativeAdd"};

inline constexpr bool HasOneInput(int type) { return type == Average || type == Peak; }
inline constexpr bool HasTwoInputs(int type) { return !HasOneInput(type) && type != CumulativeAdd; }

}  // namespace Lumenar::Test
