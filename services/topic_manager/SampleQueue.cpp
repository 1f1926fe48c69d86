// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/SampleQueue.h"

#include <utility>

namespace Lumenar {

void SampleQueue::Push(SamplePtr sample, std::vector<SamplePtr>& dropped) {
  bytes_ += SampleBytes(*sample);
  samples_.push_back(std::move(sample));
  Trim(dropped);
}

SamplePtr SampleQueue::Pop() {
  if (samples_.empty()) return nullptr;
  SamplePtr sample = std::move(samples_.front());
  samples_.pop_front();
  bytes_ -= SampleBytes(*sample);
  return sample;
}

void SampleQueue::PutBack(SamplePtr sample, std::vector<SamplePtr>& dropped) {
  bytes_ += SampleBytes(*sample);
  samples_.push_front(std::move(sample));
  Trim(dropped);
}

void SampleQueue::Trim(std::vector<SamplePtr>& dropped) {
  while (samples_.size() > 1 && (samples_.size() > limits_.samples || bytes_ > limits_.bytes)) dropped.push_back(Pop());
}

}  // namespace Lumenar
