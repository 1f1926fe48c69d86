// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>

namespace Lumenar::Kernels {

// The arithmetic of traces on plain samples. All are pure; the caller owns the arrays. A sample's result depends on the
// numbers alone, never on its index, the length or the alignment. Shape: any length, also 0; `operand` is the same
// array or does not overlap.

/// values[i] + operand[i], in place.
void Add(float* values, const float* operand, std::size_t count) noexcept;

/// values[i] - operand[i], in place.
void Subtract(float* values, const float* operand, std::size_t count) noexcept;

/// values[i] * factor, in place; an overflow is the infinity that it is.
void Multiply(float* values, float factor, std::size_t count) noexcept;

/// values[i] / divisor, in place, unchecked: see QuotientsAreFinite.
void Divide(float* values, float divisor, std::size_t count) noexcept;

/// Whether no values[i] / divisor is infinite or NaN.
bool QuotientsAreFinite(const float* values, float divisor, std::size_t count) noexcept;

/// A running mean of traces goes from `count_before` samples to `count_after`, which are 1 or more.
struct MeanStep {
  float count_before;
  const float* newest;
  float count_after;
};

/// (values[i] * count_before + newest[i]) / count_after, in place, each step rounded; false when one is infinite or
/// NaN.
bool NextMean(float* values, const MeanStep& step, std::size_t count) noexcept;

/// The same with a sample that leaves: (values[i] * count_before + newest[i] - oldest[i]) / count_after.
bool NextMeanWithout(float* values, const MeanStep& step, const float* oldest, std::size_t count) noexcept;

/// sum + values[0] + values[1] + ..., in single precision and in this order: the order is part of the result.
float SumInOrder(float sum, const float* values, std::size_t count) noexcept;

/// Every sample that is zero or negative becomes the smallest normal float, so that it has a logarithm; NaN stays.
void RaiseToPositive(float* values, std::size_t count) noexcept;

/// Keeps the larger of the two at each index; equal ones, and any pair with a NaN, keep values[i].
void HoldPeak(float* values, const float* other, std::size_t count) noexcept;

/// replaced[i] is 1 where left[i] < right[i], else 0.
void MarkSmaller(const float* left, const float* right, unsigned char* replaced, std::size_t count) noexcept;

/// values[i] becomes other[i] where replaced[i] is 1.
void Replace(float* values, const float* other, const unsigned char* replaced, std::size_t count) noexcept;

/// So many samples stay in the first-level cache from one step to the next.
inline constexpr std::size_t kBlock = 1024;

/// Calls step(begin, count) for consecutive blocks of a trace: several steps, one after the other, on each.
template <class Step>
void InBlocks(std::size_t length, Step step) {
  for (std::size_t begin = 0; begin < length; begin += kBlock) step(begin, std::min(kBlock, length - begin));
}

}  // namespace Lumenar::Kernels
