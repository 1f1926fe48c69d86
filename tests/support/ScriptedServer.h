// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include "platform/wire/message_head.h"

namespace Corvanta::Test {

/// A server that answers each message as it is told, sense or nonsense, one connection after the other.
class ScriptedServer {
 public:
  struct Answer {
    std::string bytes;
    bool closes = false;  ///< the connection, without a word
  };
  /// `id` of the message, `number` of messages before it.
  using Script = std::function<Answer(const MessageHeader& header, std::uint32_t id, unsigned number)>;

  enum class Transport { Tcp, Unix };

  explicit ScriptedServer(Script script, Transport transport = Transport::Tcp);
  ~ScriptedServer();
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;

  /// Of an object there.
  std::string Reference() const;

  /// The same object as a reference in a message: what an answer that sends its call there carries. Of TCP.
  std::string ReferenceOnTheWire() const;

  unsigned Messages() const { return messages_; }
  unsigned Connections() const { return connections_; }

 private:
  void Listen();
  void ListenOnMachine();
  void Serve();
  void ServeOne(int connection);

  const Script script_;
  const int listener_;
  std::string directory_;  // of its socket, when it has one on this machine alone
  std::uint16_t port_ = 0;
  std::atomic<int> connection_{-1};
  std::atomic<unsigned> messages_{0};
  std::atomic<unsigned> connections_{0};
  std::atomic<bool> ended_{false};
  std::thread thread_;
};

}  // namespace Corvanta::Test
