// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <vector>

#include "platform/base/Mutex.h"
#include "samples.h"
#include "services/topic_manager/Dispatcher.h"

namespace Lumenar::Test {

/// Blocks those who pass until it opens.
class Gate {
 public:
  void Open() {
    Lock lock(mutex_);
    open_ = true;
    changed_.NotifyAll();
  }
  void Pass() {
    Lock lock(mutex_);
    while (!open_) changed_.Wait(mutex_);
  }
  void Pass(std::chrono::milliseconds limit) {
    const SteadyTime end = std::chrono::steady_clock::now() + limit;
    Lock lock(mutex_);
    while (!open_ && std::chrono::steady_clock::now() < end)
      changed_.WaitFor(mutex_, end - std::chrono::steady_clock::now());
  }

 private:
  Mutex mutex_;
  Condition changed_;
  bool open_ GUARDED_BY(mutex_) = false;
};

/// Keeps the numbers that it gets.
class Recorder : public Subscriber {
 public:
  explicit Recorder(Gate* gate = nullptr) : gate_(gate) {}

  Outcome Deliver(const Corvanta::SampleRecord& sample) override {
    EXPECT_EQ(inside_.fetch_add(1), 0) << "two deliveries at a time";
    ++begun_;
    if (gate_ != nullptr) gate_->Pass();
    Record(ValueOf(sample));
    --inside_;
    return Outcome::Delivered;
  }

  int Begun() const { return begun_; }
  std::vector<int> Values() {
    Lock lock(mutex_);
    return values_;
  }
  bool WaitForCount(std::size_t count) {
    const SteadyTime end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    Lock lock(mutex_);
    while (values_.size() < count && std::chrono::steady_clock::now() < end)
      changed_.WaitFor(mutex_, std::chrono::milliseconds(10));
    return values_.size() >= count;
  }

 private:
  void Record(int value) {
    Lock lock(mutex_);
    values_.push_back(value);
    changed_.NotifyAll();
  }

  Gate* const gate_;
  std::atomic<int> inside_{0};
  std::atomic<int> begun_{0};
  Mutex mutex_;
  Condition changed_;
  std::vector<int> values_ GUARDED_BY(mutex_);
};

using RecorderPtr = boost::shared_ptr<Recorder>;

inline Dispatcher::Limits QuickLimits() {
  Dispatcher::Limits limits;
  limits.idle_limit = std::chrono::milliseconds(50);
  return limits;
}

inline const Dispatcher::OnDropped kIgnore = [](auto&&...) {};

}  // namespace Lumenar::Test
