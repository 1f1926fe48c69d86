// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "judge/Operation.h"
#include "judge/Refused.h"

namespace Lumenar::Judge {

/// The mean of the last SIZE samples, of scalars or traces, in linear units; in decibels when the newest sample was.
///
/// There is no running sum: it is the published mean times the number of samples. The new sample is added, then each
/// that leaves is subtracted, the oldest first, and the sum divided; each step is rounded.
template <class V>
class Average final : public Operation {
 public:
  using Record = typename V::Record;

  /// An object that was at work before, with samples that nobody told.
  explicit Average(std::optional<int> size) : size_(size), has_unknown_samples_(true) {}

  /// A new one; SIZE is 1. Errors   Refused.
  explicit Average(const Record& present) : size_(1) {
    V sample(present);
    const bool was_dB = sample.RemoveDecibels();
    Begin(sample, was_dB);
  }

  std::unique_ptr<Operation> Copy() const override { return std::make_unique<Average>(*this); }

  Outcome Take(std::size_t /*input*/, const Datum& datum) override {
    try {
      V sample(std::get<Record>(datum));
      const bool was_dB = sample.RemoveDecibels();
      if (newest_first_.empty() && !has_unknown_samples_) return Begin(sample, was_dB);
      return Continue(sample, was_dB);
    } catch (const Refused& refused) {
      return {Outcome::Nothing, refused.what()};
    }
  }

  /// The newest sample as it is held, that is linear, is published, and a new history begins.
  Outcome Reset() override {
    const std::shared_ptr<const Held> newest = newest_first_.empty() ? nullptr : newest_first_.front();
    const bool unknown = newest == nullptr && has_unknown_samples_;
    newest_first_.clear();
    has_unknown_samples_ = false;
    is_full_ = false;
    if (unknown) return StayUnknown("the newest sample before the RESET");
    if (newest == nullptr) return {Outcome::Nothing, "no sample since the RESET before"};
    return Publish(newest->sample.ToRecord());
  }

  void SetSize(int size) override { size_ = size; }
  std::optional<int> Size() const override { return size_; }
  bool IsFull() const override { return is_full_; }

  std::uint64_t StateDigest() const override {
    std::uint64_t digest = Mixed(has_unknown_samples_ ? 1 : 0, static_cast<std::uint64_t>(size_.value_or(0)));
    for (const auto& held : newest_first_) digest = Mixed(digest, held->digest);
    return Mixed(digest, result_ ? DigestOf(*result_) : 0);
  }

 private:
  struct Held {
    explicit Held(const V& linear) : sample(linear), digest(DigestOf(linear.ToRecord())) {}
    V sample;
    std::uint64_t digest;
  };
  using Samples = std::deque<std::shared_ptr<const Held>>;

  /// The first sample is its own mean.
  Outcome Begin(V& sample, bool was_dB) {
    newest_first_.push_front(std::make_shared<const Held>(sample));
    if (was_dB) sample.AddDecibels();
    if (size_ == 1) is_full_ = true;
    return Publish(sample.ToRecord());
  }

  /// A sample that cannot be added is forgotten; one whose mean is not finite has come.
  Outcome Continue(const V& sample, bool was_dB) {
    const bool counted = !has_unknown_samples_;
    const int count_before = static_cast<int>(newest_first_.size());
    std::optional<V> sum;
    if (result_) {
      sum.emplace(std::get<Record>(*result_));
      sum->RemoveDecibels();
      sum->Multiply(counted ? count_before : 1);
      sum->Add(sample);
    }
    newest_first_.push_front(std::make_shared<const Held>(sample));
    const Samples leaving = TakeLeaving();
    if (has_unknown_samples_ || (newest_first_.size() > 1 && !counted))
      return StayUnknown("samples that came before are in the mean");
    if (!sum) return StayUnknown("the mean before");
    return Finish(*sum, leaving, was_dB);
  }

  /// Of one sample the mean is that sample, whatever the mean was before.
  Outcome Finish(V& sum, const Samples& leaving, bool was_dB) {
    const int count = static_cast<int>(newest_first_.size());
    for (const auto& oldest : leaving) sum.Subtract(oldest->sample);
    if (count > 1) sum.Divide(count);
    V mean(count == 1 ? newest_first_.front()->sample : sum);
    if (was_dB) mean.AddDecibels();
    Publish(mean.ToRecord());
    is_full_ = count >= *size_;
    return {Outcome::Published, {}};
  }

  /// What is beyond SIZE, the oldest first. When SIZE samples are known, those that are not are gone.
  Samples TakeLeaving() {
    Samples leaving;
    if (!size_ && newest_first_.size() > kLargestSize) newest_first_.pop_back();  // it has left, whatever SIZE is
    if (!size_ || newest_first_.size() < static_cast<std::size_t>(*size_)) return leaving;
    has_unknown_samples_ = false;
    while (newest_first_.size() > static_cast<std::size_t>(*size_)) {
      leaving.push_back(newest_first_.back());
      newest_first_.pop_back();
    }
    return leaving;
  }

  Samples newest_first_;
  std::optional<int> size_;
  bool has_unknown_samples_ = false;
  bool is_full_ = false;
};

}  // namespace Lumenar::Judge
