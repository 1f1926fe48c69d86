// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>

#include "services/topic_manager/SampleQueue.h"

namespace Lumenar {

/// The times and numbers by which samples are delivered: see DeliverySchedule.
struct DeliveryLimits {
  SampleQueue::Limits queue;
  std::chrono::milliseconds patience{20};      ///< a delivery that takes longer counts as stuck
  std::size_t stuck_deliveries = 4;            ///< so many stuck at a process hold it
  std::chrono::milliseconds stuck_pause{500};  ///< until a process held so is tried
  std::chrono::milliseconds first_pause{100};
  std::chrono::milliseconds longest_pause{2000};
  std::chrono::milliseconds unreachable_limit{3000};  ///< then an unreachable subscriber is dropped
  std::chrono::milliseconds silence_limit{600000};    ///< then one that does not answer is dropped
  std::size_t group = 8;                         ///< so many subscriptions in one call; more of them leave threads idle
  std::size_t group_bytes = 128u << 10;          ///< and so much to be worked on in it
  std::chrono::milliseconds look_period{60000};  ///< each process is looked at so often; 0: never
  std::size_t looks = 32;                        ///< so many at a time
  std::chrono::milliseconds first_look{100};     ///< the time limit of a look; doubles while nothing answers
  std::chrono::milliseconds longest_look{1000};
  std::size_t tries = 64;         ///< of held processes, at a time
  std::size_t stuck_calls = 128;  ///< from so many on, of all kinds, who has not answered since is looked at first
  std::chrono::milliseconds single_pause{
      1000};  ///< without calls for several, after one that took longer than patience
};

}  // namespace Lumenar
