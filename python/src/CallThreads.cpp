// SPDX-License-Identifier: Apache-2.0
#include "python/src/CallThreads.h"

#include <signal.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace Lumenar::Python {
namespace {

/// Signals are Python's: no thread of ours takes one away from its main thread. For the time of a block.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &former_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &former_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t former_;
};

class Pool {
 public:
  void Run(std::function<void()> work) {
    const std::lock_guard lock(mutex_);
    if (work_.size() >= idle_) {
      const SignalsBlocked blocked;
      std::thread([this] { Serve(); }).detach();
      ++idle_;
    }
    work_.push_back(std::move(work));
    ++unfinished_;
    arrived_.notify_one();
  }

  bool WaitUntilIdle(std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    return finished_.wait_for(lock, limit, [this] { return unfinished_ == 0; });
  }

 private:
  void Serve() {
    for (;;) {
      std::function<void()> work;
      {
        std::unique_lock lock(mutex_);
        arrived_.wait(lock, [this] { return !work_.empty(); });
        work = std::move(work_.front());
        work_.pop_front();
        --idle_;
      }
      try {
        work();
      } catch (...) {  // nobody waits for it any more who could be told
      }
      work = nullptr;  // what it holds goes while it counts as unfinished
      const std::lock_guard lock(mutex_);
      ++idle_;
      --unfinished_;
      finished_.notify_all();
    }
  }

  std::mutex mutex_;
  std::condition_variable arrived_, finished_;
  std::deque<std::function<void()>> work_;
  std::size_t idle_ = 0;        // threads that wait for work, or soon will
  std::size_t unfinished_ = 0;  // that waits or runs
};

/// Never deleted: its threads outlive everything.
std::atomic<Pool*> pool{new Pool};

}  // namespace

void CallThreads::Run(std::function<void()> work) { pool.load()->Run(std::move(work)); }

bool CallThreads::WaitUntilIdle(std::chrono::milliseconds limit) { return pool.load()->WaitUntilIdle(limit); }

void CallThreads::ForgetAll() noexcept { pool = new Pool; }

}  // namespace Lumenar::Python
