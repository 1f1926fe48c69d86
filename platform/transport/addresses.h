// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace Corvanta {

/// What the ORB's endpoints begin with.
inline constexpr std::string_view kTcpEndpoint = "giop:tcp:", kUnixEndpoint = "giop:unix:";

// What is wrong with an address as people write it, in words that go behind the text itself; empty when its form is
// good. Nothing is asked of the network.

/// HOST:PORT, the host a name, an IPv4 address, or an IPv6 address in brackets, the port from 1 to 65535.
std::string HostPortProblem(const std::string& text);

/// giop:tcp:HOST:PORT, where host and port may be empty, or giop:unix:PATH.
std::string EndpointProblem(const std::string& text);

/// A peer that may connect: *, localhost, an address of IPv4 or IPv6 with /BITS or /MASK behind it or without, a host's
/// name.
std::string PeerProblem(const std::string& text);

/// An address of IPv4, by which the transport between machines finds its interface.
std::string InterfaceProblem(const std::string& text);

/// Whether an interface of this machine has an address of IPv4; also when that cannot be found out.
bool HasInterface(const std::string& address);

/// Why this machine cannot listen at an endpoint of good form, or has no address for a peer; empty when it can or has.
/// Both look names up, which may take as long as the system's resolver does.
std::string ListenProblem(const std::string& endpoint);
std::string LookupProblem(const std::string& peer);

}  // namespace Corvanta
