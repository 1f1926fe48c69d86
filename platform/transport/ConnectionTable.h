// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <set>

#include "platform/base/Mutex.h"

namespace Corvanta {

/// A connection that a peer opened, as ConnectionTable sees it.
class ServedConnection {
 public:
  using Clock = std::chrono::steady_clock;

  void Heard() noexcept { Note(true); }  ///< something was received
  void Answered() noexcept {             ///< something was sent
    was_answered_ = true;
    Note(false);
  }

  Clock::time_point LastActive() const noexcept { return Clock::time_point(Clock::duration(last_active_)); }

  /// Strangers, who never got as far as an answer; peers at rest; peers with a request under way.
  enum Standing { Stranger, Resting, Waiting };
  Standing Rank() const noexcept { return !was_answered_ ? Stranger : owes_answer_ ? Waiting : Resting; }

  /// Ends the connection so that its peer opens another when it needs one. Called under the table's lock, or by
  /// the connection itself.
  virtual void GiveWay() noexcept = 0;

 protected:
  ServedConnection() { Note(false); }
  ~ServedConnection() = default;

 private:
  void Note(bool owes_answer) noexcept {
    last_active_ = Clock::now().time_since_epoch().count();
    owes_answer_ = owes_answer;
  }

  std::atomic<Clock::rep> last_active_{0};
  std::atomic<bool> owes_answer_{false};
  std::atomic<bool> was_answered_{false};
};

/// The connections that peers opened to this process: never more than a limit. Whoever comes when it is reached is
/// served, and takes the place of another: of a stranger if there is one, else of a peer at rest, else of one with a
/// request under way, in each case the one that has been silent for the longest time. So neither idle connections nor
/// half requests, however many, keep a client out or end the connection of a client that was there before.
/// Threads   any.
class ConnectionTable {
 public:
  explicit ConnectionTable(std::size_t limit) : limit_(limit) {}

  /// Enters a connection; true when another one was made to give way for it.
  bool Enter(ServedConnection& connection);
  void Leave(ServedConnection& connection);

  std::size_t Limit() const noexcept { return limit_; }

 private:
  const std::size_t limit_;
  Lumenar::Mutex mutex_;
  std::set<ServedConnection*> connections_ GUARDED_BY(mutex_);
};

}  // namespace Corvanta
