// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "MathFactory.hh"
#include "platform/base/Mutex.h"

namespace Lumenar {

/// The samples that one math object refused: how many, why the last one was, and what standard error says of it.
///
/// The first sample of each reason is one line on standard error. Some reasons also have a fixed line on standard
/// output for each sample, which does not name the object: for these, the samples that follow are told by one line a
/// minute.
/// Threads   any.
class RefusedSamples {
 public:
  using Time = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::minutes kPause{1};
  static constexpr std::size_t kMaxReasons = 16;  ///< reasons beyond these share one

  /// `write` takes a line; by default standard error.
  explicit RefusedSamples(CORBA::Long id, std::function<void(const std::string&)> write = {});

  /// An input of the object, for the lines, and for clients; in the order of the inputs.
  void AddInput(const std::string& topic);
  std::vector<std::string> Inputs() const;

  /// One sample more. `detail` follows the reason where clients read it; lines tell the reason alone. What there is no
  /// memory for, of words and lines, is left out; the number is always right.
  void Count(const char* reason, bool has_fixed_line, Time now = std::chrono::steady_clock::now(),
             std::string_view detail = {}) noexcept;

  /// Counts the sample that raised the exception which is being handled; the exception's text is the reason, unless a
  /// fixed line was written for this sample, which gives it then.
  void CountException() noexcept;

  Corvanta::MathFactory::RefusalStatus Status() const;

  /// Whether the last sample was refused.
  bool Refusing() const noexcept { return refusing_.load(std::memory_order_relaxed); }

  /// One sample on its way through the object's operation, on this thread. When a fixed line is written meanwhile, the
  /// sample counts as refused, once, when the way ends.
  class OnItsWay {
   public:
    explicit OnItsWay(RefusedSamples& refused) noexcept;
    ~OnItsWay();
    OnItsWay(const OnItsWay&) = delete;
    OnItsWay& operator=(const OnItsWay&) = delete;

    Time Came() const noexcept { return came_; }

   private:
    friend class RefusedSamples;
    static constexpr std::size_t kMostDetail = 63;

    RefusedSamples& refused_;
    const Time came_;
    const char* reason_ = nullptr;
    char detail_[kMostDetail + 1] = {};
    bool counted_ = false;
    OnItsWay* const before_;
  };

  /// A fixed line was written for the sample that is on its way on this thread, if one is. `reason` lasts as long as
  /// the program; a long `detail` is cut off.
  static void NoteFixedLine(const char* reason, std::string_view detail = {}) noexcept;

  /// When the sample came that this thread takes through the object; the present time where it takes none.
  Time TimeOfSample() const noexcept;

 private:
  struct Reason {
    std::string text;
    Time written{};
    unsigned long left_out = 0;
  };

  /// The line that is due, empty when none is.
  std::string LineFor(const char* reason, bool has_fixed_line, Time now) REQUIRES(mutex_);
  Reason* Known(const char* reason) REQUIRES(mutex_);
  std::string Subject() const REQUIRES(mutex_);

  const CORBA::Long id_;
  const std::function<void(const std::string&)> write_;
  mutable Mutex mutex_;  // a leaf
  std::vector<std::string> inputs_ GUARDED_BY(mutex_);
  std::vector<Reason> reasons_ GUARDED_BY(mutex_);
  std::atomic<bool> refusing_{false};
  unsigned long long count_ GUARDED_BY(mutex_) = 0;
  std::string last_ GUARDED_BY(mutex_);
};

/// How often the samples of a math object come and its results go, for reports. Kept on the road of each sample by a
/// few stores, without a lock.
///
/// A result counts as of the time at which the sample came that it was computed for, so that the clock is read once a
/// sample.
/// Threads   any for the samples and for reading; results come one after another.
class SampleFigures {
 public:
  using Time = std::chrono::steady_clock::time_point;
  static constexpr std::size_t kMostInputs = 3;  ///< of one object

  /// Of intervals between results, the mean counts this many alike; from then on a new one counts as one of so many.
  static constexpr std::uint64_t kIntervals = 8;

  struct Counted {
    std::uint64_t number = 0;
    std::uint64_t age_us = 0;  ///< since the last one; 0 before the first
  };

  void SampleCame(std::size_t input, Time now) noexcept { inputs_[input].Count(now); }
  void ResultCame(Time now) noexcept;

  Counted Samples(std::size_t input, Time now) const noexcept { return inputs_[input].At(now); }
  Counted Results(Time now) const noexcept { return results_.At(now); }

  /// The mean interval between results, the later ones counting more; 0 before the second.
  double IntervalMicroseconds() const noexcept { return interval_us_.load(std::memory_order_relaxed); }

 private:
  class Counter {
   public:
    void Count(Time now) noexcept;
    Counted At(Time now) const noexcept;
    Time Last() const noexcept { return last_.load(std::memory_order_relaxed); }

   private:
    std::atomic<Time> last_{Time{}};
    std::atomic<std::uint64_t> number_{0};
  };

  std::array<Counter, kMostInputs> inputs_;
  Counter results_;
  std::atomic<double> interval_us_{0};
};

}  // namespace Lumenar
