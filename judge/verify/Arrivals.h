// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <utility>
#include <variant>

#include "judge/Operation.h"

namespace Lumenar::Judge {

/// Something that came to the recorder: a sample or a result, or a change of an object's settings.
struct Arrival {
  enum What { Sample, Size, Reset };
  What what = Sample;
  std::shared_ptr<const Datum> sample;  ///< of a sample
  int size = 0;                         ///< of a change of SIZE
  std::int64_t time_ns = 0;             ///< since the epoch
  std::int64_t lasted_ns = 0;           ///< of a change: it happened somewhere within
  std::uint64_t place = 0;              ///< in the recording: what came later has a greater one
  std::uint64_t number = 0;             ///< among its like, from 1
};

/// The memory that an arrival takes, near enough for limits.
inline std::size_t BytesOf(const Arrival& arrival) {
  if (arrival.what != Arrival::Sample) return sizeof(Arrival);
  const auto* trace = std::get_if<Corvanta::BASIC_TRACE::BT_DATA>(arrival.sample.get());
  return sizeof(Arrival) + sizeof(Datum) + (trace == nullptr ? 0 : trace->samples.length() * sizeof(float));
}

/// Arrivals of one kind, in order. Numbered from 0; those that nobody needs any more are dropped.
class Arrivals {
 public:
  void Add(Arrival arrival) {
    bytes_ += BytesOf(arrival);
    kept_.push_back(std::move(arrival));
  }

  /// The arrival with this number; null when it has not come yet.
  const Arrival* At(std::size_t index) const {
    return index - dropped_ < kept_.size() ? &kept_[index - dropped_] : nullptr;
  }

  /// The oldest that is not dropped; null when there is none.
  const Arrival* Oldest() const { return kept_.empty() ? nullptr : &kept_.front(); }

  std::size_t Count() const { return dropped_ + kept_.size(); }
  std::size_t Bytes() const { return bytes_; }

  void DropBefore(std::size_t index) {
    for (; dropped_ < index && !kept_.empty(); ++dropped_) {
      bytes_ -= BytesOf(kept_.front());
      kept_.pop_front();
    }
  }

 private:
  std::deque<Arrival> kept_;
  std::size_t dropped_ = 0;
  std::size_t bytes_ = 0;
};

}  // namespace Lumenar::Judge
