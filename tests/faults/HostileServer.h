// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <thread>
#include <vector>

#include "platform/base/Mutex.h"

namespace Lumenar::Test {

/// A server that answers each request in a way of its own, on any number of connections at once.
class HostileServer {
 public:
  /// One request, and the way back.
  class Call {
   public:
    Call(int socket, std::uint32_t request_id, const HostileServer& owner)
        : id(request_id), server(owner), socket_(socket) {}

    /// False when the other side has had enough.
    bool Send(const std::string& bytes);

    const std::uint32_t id;
    const HostileServer& server;

   private:
    int socket_;
  };

  /// Whether the connection goes on.
  using Script = std::function<bool(Call&)>;

  struct Behaviour {
    std::string name;
    Script script;
  };

  /// `port`: 0 for any that is free.
  explicit HostileServer(Script script, std::uint16_t port = 0);
  ~HostileServer();
  HostileServer(const HostileServer&) = delete;
  HostileServer& operator=(const HostileServer&) = delete;

  /// Of an object there, as text and as it stands on the wire.
  std::string Reference() const;
  std::string ReferenceOnTheWire() const;
  std::string Address() const { return "127.0.0.1:" + std::to_string(port_); }
  unsigned long Requests() const { return requests_; }
  bool IsEnded() const { return ended_; }

 private:
  void Accept();
  void Serve(int socket);

  const Script script_;
  int listener_;
  std::uint16_t port_;
  std::atomic<bool> ended_{false};
  std::atomic<unsigned long> requests_{0};
  Mutex mutex_;
  std::vector<int> sockets_ GUARDED_BY(mutex_);
  std::list<std::thread> threads_;  // the accepting thread's own until it has ended
  std::thread acceptor_;
};

/// What a server can do to a call that no good one does.
std::vector<HostileServer::Behaviour> HostileAnswers();

}  // namespace Lumenar::Test
