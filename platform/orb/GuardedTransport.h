#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace Corvanta {

/// The ORB's TCP transport for connections that peers open, with three things that the ORB leaves out: a peer that the
/// configuration does not allow is told of on standard error and closed before a thread is spent on it; there is a limit on
/// connections (see ConnectionTable); and a process without descriptors left goes on accepting and says so, instead of spinning.
///
/// Must live from before ORB_init until after ORB::destroy.
class GuardedTransport {
 public:
  /// At most `max_connections` at a time, and never more than half of the descriptors that the process may have.
  explicit GuardedTransport(std::size_t max_connections);
  ~GuardedTransport();
  GuardedTransport(const GuardedTransport&) = delete;
  GuardedTransport& operator=(const GuardedTransport&) = delete;

  /// An endpoint as given to ORB_init, served by this transport if it is one of TCP.
  static std::string Endpoint(const std::string& endpoint);

  /// From here on the ORB closes its connections: nothing is said of one that nobody served.
  void BeginEnd() noexcept;

  struct Impl;

 private:
  std::unique_ptr<Impl> impl_;
};

}  // namespace Corvanta
