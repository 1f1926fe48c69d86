// SPDX-License-Identifier: Apache-2.0
// A library to be preloaded: counts the large blocks that a process allocates with new and copies with memcpy or
// memmove, in a file that others can read meanwhile.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <new>
#include <string>

#include "tests/system/road/BlockCounts.h"

namespace {

using Lumenar::Test::BlockCounts;
using Copy = void* (*)(void*, const void*, std::size_t);

BlockCounts* counts = nullptr;  // null until the library is set up: blocks of the loader are not counted
std::size_t threshold = 0;
Copy real_memcpy = nullptr;
Copy real_memmove = nullptr;

BlockCounts* MapCounts(const std::string& path) {
  const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (file < 0 || ftruncate(file, sizeof(BlockCounts)) != 0) return nullptr;
  void* memory = mmap(nullptr, sizeof(BlockCounts), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  return memory == MAP_FAILED ? nullptr : static_cast<BlockCounts*>(memory);
}

__attribute__((constructor)) void SetUp() {
  real_memcpy = reinterpret_cast<Copy>(dlsym(RTLD_NEXT, "memcpy"));
  real_memmove = reinterpret_cast<Copy>(dlsym(RTLD_NEXT, "memmove"));
  const char* directory = std::getenv(Lumenar::Test::kCountsDirectory);
  const char* least = std::getenv(Lumenar::Test::kCountsThreshold);
  if (directory == nullptr || least == nullptr) return;
  threshold = std::strtoul(least, nullptr, 10);
  counts = MapCounts(Lumenar::Test::CountsFile(directory, getpid()));
}

/// Before the library is set up, and itself no call of memcpy.
void* CopyByBytes(void* to, const void* from, std::size_t bytes) {
  auto* out = static_cast<volatile char*>(to);
  const auto* in = static_cast<const char*>(from);
  const bool backwards = out > in;
  for (std::size_t i = 0; i < bytes; ++i) {
    const std::size_t at = backwards ? bytes - 1 - i : i;
    out[at] = in[at];
  }
  return to;
}

void CountCopy(std::size_t bytes) {
  if (counts != nullptr && bytes >= threshold) ++counts->copied;
}

void* Allocate(std::size_t bytes) {
  if (counts != nullptr && bytes >= threshold) ++counts->allocated;
  void* memory = std::malloc(bytes == 0 ? 1 : bytes);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

#define EXPORTED __attribute__((visibility("default")))

EXPORTED void* operator new(std::size_t bytes) { return Allocate(bytes); }
EXPORTED void* operator new[](std::size_t bytes) { return Allocate(bytes); }
EXPORTED void operator delete(void* memory) noexcept { std::free(memory); }
EXPORTED void operator delete[](void* memory) noexcept { std::free(memory); }
EXPORTED void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
EXPORTED void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

extern "C" EXPORTED void* memcpy(void* to, const void* from, std::size_t bytes) {
  CountCopy(bytes);
  return (real_memcpy != nullptr ? real_memcpy : CopyByBytes)(to, from, bytes);
}

extern "C" EXPORTED void* memmove(void* to, const void* from, std::size_t bytes) {
  CountCopy(bytes);
  return (real_memmove != nullptr ? real_memmove : CopyByBytes)(to, from, bytes);
}
