#pragma once

#include <boost/chrono/duration.hpp>
#include <boost/thread/condition_variable.hpp>
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
class Condition {
 public:
  void NotifyOne() { condition_.notify_one(); }
  void NotifyAll() { condition_.notify_all(); }

  void Wait(Mutex& mutex) REQUIRES(mutex) {
    boost::unique_lock<boost::mutex> lock(mutex.mutex_, boost::adopt_lock);
    condition_.wait(lock);
    lock.release();
  }

  /// False when `timeout` ran out first.
  bool WaitFor(Mutex& mutex, std::chrono::nanoseconds timeout) REQUIRES(mutex) {
    boost::unique_lock<boost::mutex> lock(mutex.mutex_, boost::adopt_lock);
    const bool notified =
        condition_.wait_for(lock, boost::chrono::nanoseconds(timeout.count())) == boost::cv_status::no_timeout;
    lock.release();
    return notified;
  }

 private:
  boost::condition_variable condition_;
};

}  // namespace Lumenar
