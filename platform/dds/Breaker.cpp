// SPDX-License-Identifier: Apache-2.0
#include "platform/dds/Breaker.h"

#include <algorithm>

namespace Corvanta {

void Breaker::WentAway(Time now, bool at_once) { next_try_ = at_once ? now : now + kPause; }

bool Breaker::BeginTry(Time now) {
  if (trying_ || now < next_try_) return false;
  BeginUrgentTry(now);
  return true;
}

void Breaker::BeginUrgentTry(Time now) {
  trying_ = true;
  begun_ = now;
}

void Breaker::Failed(Time now) {
  trying_ = false;
  const auto pause = std::clamp<Time::duration>(4 * (now - begun_), kPause, kLongestPause);
  next_try_ = now + pause;
}

void Breaker::CameBack() {
  trying_ = false;
  next_try_ = {};
}

}  // namespace Corvanta
