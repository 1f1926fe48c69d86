// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>
#include <time.h>

#include <algorithm>
#include <boost/thread/exceptions.hpp>
#include <boost/thread/mutex.hpp>
#include <chrono>

#include "platform/base/thread_annotations.h"

namespace Lumenar {

/// boost::mutex with lock rules that the compiler checks. Not recursive.
/// Errors   construction throws boost::thread_resource_error.
class CAPABILITY("mutex") Mutex {
 public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void Acquire() ACQUIRE() { mutex_.lock(); }
  void Release() RELEASE() { mutex_.unlock(); }

 private:
  friend class Condition;
  boost::mutex mutex_;
};

/// Holds a Mutex for the length of a block.
class SCOPED_CAPABILITY Lock {
 public:
  explicit Lock(Mutex& mutex) ACQUIRE(mutex) : mutex_(mutex) { mutex_.Acquire(); }
  ~Lock() RELEASE() { mutex_.Release(); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  Mutex& mutex_;
};

/// A condition on data that a Mutex guards. Wakes may be spurious: callers wait in a loop over their condition.
///
/// The system's own condition variable, on the steady clock: boost's takes a second lock at each wait and each
/// notification, for the interruption of threads, which nobody here uses and which costs each hand-over a thread switch
/// more.
/// Errors   construction throws boost::thread_resource_error.
class Condition {
 public:
  Condition() {
    pthread_condattr_t steady;
    int failure = pthread_condattr_init(&steady);
    if (failure == 0) {
      pthread_condattr_setclock(&steady, CLOCK_MONOTONIC);
      failure = pthread_cond_init(&condition_, &steady);
      pthread_condattr_destroy(&steady);
    }
    if (failure != 0) throw boost::thread_resource_error(failure, "no condition variable");
  }
  ~Condition() { pthread_cond_destroy(&condition_); }
  Condition(const Condition&) = delete;
  Condition& operator=(const Condition&) = delete;

  void NotifyOne() noexcept { pthread_cond_signal(&condition_); }
  void NotifyAll() noexcept { pthread_cond_broadcast(&condition_); }

  void Wait(Mutex& mutex) noexcept REQUIRES(mutex) { pthread_cond_wait(&condition_, mutex.mutex_.native_handle()); }

  /// False when `timeout` ran out first.
  bool WaitFor(Mutex& mutex, std::chrono::nanoseconds timeout) noexcept REQUIRES(mutex) {
    constexpr std::chrono::hours kLongest{24 * 365};  // what is to come always fits into the clock
    const std::chrono::nanoseconds pause = std::clamp<std::chrono::nanoseconds>(timeout, {}, kLongest);
    const auto whole = std::chrono::floor<std::chrono::seconds>(pause);
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_sec += static_cast<time_t>(whole.count());
    end.tv_nsec += static_cast<long>((pause - whole).count());
    if (end.tv_nsec >= kSecond) {
      end.tv_nsec -= kSecond;
      ++end.tv_sec;
    }
    return pthread_cond_timedwait(&condition_, mutex.mutex_.native_handle(), &end) == 0;
  }

 private:
  static constexpr long kSecond = 1'000'000'000;  // in nanoseconds

  pthread_cond_t condition_;
};

}  // namespace Lumenar
