// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <list>

#include "platform/base/Mutex.h"

namespace Corvanta {

/// A connection that waits until its peer takes what it asked for.
class WaitingSender {
 public:
  /// Ends the connection, so that the wait ends. Called under the budget's lock.
  virtual void GiveUp() noexcept = 0;

 protected:
  ~WaitingSender() = default;
};

/// The memory of answers that are built or sent, in bytes over all connections, under one limit. When an answer does
/// not fit beside the others, connections whose peers do not read are given up for it, those first that took nothing
/// for the longest time; when there are none, it waits until others have been sent. A peer that took something a moment
/// ago is never given up, since one that reads slowly pauses, too.
/// Threads   any.
class SendBudget {
 public:
  /// What one answer holds.
  class Account {
    friend class SendBudget;
    std::uint64_t bytes = 0;
    bool is_given_up = false;  // its connection was ended; its bytes come back
  };

  /// `pause`: for so long a peer may take nothing and still counts as one that reads.
  explicit SendBudget(std::uint64_t limit_bytes, std::chrono::milliseconds pause = {})
      : pause_(pause), limit_(limit_bytes) {}
  SendBudget(const SendBudget&) = delete;
  SendBudget& operator=(const SendBudget&) = delete;

  /// The budget that all answers of this process share.
  static SendBudget& OfProcess();

  void SetLimit(std::uint64_t bytes) noexcept;
  std::uint64_t Limit() const noexcept;
  std::uint64_t Taken() const noexcept;

  /// Takes `bytes` for an answer instead of what its account has, once they fit; one that is larger than the limit fits
  /// when it is alone. False after `patience`, with the account empty.
  bool Take(Account& account, std::uint64_t bytes, std::chrono::nanoseconds patience);

  /// Gives back what the account has. An answer that was sent, or that will not be.
  void Return(Account& account) noexcept;

  /// While it exists, a connection waits for its peer; `account` is of the answer that it sends, of which at least
  /// `bytes` are left.
  class Wait {
   public:
    Wait(SendBudget& budget, WaitingSender& sender, Account& account, std::uint64_t bytes);
    ~Wait();
    Wait(const Wait&) = delete;
    Wait& operator=(const Wait&) = delete;

    /// Whether it was given up for others.
    bool IsGivenUp() const noexcept;

   private:
    friend class SendBudget;
    SendBudget& budget_;
    WaitingSender& sender_;
    Account& account_;
    const std::chrono::steady_clock::time_point began_ = std::chrono::steady_clock::now();
    std::list<Wait*>::iterator place_;
  };

 private:
  void Add(Account& account, std::uint64_t bytes) noexcept REQUIRES(mutex_);
  void Clear(Account& account) noexcept REQUIRES(mutex_);
  bool Fits(std::uint64_t bytes) const noexcept REQUIRES(mutex_);
  void GiveUpOthersFor(std::uint64_t bytes, const Wait* not_this = nullptr) noexcept REQUIRES(mutex_);

  const std::chrono::milliseconds pause_;
  mutable Lumenar::Mutex mutex_;
  Lumenar::Condition returned_;
  std::uint64_t limit_ GUARDED_BY(mutex_);
  std::uint64_t taken_ GUARDED_BY(mutex_) = 0;
  std::uint64_t coming_back_ GUARDED_BY(mutex_) = 0;  // of what is taken: of those that were given up
  std::list<Wait*> waiting_ GUARDED_BY(mutex_);       // the longest first
};

}  // namespace Corvanta
