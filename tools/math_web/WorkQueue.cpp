// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/WorkQueue.h"

#include <utility>

namespace Lumenar::Web {

WorkQueue::WorkQueue(unsigned threads, std::size_t most) : most_(most) {
  for (unsigned i = 0; i < threads; ++i) threads_.emplace_back([this] { Run(); });
}

bool WorkQueue::Add(Job job) {
  Lock lock(mutex_);
  if (stopped_ || jobs_.size() >= most_) return false;
  jobs_.push_back(std::move(job));
  changed_.NotifyOne();
  return true;
}

void WorkQueue::Stop() noexcept {
  std::deque<Job> forgotten;  // goes when nobody holds the lock
  {
    Lock lock(mutex_);
    stopped_ = true;
    forgotten.swap(jobs_);
    changed_.NotifyAll();
  }
  for (std::thread& thread : threads_)
    if (thread.joinable()) thread.join();
}

std::size_t WorkQueue::Waiting() const {
  Lock lock(mutex_);
  return jobs_.size();
}

bool WorkQueue::Next(Job& job) {
  Lock lock(mutex_);
  while (jobs_.empty() && !stopped_) changed_.Wait(mutex_);
  if (stopped_) return false;
  job = std::move(jobs_.front());
  jobs_.pop_front();
  return true;
}

void WorkQueue::Run() noexcept {
  for (Job job; Next(job); job = nullptr) job();
}

}  // namespace Lumenar::Web
