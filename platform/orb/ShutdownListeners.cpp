// SPDX-License-Identifier: Apache-2.0
#include "platform/orb/ShutdownListeners.h"

#include <algorithm>

namespace Corvanta {

long ShutdownListeners::Add(std::function<void()> listener) {
  Lumenar::Lock lock(mutex_);
  listeners_.emplace_back(next_token_, std::move(listener));
  return next_token_++;
}

void ShutdownListeners::Remove(long token) {
  Lumenar::Lock lock(mutex_);
  const auto has_token = [token](const auto& entry) { return entry.first == token; };
  listeners_.erase(std::remove_if(listeners_.begin(), listeners_.end(), has_token), listeners_.end());
  while (running_ == token && runner_ != std::this_thread::get_id()) changed_.Wait(mutex_);
}

bool ShutdownListeners::Run() noexcept {
  {
    Lumenar::Lock lock(mutex_);
    if (began_) return false;
    began_ = true;
    runner_ = std::this_thread::get_id();
  }
  for (;;) {
    std::function<void()> listener;
    {
      Lumenar::Lock lock(mutex_);
      running_ = 0;
      changed_.NotifyAll();
      if (listeners_.empty()) return true;
      running_ = listeners_.back().first;
      listener = std::move(listeners_.back().second);
      listeners_.pop_back();
    }
    listener();  // without the lock: it calls out
  }
}

bool ShutdownListeners::Began() const {
  Lumenar::Lock lock(mutex_);
  return began_;
}

}  // namespace Corvanta
