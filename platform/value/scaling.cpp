// SPDX-License-Identifier: Apache-2.0
#include "platform/value/scaling.h"

#include "platform/base/x86_paths.h"

// One plain loop that the compiler vectorises (this file is compiled with -O3). Conversions between float and double
// fill few of a narrow vector's places: the same loop is made for the wide ones, chosen as the decibel kernels choose.

namespace Lumenar::Value {
namespace {

[[gnu::always_inline]] inline void Scale_each(const float* in, float* out, std::size_t count, double first,
                                              double second) noexcept {
  for (std::size_t i = 0; i < count; ++i) {
    const auto once = static_cast<float>(static_cast<double>(in[i]) * first);
    out[i] = static_cast<float>(static_cast<double>(once) * second);
  }
}

#if LUMENAR_X86_PATHS
LUMENAR_AVX2 void Scale_avx2(const float* in, float* out, std::size_t count, double first, double second) noexcept {
  Scale_each(in, out, count, first, second);
}

LUMENAR_AVX512 void Scale_avx512(const float* in, float* out, std::size_t count, double first, double second) noexcept {
  Scale_each(in, out, count, first, second);
}
#endif

}  // namespace

void Detail::Scale(Kernel_path path, const float* in, float* out, std::size_t count, double first,
                   double second) noexcept {
#if LUMENAR_X86_PATHS
  if (path == Kernel_path::avx512) return Scale_avx512(in, out, count, first, second);
  if (path == Kernel_path::avx2) return Scale_avx2(in, out, count, first, second);
#endif
  static_cast<void>(path);
  Scale_each(in, out, count, first, second);
}

void Scale(const float* in, float* out, std::size_t count, double first, double second) noexcept {
  Detail::Scale(Detail::Best_path(), in, out, count, first, second);
}

}  // namespace Lumenar::Value
