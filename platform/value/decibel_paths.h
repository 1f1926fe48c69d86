// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace Lumenar::Value::Detail {

/// The same source compiled for several instruction sets. All give the same bits; tests and benchmarks name one,
/// everybody else gets the best through decibel_kernels.h.
enum class Kernel_path { baseline, avx2, avx512 };

bool Is_available(Kernel_path path) noexcept;

/// The path that decibel_kernels.h takes on this processor, found once.
Kernel_path Best_path() noexcept;

/// As in decibel_kernels.h, on one path, which is available.
void Linear_to_decibel(Kernel_path path, const float* in, float* out, std::size_t count, double k) noexcept;
void Decibel_to_linear(Kernel_path path, const float* in, float* out, std::size_t count, double k) noexcept;

}  // namespace Lumenar::Value::Detail
