// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "platform/transport/TransportConfig.h"

namespace Corvanta {

/// The ORB's transports over TCP and over Unix-domain sockets, with what the ORB leaves out. Connections that peers
/// open: a peer that the configuration does not allow is told of on standard error and closed before a thread is spent
/// on it; there is a limit on connections (see ConnectionTable); answers that nobody takes are given up (see
/// AnswerSender); and a process without descriptors left goes on accepting and says so, instead of spinning. All
/// connections, also those that this process opens: the ORB sees lawful, whole messages alone (see MessageFraming,
/// OwnConnections).
///
/// Must live from before ORB_init until after ORB::destroy.
class GuardedTransport {
 public:
  /// At most max_server_threads connections at a time, and never more than half of the descriptors that the process may
  /// have.
  explicit GuardedTransport(const TransportConfig& config);
  ~GuardedTransport();
  GuardedTransport(const GuardedTransport&) = delete;
  GuardedTransport& operator=(const GuardedTransport&) = delete;

  /// An endpoint as given to ORB_init, served by this transport if it is one of TCP or a Unix-domain socket.
  static std::string Endpoint(const std::string& endpoint);

  /// From here on the ORB closes its connections: nothing is said of one that nobody served.
  void BeginEnd() noexcept;

  struct Impl;

 private:
  std::unique_ptr<Impl> impl_;
};

}  // namespace Corvanta
