// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "judge/Operation.h"
#include "judge/Refused.h"

namespace Lumenar::Judge {

/// The largest since the beginning or RESET, of scalars or traces, compared in linear units; in decibels when the held
/// one was. What is held is the published result itself.
template <class V>
class Peak final : public Operation {
 public:
  using Record = typename V::Record;

  /// An object that was at work before: whether a RESET came last, nobody told.
  Peak() = default;

  /// An object that was at work before, with this result; a RESET came last, or not.
  Peak(const Record& result, bool begins) : begins_(begins) { result_ = result; }

  /// A new one. Errors   Refused.
  explicit Peak(const Record& present) : begins_(false) { result_ = V(present).ToRecord(); }

  std::unique_ptr<Operation> Copy() const override { return std::make_unique<Peak>(*this); }

  Outcome Take(std::size_t /*input*/, const Datum& datum) override {
    try {
      V sample(std::get<Record>(datum));
      if (begins_ == true) return Begin(sample);
      if (!begins_ || !result_) {
        begins_ = false;
        return StayUnknown("the peak before");
      }
      return Hold(sample);
    } catch (const Refused& refused) {
      return {Outcome::Nothing, refused.what()};
    }
  }

  /// Nothing is published; the next sample begins a new peak.
  Outcome Reset() override {
    begins_ = true;
    return {Outcome::Nothing, "a RESET of a Peak publishes nothing"};
  }

  std::uint64_t StateDigest() const override {
    const std::uint64_t begins = begins_ ? (*begins_ ? 2 : 1) : 0;
    return Mixed(begins, result_ && begins_ != true ? DigestOf(*result_) : 0);
  }

 private:
  Outcome Begin(const V& sample) {
    begins_ = false;
    return Publish(sample.ToRecord());
  }

  Outcome Hold(V& sample) {
    V held(std::get<Record>(*result_));
    const bool was_dB = held.RemoveDecibels();
    sample.RemoveDecibels();
    held.KeepLarger(sample);
    V peak(held);  // what the comparison left of the samples' units does not come along
    if (was_dB) peak.AddDecibels();
    return Publish(peak.ToRecord());
  }

  std::optional<bool> begins_;  ///< whether the next sample begins a new peak
};

}  // namespace Lumenar::Judge
