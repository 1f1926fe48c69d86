// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>

#include "platform/base/Diagnostic.h"
#include "platform/base/Mutex.h"

namespace Lumenar::Instruments {

/// Lines on standard error about one device, each kind of them at most once a minute, whatever the device does. The next
/// line of a kind says how many came in between.
/// Threads   any.
class Reports {
 public:
  using Clock = std::chrono::steady_clock;
  using Write = std::function<void(const std::string&, Priority)>;

  /// `now` and `write` are the clock's and WriteError, but in tests.
  explicit Reports(Write write = WriteToStandardError, std::function<Clock::time_point()> now = Clock::now);

  /// A line of the kind of all that differ from it in numbers and quotations alone. Whether it was written.
  bool Say(const std::string& line, Priority priority = Priority::Warning) { return Say(line, KindOf(line), priority); }

  /// A line that is a kind of its own.
  bool SayAsItIs(const std::string& line) { return Say(line, line, Priority::Warning); }

 private:
  struct Kind {
    Clock::time_point written;
    unsigned long since = 0;
  };

  bool Say(const std::string& line, const std::string& kind, Priority priority);
  static std::string KindOf(const std::string& line);
  static void WriteToStandardError(const std::string& line, Priority priority) { WriteError(line, priority); }

  const Write write_;
  const std::function<Clock::time_point()> now_;
  Mutex mutex_;
  std::map<std::string, Kind> kinds_ GUARDED_BY(mutex_);
};

}  // namespace Lumenar::Instruments
