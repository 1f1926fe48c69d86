#include "Common_Math/src/trace_kernels.h"

#include <cmath>
#include <limits>

// Plain loops that the compiler vectorises (this file is compiled with -O3). No __restrict: an operand may be the same
// array, and the compiler's own overlap test costs nothing per sample.

namespace Lumenar::Kernels {

void Add(float* values, const float* operand, std::size_t count) noexcept {
  for (std::size_t i = 0; i < count; ++i) values[i] += operand[i];
}

void Subtract(float* values, const float* operand, std::size_t count) noexcept {
  for (std::size_t i = 0; i < count; ++i) values[i] -= operand[i];
}

void Multiply(float* values, float factor, std::size_t count) noexcept {
  for (std::size_t i = 0; i < count; ++i) values[i] *= factor;
}

void Divide(float* values, float divisor, std::size_t count) noexcept {
  for (std::size_t i = 0; i < count; ++i) values[i] /= divisor;
}

bool QuotientsAreFinite(const float* values, float divisor, std::size_t count) noexcept {
  unsigned out_of_range = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const bool finite = std::fabs(values[i] / divisor) <= std::numeric_limits<float>::max();
    out_of_range |= finite ? 0u : 1u;
  }
  return out_of_range == 0;
}

float SumInOrder(float sum, const float* values, std::size_t count) noexcept {
  for (std::size_t i = 0; i < count; ++i) sum += values[i];
  return sum;
}

void RaiseToPositive(float* values, std::size_t count) noexcept {
  for (std::size_t i = 0; i < count; ++i) {
    values[i] = values[i] <= 0.0f ? std::numeric_limits<float>::min() : values[i];
  }
}

void HoldPeak(float* values, const float* other, std::size_t count) noexcept {
  for (std::size_t i = 0; i < count; ++i) values[i] = values[i] < other[i] ? other[i] : values[i];
}

void MarkSmaller(const float* left, const float* right, unsigned char* replaced, std::size_t count) noexcept {
  for (std::size_t i = 0; i < count; ++i) replaced[i] = left[i] < right[i] ? 1 : 0;
}

void Replace(float* values, const float* other, const unsigned char* replaced, std::size_t count) noexcept {
  for (std::size_t i = 0; i < count; ++i) values[i] = replaced[i] != 0 ? other[i] : values[i];
}

}  // namespace Lumenar::Kernels
