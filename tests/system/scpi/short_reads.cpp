// SPDX-License-Identifier: Apache-2.0
// Put before the system's library (LD_PRELOAD), it lets a socket give but a few bytes at a time, now one and now up to a
// thousand: as networks do when they are busy, and tests on loopback never see.
#include <dlfcn.h>
#include <sys/types.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <iterator>

extern "C" __attribute__((visibility("default"))) ssize_t recv(int socket, void* buffer, std::size_t size, int flags) {
  using Recv = ssize_t (*)(int, void*, std::size_t, int);
  static const auto real = reinterpret_cast<Recv>(dlsym(RTLD_NEXT, "recv"));
  static std::atomic<unsigned> calls{0};
  constexpr std::size_t kSizes[] = {1, 1000, 3, 700, 8, 64, 1, 2};
  return real(socket, buffer, std::min(size, kSizes[calls++ % std::size(kSizes)]), flags);
}
