// SPDX-License-Identifier: Apache-2.0
#include "instruments/scpi/SetQueue.h"

#include <algorithm>

namespace Lumenar::Scpi {
namespace {

constexpr std::size_t kMostWaiting = 100;

}  // namespace

bool SetQueue::Add(const std::shared_ptr<Entry>& entry) {
  Lock lock(mutex_);
  if (!is_open_ || waiting_.size() >= kMostWaiting) return false;
  waiting_.push_back(entry);
  return true;
}

SetQueue::Outcome SetQueue::Do(const Wish& wish, std::chrono::nanoseconds limit, const std::function<void()>& wake) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  const auto entry = std::make_shared<Entry>(Entry{wish, std::nullopt});
  if (!Add(entry)) return Outcome::NotConnected;
  wake();
  Lock lock(mutex_);
  while (!entry->outcome) {
    const auto left = deadline - std::chrono::steady_clock::now();
    if (left.count() > 0) {
      changed_.WaitFor(mutex_, left);
      continue;
    }
    waiting_.erase(std::remove(waiting_.begin(), waiting_.end(), entry), waiting_.end());
    return Outcome::TooLate;
  }
  return *entry->outcome;
}

std::optional<SetQueue::Wish> SetQueue::Begin() {
  Lock lock(mutex_);
  if (waiting_.empty()) return std::nullopt;
  under_way_ = waiting_.front();
  waiting_.pop_front();
  return under_way_->wish;
}

void SetQueue::Finish(Outcome outcome) {
  Lock lock(mutex_);
  if (under_way_) under_way_->outcome = outcome;
  under_way_.reset();
  changed_.NotifyAll();
}

void SetQueue::Open() {
  Lock lock(mutex_);
  is_open_ = true;
}

void SetQueue::Close() noexcept {
  Lock lock(mutex_);
  is_open_ = false;
  if (under_way_) under_way_->outcome = Outcome::NotConnected;
  under_way_.reset();
  for (const auto& entry : waiting_) entry->outcome = Outcome::NotConnected;
  waiting_.clear();
  changed_.NotifyAll();
}

}  // namespace Lumenar::Scpi
