// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <functional>
#include <thread>

#include "tests/faults/Traffic.h"

namespace Lumenar::Test {

/// Repeats an action on a thread of its own until it is destroyed. What the action raises as a CORBA exception is what
/// peers that are killed lead to; any other exception is counted as foreign.
class Churn {
 public:
  explicit Churn(std::function<void()> action);
  ~Churn();
  Churn(const Churn&) = delete;
  Churn& operator=(const Churn&) = delete;

  unsigned long Done() const { return done_; }
  unsigned long Refused() const { return refused_; }
  unsigned long Foreign() const { return foreign_; }

 private:
  void Run();

  const std::function<void()> action_;
  std::atomic<bool> ended_{false};
  std::atomic<unsigned long> done_{0}, refused_{0}, foreign_{0};
  std::thread thread_;
};

/// One life of a math object of the given type over topics of its own: created, fed, set, reset, followed, deleted.
void LiveOnce(Testbench& bench, Corvanta::MathFactory::Interfaces_ptr factory, MathType type);

}  // namespace Lumenar::Test
