// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "services/topic_manager/Sample.h"

namespace Lumenar {

/// The samples that wait for one subscriber, in order of publication; bounded in number and in bytes. The newest sample
/// always finds a place: the oldest go for it.
/// Threads   the caller's lock.
class SampleQueue {
 public:
  struct Limits {
    std::size_t samples = 1000;
    std::size_t bytes = 64u << 20;
  };

  explicit SampleQueue(Limits limits) : limits_(limits) {}

  /// Samples that had to go are moved to `dropped`, so that the caller frees them outside its lock.
  void Push(SamplePtr sample, std::vector<SamplePtr>& dropped);

  /// The oldest sample, taken out; null when there is none.
  SamplePtr Pop();

  /// Puts back what Pop took. It stays the oldest, so a full queue drops it first.
  void PutBack(SamplePtr sample, std::vector<SamplePtr>& dropped);

  /// The oldest sample; the queue must not be empty.
  const SamplePtr& Front() const { return samples_.front(); }

  bool Empty() const { return samples_.empty(); }
  std::size_t Size() const { return samples_.size(); }
  std::size_t Bytes() const { return bytes_; }

 private:
  void Trim(std::vector<SamplePtr>& dropped);

  Limits limits_;
  std::deque<SamplePtr> samples_;
  std::size_t bytes_ = 0;
};

}  // namespace Lumenar
