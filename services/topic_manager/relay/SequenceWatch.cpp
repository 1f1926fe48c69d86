// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/relay/SequenceWatch.h"

#include <algorithm>

namespace Corvanta {

SequenceWatch::Verdict SequenceWatch::Heard(const Publisher& publisher, std::uint64_t sequence) {
  ++heard_;
  const auto found = publishers_.find(publisher);
  if (found == publishers_.end()) {
    if (publishers_.size() >= kMaxPublishers) ForgetTheQuietest();
    publishers_.emplace(publisher, State{sequence, heard_});
    return {true, 0};
  }
  State& state = found->second;
  state.heard_at = heard_;
  if (sequence <= state.last) return {false, 0};
  const std::uint64_t missing = sequence - state.last - 1;
  state.last = sequence;
  return {true, missing};
}

void SequenceWatch::ForgetTheQuietest() {
  const auto quieter = [](const auto& left, const auto& right) { return left.second.heard_at < right.second.heard_at; };
  publishers_.erase(std::min_element(publishers_.begin(), publishers_.end(), quieter));
}

}  // namespace Corvanta
