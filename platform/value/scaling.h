// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

#include "platform/value/decibel_paths.h"

namespace Lumenar::Value {

/// Each number times one factor and then another: both products in double, both rounded to float. A factor of 1 changes
/// no bit.
/// Shape    any length; `in` and `out` are the same pointer or do not overlap.
/// Threads  pure; the caller owns the arrays.
void Scale(const float* in, float* out, std::size_t count, double first, double second) noexcept;

namespace Detail {

/// The same on one path, which is available.
void Scale(Kernel_path path, const float* in, float* out, std::size_t count, double first, double second) noexcept;

}  // namespace Detail
}  // namespace Lumenar::Value
