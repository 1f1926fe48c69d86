// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>

namespace Lumenar::Python {

/// Threads that make the blocking calls of Python's main thread, which meanwhile looks for Ctrl-C, and that end what
/// the garbage collector finds. They never touch Python. As many as there are calls at a time; idle ones are used again.
class CallThreads {
 public:
  /// Runs `work` on one of them. What it throws is forgotten.
  /// Errors   std::system_error when a thread is needed and cannot be had.
  static void Run(std::function<void()> work);

  /// Returns when none has anything to do; false after `limit`.
  static bool WaitUntilIdle(std::chrono::milliseconds limit);

  /// In the child of a fork: there are none.
  static void ForgetAll() noexcept;
};

}  // namespace Lumenar::Python
