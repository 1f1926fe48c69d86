#pragma once

#include <iterator>
#include <list>
#include <type_traits>
#include <utility>

#include "Common_Math/src/MathValueBasicTrace.h"

namespace Lumenar {

/// The mean of the last samples of one input, in linear units.
///
/// There is no running sum: it is rebuilt from the last mean with every sample, and the history is there so that samples
/// can be taken out of the sum again.
/// Threads   none of its own: one thread at a time.
template <class T>
class RunningMean {
 public:
  bool IsEmpty() const { return history_.empty(); }
  int Count() const { return static_cast<int>(history_.size()); }

  /// The newest sample, of a history that is not empty.
  const MathValue<T>& Newest() const { return history_.front(); }

  void Clear() { history_.clear(); }

  /// The first sample of an empty history, which is its own mean.
  void Begin(const MathValue<T>& sample) { history_.push_front(sample); }

  /// From the mean so far to the mean with one more sample, of `size` samples at most; the sample is given up. False,
  /// without a mean, when no sample is left.
  /// Errors   those of the additions and the division: the history keeps what came in before, the mean is to be dropped.
  bool Continue(MathValue<T>& mean, MathValue<T>&& sample, int size) {
    const int count_before = Count();
    history_.push_front(std::move(sample));
    if (IsPlainFor(mean, size)) {
      ContinueInOnePass(mean, count_before, size);
      return true;
    }
    MathValue<T>& sum = mean;
    sum *= count_before;
    sum += Newest();
    while (Count() > size) {
      sum -= history_.back();
      history_.pop_back();
    }
    if (IsEmpty()) return false;
    sum /= Count();
    return true;
  }

 private:
  /// Traces in one linear unit, nearly always: one sample comes, and one leaves or none.
  bool IsPlainFor(const MathValue<T>& mean, int size) const {
    if constexpr (std::is_same_v<T, Corvanta::BASIC_TRACE::BT_DATA>) {
      return size >= 1 && Count() <= size + 1 && mean.CombinesPlainlyWith(Newest()) &&
             (Count() <= size || mean.CombinesPlainlyWith(history_.back()));
    } else {
      return false;
    }
  }

  void ContinueInOnePass(MathValue<T>& mean, int count_before, int size) {
    if constexpr (std::is_same_v<T, Corvanta::BASIC_TRACE::BT_DATA>) {
      std::list<MathValue<T>> leaving;
      if (Count() > size) leaving.splice(leaving.end(), history_, std::prev(history_.end()));
      mean.NextMean(count_before, Newest(), leaving.empty() ? nullptr : &leaving.front(), Count());
    }
  }

  std::list<MathValue<T>> history_;  // linear samples, the newest in front
};

}  // namespace Lumenar
