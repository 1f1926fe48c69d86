// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <iterator>
#include <list>
#include <type_traits>
#include <utility>

#include "Common_Math/src/HistoryMemory.h"
#include "Common_Math/src/MathValueBasicTrace.h"

namespace Lumenar {

/// The mean of the last samples of one input, in linear units.
///
/// There is no running sum: it is rebuilt from the last mean with every sample, and the history is there so that
/// samples can be taken out of the sum again. What it holds counts as history memory.
/// Threads   none of its own: one thread at a time, but for CountForOthers.
template <class T>
class RunningMean {
 public:
  bool IsEmpty() const { return history_.empty(); }
  int Count() const { return static_cast<int>(history_.size()); }

  /// The same for any thread.
  int CountForOthers() const noexcept { return count_.load(std::memory_order_relaxed); }

  /// The newest sample, of a history that is not empty.
  const MathValue<T>& Newest() const { return history_.front().value; }

  void Clear() {
    history_.clear();
    TellCount();
  }

  /// The first sample of an empty history, which is its own mean.
  /// Errors   CORBA::IMP_LIMIT when there is no history memory for it; the history stays empty.
  void Begin(const MathValue<T>& sample) {
    history_.emplace_front(sample, 0);
    TellCount();
  }

  /// Whether the mean with one more sample is that sample, and nothing of the mean so far is needed to find out: it
  /// takes the place of the only one, which it could be added to as it stands.
  /// Errors   OperationNotValid for a record with malformed units.
  bool IsReplacedBy(const MathValue<T>& sample, int size) const {
    if constexpr (std::is_same_v<T, Corvanta::BASIC_TRACE::BT_DATA>) {
      return size == 1 && Count() == 1 && Newest().CombinesPlainlyWith(sample);
    } else {
      return false;
    }
  }

  /// Such a sample, which is given up.
  /// Errors   CORBA::IMP_LIMIT without history memory; the history stays as it was.
  void Replace(MathValue<T>&& sample) {
    History entering;
    entering.emplace_front(std::move(sample), BytesThatLeave(1));
    Exchange(entering, 1);
  }

  /// From the mean so far to the mean with one more sample, of `size` samples at most; the sample is given up. The mean
  /// of one sample is that sample, whatever the mean so far was. False, without a mean, when no sample is left.
  /// Errors   those of the additions and the division, and CORBA::IMP_LIMIT without history memory; the mean is to be
  ///          dropped. A sample that is refused leaves the history as it was.
  bool Continue(MathValue<T>& mean, MathValue<T>&& sample, int size) {
    History entering;
    entering.emplace_front(std::move(sample), BytesThatLeave(size));
    if (IsPlainFor(mean, entering.front().value, size)) {
      ContinueInOnePass(mean, entering, size);
      return true;
    }
    MathValue<T>& sum = mean;
    sum *= Count();
    sum += entering.front().value;
    for (const Held& leaving : Exchange(entering, size)) sum -= leaving.value;
    if (IsEmpty()) return false;
    if (Count() == 1) {
      mean = Newest();
    } else {
      sum /= Count();
    }
    return true;
  }

 private:
  struct Held {
    template <class Sample>
    Held(Sample&& sample, std::size_t returned)
        : share(BytesOf(sample), returned), value(std::forward<Sample>(sample)) {}

    HistoryMemory::Share share;
    MathValue<T> value;
  };

  using History = std::list<Held>;

  static std::size_t BytesOf(const MathValue<T>& sample) {
    if constexpr (std::is_same_v<T, Corvanta::BASIC_TRACE::BT_DATA>) {
      return sizeof(Held) + sample.record.samples.length() * sizeof(float);
    } else {
      return sizeof(Held);
    }
  }

  /// What the samples hold that leave when one comes.
  std::size_t BytesThatLeave(int size) const {
    std::size_t bytes = 0;
    int leaving = Count() + 1 - size;
    for (auto oldest = history_.rbegin(); leaving > 0 && oldest != history_.rend(); ++oldest, --leaving)
      bytes += oldest->share.Bytes();
    return bytes;
  }

  /// Traces in one linear unit, nearly always: one sample comes, and one leaves or none.
  bool IsPlainFor(const MathValue<T>& mean, const MathValue<T>& newest, int size) const {
    if constexpr (std::is_same_v<T, Corvanta::BASIC_TRACE::BT_DATA>) {
      return size >= 1 && Count() <= size && mean.CombinesPlainlyWith(newest) &&
             (Count() < size || mean.CombinesPlainlyWith(history_.back().value));
    } else {
      return false;
    }
  }

  void ContinueInOnePass(MathValue<T>& mean, History& entering, int size) {
    if constexpr (std::is_same_v<T, Corvanta::BASIC_TRACE::BT_DATA>) {
      const int count_before = Count();
      const History leaving = Exchange(entering, size);
      if (Count() == 1) {
        mean = Newest();
      } else {
        mean.NextMean(count_before, Newest(), leaving.empty() ? nullptr : &leaving.front().value, Count());
      }
    }
  }

  /// Puts the one sample of `entering` into the history. The samples beyond `size`, which are no longer in it, the
  /// oldest in front.
  History Exchange(History& entering, int size) noexcept {
    history_.splice(history_.begin(), entering);
    History leaving;
    while (Count() > size) leaving.splice(leaving.end(), history_, std::prev(history_.end()));
    TellCount();
    return leaving;
  }

  void TellCount() noexcept { count_.store(Count(), std::memory_order_relaxed); }

  History history_;  // linear samples, the newest in front
  std::atomic<int> count_{0};
};

}  // namespace Lumenar
