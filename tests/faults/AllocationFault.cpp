// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/AllocationFault.h"

#include <cstdint>
#include <cstdlib>
#include <new>

// From the linker: where the program's own code begins and ends.
extern "C" const char __executable_start;
extern "C" const char etext;

namespace {

thread_local std::size_t to_go = 0;  // 0: none is to fail
thread_local bool struck = false;

bool IsOwnCode(const void* caller) {
  const auto address = reinterpret_cast<std::uintptr_t>(caller);
  return address >= reinterpret_cast<std::uintptr_t>(&__executable_start) &&
         address < reinterpret_cast<std::uintptr_t>(&etext);
}

void* Allocate(std::size_t bytes, const void* caller) {
  if (to_go > 0 && IsOwnCode(caller) && --to_go == 0) {
    struck = true;
    throw std::bad_alloc();
  }
  void* memory = std::malloc(bytes == 0 ? 1 : bytes);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

#define EXPORTED __attribute__((visibility("default"), noinline))

EXPORTED void* operator new(std::size_t bytes) { return Allocate(bytes, __builtin_return_address(0)); }
EXPORTED void* operator new[](std::size_t bytes) { return Allocate(bytes, __builtin_return_address(0)); }
EXPORTED void operator delete(void* memory) noexcept { std::free(memory); }
EXPORTED void operator delete[](void* memory) noexcept { std::free(memory); }
EXPORTED void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
EXPORTED void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace Lumenar::Test {

AllocationFault::AllocationFault(std::size_t which) noexcept {
  struck = false;
  to_go = which;
}

AllocationFault::~AllocationFault() { to_go = 0; }

bool AllocationFault::HasStruck() const noexcept { return struck; }

}  // namespace Lumenar::Test
