// SPDX-License-Identifier: Apache-2.0
#include "platform/base/TraceMemory.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace Lumenar::Test {
namespace {

/// How many heaps the allocator of the C library has.
std::size_t CountHeaps() {
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* file = open_memstream(&text, &size);
  malloc_info(0, file);
  std::fclose(file);
  const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
  const std::string report = text;
  std::size_t count = 0;
  for (std::size_t at = report.find("<heap "); at != std::string::npos; at = report.find("<heap ", at + 1)) ++count;
  return count;
}

TEST(TraceMemory, TwoProcessorsShareAHeap) {
  KeepTraceMemory();
  const std::size_t heaps = std::max(1u, std::thread::hardware_concurrency() / 2);
  const std::size_t count = 8 * heaps;
  std::latch all_have_memory(static_cast<std::ptrdiff_t>(count));
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < count; ++i) {
    threads.emplace_back([&all_have_memory] {
      const std::vector<char> memory(10000, 'x');
      all_have_memory.arrive_and_wait();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_LE(CountHeaps(), heaps);
}

}  // namespace
}  // namespace Lumenar::Test
