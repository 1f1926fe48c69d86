// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "instruments/scpi/AnswerReader.h"
#include "instruments/scpi/DeviceConfig.h"
#include "instruments/scpi/Socket.h"
#include "instruments/scpi/StopSign.h"

namespace Lumenar::Scpi {

/// One connection to a device, from its beginning to the first thing that goes wrong: a time limit, an answer that can
/// be none, bytes that nobody asked for. After that it must go, since a late answer would be taken for the next one's.
/// Errors   std::runtime_error in one line; Stopped.
/// Threads  one.
class Session {
 public:
  /// Connects. All three outlive this.
  Session(const DeviceConfig& config, const Address& address, const StopSign& stop);

  /// Listens for a moment and drops what comes: devices that greet who connects do so at once.
  void DropGreeting();

  /// Sends a message that has no answer.
  void Tell(const std::string& message);

  /// Sends a question and waits for the whole answer. The first answer of a connection may take first_timeout.
  Answer Ask(const std::string& question, Milliseconds limit);
  Answer Ask(const std::string& question) { return Ask(question, config_.timeout); }

  /// Sends messages one after another; answers are dropped.
  void Send(const std::vector<Message>& messages, Milliseconds limit);

  /// A figure of the file, or the device's answer.
  double ValueOf(const Figure& figure);

  /// Errors   when the device has closed the connection, or says something.
  void RequireSilence();

  /// The message that was sent last, for a report of what went wrong; empty before the first.
  const std::string& LastMessage() const { return last_message_; }

 private:
  void Begin(const std::string& message, Clock::time_point deadline);
  Answer ReadAnswer(Clock::time_point deadline, Milliseconds limit);
  bool IsOnlyLineEnds(std::size_t count) const;

  const DeviceConfig& config_;
  const StopSign& stop_;
  std::vector<char> room_;
  std::string last_message_;
  bool has_answered_ = false;
  Clock::time_point quiet_until_{};
  Socket socket_;
};

}  // namespace Lumenar::Scpi
