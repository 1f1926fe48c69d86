// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>

#include "platform/base/Mutex.h"

namespace Corvanta {

/// Says that something was refused: one line for each cause and minute, however often it happens; the next line of a
/// cause tells how many were left out. Remembers a bounded number of causes; those beyond it share one.
/// Threads   any.
class RefusalLog {
 public:
  using Time = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::minutes kPause{1};
  static constexpr std::size_t kMaxCauses = 256;

  /// `write` takes a line; by default standard error.
  explicit RefusalLog(std::function<void(const std::string&)> write = {});

  /// `cause` is what lines are counted by, as the peer's address.
  void Say(const std::string& cause, const std::string& line, Time now = std::chrono::steady_clock::now());

 private:
  struct Cause {
    Time written{};
    unsigned long left_out = 0;
  };

  void ForgetOld(Time now) REQUIRES(mutex_);

  const std::function<void(const std::string&)> write_;
  Lumenar::Mutex mutex_;
  std::map<std::string, Cause> causes_ GUARDED_BY(mutex_);
};

}  // namespace Corvanta
