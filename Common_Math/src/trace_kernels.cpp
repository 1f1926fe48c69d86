// SPDX-License-Identifier: Apache-2.0
#include "Common_Math/src/trace_kernels.h"

#include <cmath>
#include <limits>

#include "platform/base/x86_paths.h"

// Plain loops that the compiler vectorises (this file is compiled with -O3), for 256-bit vectors too where the
// processor has them: narrow loads and stores are up to ten times slower when the arrays lie unluckily to each other.
// No __restrict: an operand may be the same array, and the compiler's own overlap test costs nothing per sample.

#define LUMENAR_LOOP __attribute__((always_inline))

namespace Lumenar::Kernels {

namespace {

#if LUMENAR_X86_PATHS
template <class Loop, class... Arguments>
LUMENAR_AVX2 auto RunWide(const Loop& loop, Arguments... arguments) noexcept {
  return loop(arguments...);
}
#endif

/// The loop captures nothing: with -fno-strict-aliasing a captured pointer would be read again for each sample, since
/// the samples written might overlap it.
template <class Loop, class... Arguments>
auto Run(const Loop& loop, Arguments... arguments) noexcept {
#if LUMENAR_X86_PATHS
  if (__builtin_cpu_supports("avx2")) return RunWide(loop, arguments...);
#endif
  return loop(arguments...);
}

bool AreFinite(const float* values, std::size_t count) noexcept {
  return Run(
      [](const float* v, std::size_t n) LUMENAR_LOOP {
        unsigned out_of_range = 0;
        for (std::size_t i = 0; i < n; ++i) {
          out_of_range |= std::fabs(v[i]) <= std::numeric_limits<float>::max() ? 0u : 1u;
        }
        return out_of_range == 0;
      },
      values, count);
}

}  // namespace

void Add(float* values, const float* operand, std::size_t count) noexcept {
  Run(
      [](float* v, const float* o, std::size_t n) LUMENAR_LOOP {
        for (std::size_t i = 0; i < n; ++i) v[i] += o[i];
      },
      values, operand, count);
}

void Subtract(float* values, const float* operand, std::size_t count) noexcept {
  Run(
      [](float* v, const float* o, std::size_t n) LUMENAR_LOOP {
        for (std::size_t i = 0; i < n; ++i) v[i] -= o[i];
      },
      values, operand, count);
}

void Multiply(float* values, float factor, std::size_t count) noexcept {
  Run(
      [](float* v, float f, std::size_t n) LUMENAR_LOOP {
        for (std::size_t i = 0; i < n; ++i) v[i] *= f;
      },
      values, factor, count);
}

void Divide(float* values, float divisor, std::size_t count) noexcept {
  Run(
      [](float* v, float d, std::size_t n) LUMENAR_LOOP {
        for (std::size_t i = 0; i < n; ++i) v[i] /= d;
      },
      values, divisor, count);
}

bool QuotientsAreFinite(const float* values, float divisor, std::size_t count) noexcept {
  // Such a divisor makes nothing larger: the division need not be tried.
  if (std::fabs(divisor) >= 1.0f) return AreFinite(values, count);
  return Run(
      [](const float* v, float d, std::size_t n) LUMENAR_LOOP {
        unsigned out_of_range = 0;
        for (std::size_t i = 0; i < n; ++i) {
          const bool finite = std::fabs(v[i] / d) <= std::numeric_limits<float>::max();
          out_of_range |= finite ? 0u : 1u;
        }
        return out_of_range == 0;
      },
      values, divisor, count);
}

bool NextMean(float* values, const MeanStep& step, std::size_t count) noexcept {
  return Run(
      [](float* v, MeanStep s, std::size_t n) LUMENAR_LOOP {
        unsigned out_of_range = 0;
        for (std::size_t i = 0; i < n; ++i) {
          const float sum = v[i] * s.count_before + s.newest[i];
          v[i] = sum / s.count_after;
          out_of_range |= std::fabs(v[i]) <= std::numeric_limits<float>::max() ? 0u : 1u;
        }
        return out_of_range == 0;
      },
      values, step, count);
}

bool NextMeanWithout(float* values, const MeanStep& step, const float* oldest, std::size_t count) noexcept {
  return Run(
      [](float* v, MeanStep s, const float* old, std::size_t n) LUMENAR_LOOP {
        unsigned out_of_range = 0;
        for (std::size_t i = 0; i < n; ++i) {
          const float sum = v[i] * s.count_before + s.newest[i] - old[i];
          v[i] = sum / s.count_after;
          out_of_range |= std::fabs(v[i]) <= std::numeric_limits<float>::max() ? 0u : 1u;
        }
        return out_of_range == 0;
      },
      values, step, oldest, count);
}

float SumInOrder(float sum, const float* values, std::size_t count) noexcept {
  for (std::size_t i = 0; i < count; ++i) sum += values[i];
  return sum;
}

void RaiseToPositive(float* values, std::size_t count) noexcept {
  Run(
      [](float* v, std::size_t n) LUMENAR_LOOP {
        for (std::size_t i = 0; i < n; ++i) {
          v[i] = v[i] <= 0.0f ? std::numeric_limits<float>::min() : v[i];
        }
      },
      values, count);
}

void HoldPeak(float* values, const float* other, std::size_t count) noexcept {
  Run(
      [](float* v, const float* o, std::size_t n) LUMENAR_LOOP {
        for (std::size_t i = 0; i < n; ++i) v[i] = v[i] < o[i] ? o[i] : v[i];
      },
      values, other, count);
}

void MarkSmaller(const float* left, const float* right, unsigned char* replaced, std::size_t count) noexcept {
  Run(
      [](const float* l, const float* r, unsigned char* mask, std::size_t n) LUMENAR_LOOP {
        for (std::size_t i = 0; i < n; ++i) mask[i] = l[i] < r[i] ? 1 : 0;
      },
      left, right, replaced, count);
}

void Replace(float* values, const float* other, const unsigned char* replaced, std::size_t count) noexcept {
  Run(
      [](float* v, const float* o, const unsigned char* mask, std::size_t n) LUMENAR_LOOP {
        for (std::size_t i = 0; i < n; ++i) v[i] = mask[i] != 0 ? o[i] : v[i];
      },
      values, other, replaced, count);
}

}  // namespace Lumenar::Kernels
