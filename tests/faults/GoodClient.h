// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <thread>

#include "tests/support/RawClient.h"

namespace Lumenar::Test {

/// How long a new client waits for the answer to a harmless request to the factory; more than any limit when it is not
/// answered.
std::chrono::milliseconds ServedIn(const Corvanta::Test::ObjectAddress& factory);

/// A good client that comes again and again while something else goes on.
class GoodClient {
 public:
  explicit GoodClient(const Corvanta::Test::ObjectAddress& factory) : thread_([this, factory] { Run(factory); }) {}
  ~GoodClient() {
    if (thread_.joinable()) Slowest();
  }
  GoodClient(const GoodClient&) = delete;
  GoodClient& operator=(const GoodClient&) = delete;

  /// Ends it; the longest that it had to wait.
  std::chrono::milliseconds Slowest();

 private:
  void Run(const Corvanta::Test::ObjectAddress& factory);

  std::atomic<bool> stop_{false};
  std::chrono::milliseconds slowest_{0};
  std::thread thread_;
};

}  // namespace Lumenar::Test
