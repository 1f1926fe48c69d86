// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "platform/base/Mutex.h"

namespace Lumenar::Web {

class Gateway;

/// Where a server listens, and what its clients may take.
struct ServerSettings {
  std::string address = "127.0.0.1";   ///< of this machine, or a name for one; where `path` is empty
  unsigned short port = 0;             ///< 0: any that is free
  std::string path;                    ///< of a Unix-domain socket
  std::size_t connections = 256;       ///< of any kind, at a time
  std::chrono::seconds handshake{10};  ///< until a request is complete
  std::chrono::seconds idle{60};       ///< without a sign of life
};

/// The largest message of a client, and the largest head of a request of HTTP, in bytes.
inline constexpr std::size_t kLargestMessage = 65536;
inline constexpr std::size_t kLargestHead = 8192;

/// The sockets of a gateway, and the thread that all of them share, which is the gateway's own.
/// Threads  any; Open, Serve and End one after the other.
class Server {
 public:
  explicit Server(ServerSettings settings);
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  /// Listens; nobody is served yet.
  /// Errors   std::runtime_error that says where and why not.
  void Open();

  /// Where it listens: "http://127.0.0.1:8080/", "unix:PATH"; and the port, 0 for a Unix-domain socket.
  std::string Address() const;
  unsigned short Port() const;

  void Serve(Gateway& gateway);

  /// Tells all clients that it ends, waits a moment for them, and ends the thread. The gateway is not used any more
  /// after that.
  void End() noexcept;

  /// Does something on the thread; nothing after End. Threads   any.
  void Post(std::function<void()> deed);

 private:
  struct Impl;
  Mutex mutex_;  // held while something is posted: after End nothing is
  bool ended_ GUARDED_BY(mutex_) = false;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Lumenar::Web
