// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/transport/RefusalLog.h"
#include "platform/transport/SendBudget.h"

namespace Corvanta {

/// What a peer that opened a connection is owed, and when it was last heard of.
/// Threads   any.
class PeerStanding {
 public:
  using Clock = std::chrono::steady_clock;

  PeerStanding() { Note(false); }

  void Heard() noexcept { Note(true); }  ///< something was received
  void Answered() noexcept {             ///< something was sent
    was_answered_ = true;
    Note(false);
  }

  Clock::time_point LastActive() const noexcept { return Clock::time_point(Clock::duration(last_active_)); }

  /// Strangers, who never got as far as an answer; peers at rest; peers with a request under way.
  enum Kind { Stranger, Resting, Waiting };
  Kind Rank() const noexcept { return !was_answered_ ? Stranger : owes_answer_ ? Waiting : Resting; }

 private:
  void Note(bool owes_answer) noexcept {
    last_active_ = Clock::now().time_since_epoch().count();
    owes_answer_ = owes_answer;
  }

  std::atomic<Clock::rep> last_active_{0};
  std::atomic<bool> owes_answer_{false};
  std::atomic<bool> was_answered_{false};
};

/// Sends answers over one connection for as long as its peer takes them. A peer that takes nothing for a time, or whose
/// answer holds memory that others need (SendBudget), is given up, with one line a minute.
/// Threads   Send: one at a time, but for the farewell that the ORB sends when it ends, which may come beside an answer;
///           what is counted of that answer does not matter any more. All else: any.
class AnswerSender final : public WaitingSender {
 public:
  struct Limits {
    std::chrono::milliseconds timeout;  ///< of a peer that takes nothing
    SendBudget& budget;
    RefusalLog& log;
  };

  /// `end` ends the connection, from any thread; `peer` says whose it is.
  AnswerSender(const Limits& limits, std::function<void()> end, std::function<std::string()> peer)
      : limits_(limits), end_(std::move(end)), peer_(std::move(peer)) {}

  /// Something came from the peer.
  void Heard() noexcept { standing_.Heard(); }

  const PeerStanding& Standing() const noexcept { return standing_; }

  /// Sends some of the bytes, at the latest within `patience`; how many, or -1 when the connection is to end.
  int Send(int socket, const void* bytes, std::size_t size,
           std::chrono::milliseconds patience = std::chrono::milliseconds::max());

  /// Whether what was sent last ends an answer.
  bool IsBetweenAnswers() const noexcept { return is_between_answers_; }

  /// Returns once the peer takes what it was sent: nothing is read from a peer meanwhile that would ask for more.
  void WaitWhileStuck() const noexcept {
    if (is_stuck_) is_stuck_.wait(true);
  }

  void GiveUp() noexcept override { end_(); }

 private:
  int SendSome(int socket, const void* bytes, std::size_t size, std::chrono::milliseconds patience);
  void Count(const unsigned char* bytes, std::size_t size, std::size_t sent) noexcept;
  bool WaitUntilTaken(int socket, std::size_t size, std::chrono::milliseconds patience);
  void SayWhy(bool is_given_up);

  PeerStanding standing_;
  const Limits limits_;
  const std::function<void()> end_;
  const std::function<std::string()> peer_;
  std::atomic<std::uint64_t> left_{0};  // bytes of the message that is being sent
  std::atomic<bool> fragments_follow_{false};
  std::atomic<bool> is_between_answers_{true};
  std::atomic<bool> is_stuck_{false};
};

}  // namespace Corvanta
