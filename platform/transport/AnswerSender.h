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
  void Count(const unsigned char* bytes, std::size_t size, std::size_t sent) noexcept;
  bool WaitUntilTaken(int socket, std::size_t size, std::chrono::milliseconds patience);
  void SayWhy(bool is_given_up);

  const Limits limits_;
  const std::function<void()> end_;
  const std::function<std::string()> peer_;
  std::atomic<std::uint64_t> left_{0};  // bytes of the message that is being sent
  std::atomic<bool> fragments_follow_{false};
  std::atomic<bool> is_between_answers_{true};
  std::atomic<bool> is_stuck_{false};
};

}  // namespace Corvanta
