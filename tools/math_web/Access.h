// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Lumenar::Web {

/// What a client says of itself and of whom it means; empty where it says nothing.
struct Credentials {
  std::string host;           ///< Host
  std::string origin;         ///< Origin; browsers send it with a WebSocket
  std::string authorization;  ///< Authorization
  std::string protocols;      ///< Sec-WebSocket-Protocol
};

/// Why somebody is turned away.
struct Refusal {
  unsigned status;  ///< of HTTP
  std::string text;
};

/// The sub-protocol of the WebSocket, and what stands before a token that is offered as another one.
inline constexpr std::string_view kSubProtocol = "lumenar.1";
inline constexpr std::string_view kTokenProtocol = "lumenar.token.";

/// The names in a list "a, b, c".
std::vector<std::string_view> ListOf(std::string_view text);

/// Who may ask for what. A page of somewhere else, which a browser here shows, is told by its Origin, and one that
/// reached us by a name of its own for our address by its Host.
/// Threads  pure.
class Access {
 public:
  struct Rules {
    std::vector<std::string> hosts;  ///< that Host may name, "NAME" or "NAME:PORT"; empty: any
    std::string token;               ///< without one nobody needs it
  };

  explicit Access(Rules rules) : rules_(std::move(rules)) {}

  /// For every request: the page itself, which asks for its token later, needs no more.
  std::optional<Refusal> RefuseHost(const Credentials& asked) const;

  /// For /metrics and /healthz.
  std::optional<Refusal> RefuseData(const Credentials& asked) const;

  /// For a WebSocket.
  std::optional<Refusal> RefuseLive(const Credentials& asked) const;

 private:
  bool HasToken(const Credentials& asked) const;

  const Rules rules_;
};

/// The hosts that mean a listening address: itself, and the names of loopback where it is that.
std::vector<std::string> HostsOf(const std::string& address, unsigned short port);

}  // namespace Lumenar::Web
