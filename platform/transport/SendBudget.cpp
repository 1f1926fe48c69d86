// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/SendBudget.h"

#include <algorithm>

namespace Corvanta {
namespace {

using Lumenar::Lock;

/// A socket tells its peer of room when a good part of its buffer was read: between, a slow reader seems to take
/// nothing.
constexpr std::chrono::milliseconds kPauseOfReaders{500};
constexpr std::chrono::nanoseconds kLookAgain = std::chrono::milliseconds(50);

}  // namespace

SendBudget& SendBudget::OfProcess() {
  static SendBudget& budget = *new SendBudget(UINT64_MAX, kPauseOfReaders);  // threads that end after main return to it
  return budget;
}

void SendBudget::SetLimit(std::uint64_t bytes) noexcept {
  Lock lock(mutex_);
  limit_ = bytes;
}

std::uint64_t SendBudget::Limit() const noexcept {
  Lock lock(mutex_);
  return limit_;
}

std::uint64_t SendBudget::Taken() const noexcept {
  Lock lock(mutex_);
  return taken_;
}

bool SendBudget::Take(Account& account, std::uint64_t bytes, std::chrono::nanoseconds patience) {
  using Clock = std::chrono::steady_clock;
  Lock lock(mutex_);
  Clear(account);
  if (!Fits(bytes)) {
    const auto end = Clock::now() + patience;
    for (;;) {
      GiveUpOthersFor(bytes);
      if (Fits(bytes)) break;
      const auto left = end - Clock::now();
      if (left <= left.zero()) return false;
      returned_.WaitFor(mutex_, std::min<std::chrono::nanoseconds>(left, kLookAgain));
    }
  }
  Add(account, bytes);
  return true;
}

void SendBudget::Return(Account& account) noexcept {
  Lock lock(mutex_);
  Clear(account);
}

void SendBudget::Add(Account& account, std::uint64_t bytes) noexcept {
  account.bytes += bytes;
  taken_ += bytes;
}

void SendBudget::Clear(Account& account) noexcept {
  if (account.bytes == 0) return;
  taken_ -= account.bytes;
  if (account.is_given_up) coming_back_ -= account.bytes;
  account = {};
  returned_.NotifyAll();
}

bool SendBudget::Fits(std::uint64_t bytes) const noexcept {
  return taken_ == 0 || (bytes <= limit_ && taken_ <= limit_ - bytes);
}

void SendBudget::GiveUpOthersFor(std::uint64_t bytes, const Wait* not_this) noexcept {
  for (Wait* wait : waiting_) {
    const std::uint64_t stays = taken_ - coming_back_;
    if (stays == 0 || (bytes <= limit_ && stays <= limit_ - bytes)) return;
    if (wait == not_this || wait->account_.is_given_up) continue;
    if (std::chrono::steady_clock::now() - wait->began_ < pause_) return;  // those behind it are younger
    wait->account_.is_given_up = true;
    coming_back_ += wait->account_.bytes;
    wait->sender_.GiveUp();
  }
}

SendBudget::Wait::Wait(SendBudget& budget, WaitingSender& sender, Account& account, std::uint64_t bytes)
    : budget_(budget), sender_(sender), account_(account) {
  Lock lock(budget_.mutex_);
  if (bytes > account_.bytes && !account_.is_given_up) budget_.Add(account_, bytes - account_.bytes);
  place_ = budget_.waiting_.insert(budget_.waiting_.end(), this);
  budget_.GiveUpOthersFor(0, this);
}

SendBudget::Wait::~Wait() {
  Lock lock(budget_.mutex_);
  budget_.waiting_.erase(place_);
}

bool SendBudget::Wait::IsGivenUp() const noexcept {
  Lock lock(budget_.mutex_);
  return account_.is_given_up;
}

}  // namespace Corvanta
