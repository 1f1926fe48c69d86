// SPDX-License-Identifier: Apache-2.0
#include "platform/base/TraceMemory.h"

#include <malloc.h>

#include <algorithm>
#include <thread>

namespace Lumenar {

void KeepTraceMemory() noexcept {
#ifdef __GLIBC__
  constexpr int kMiB = 1 << 20;
  // A block from the threshold on is mapped by itself and given back when freed. To set it also stops the library from
  // moving it.
  mallopt(M_MMAP_THRESHOLD, sizeof(void*) == 8 ? 16 * kMiB : kMiB / 2);  // half a MiB is the most on 32 bit
  mallopt(M_TRIM_THRESHOLD, 256 * kMiB);
  mallopt(M_TOP_PAD, 4 * kMiB);
  mallopt(M_ARENA_MAX, static_cast<int>(std::max(1u, std::thread::hardware_concurrency() / 2)));
#endif
}

void GiveBackMemory() noexcept {
#ifdef __GLIBC__
  malloc_trim(0);
#endif
}

}  // namespace Lumenar
