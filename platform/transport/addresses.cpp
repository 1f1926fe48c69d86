// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/addresses.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>

namespace Corvanta {
namespace {

bool StartsWith(std::string_view text, std::string_view prefix) { return text.substr(0, prefix.size()) == prefix; }

bool IsNumber(std::string_view text, unsigned lowest, unsigned highest) {
  unsigned number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() && number >= lowest && number <= highest;
}

bool IsAddress(int family, std::string_view text) {
  unsigned char address[sizeof(in6_addr)];
  return ::inet_pton(family, std::string(text).c_str(), address) == 1;
}

/// A name, or an IPv4 address. What looks like an address is one: a name of nothing but digits and dots is refused.
bool IsHost(std::string_view text) {
  constexpr std::size_t kLongest = 253;
  const auto is_digit_or_dot = [](char c) { return (c >= '0' && c <= '9') || c == '.'; };
  const auto is_good = [&](char c) {
    return is_digit_or_dot(c) || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' || c == '_';
  };
  if (text.empty() || text.size() > kLongest || !std::all_of(text.begin(), text.end(), is_good)) return false;
  return !std::all_of(text.begin(), text.end(), is_digit_or_dot) || IsAddress(AF_INET, text);
}

struct HostPort {
  std::string_view host;  // without brackets
  std::string_view port;
  bool is_bracketed;
};

std::optional<HostPort> Split(std::string_view text) {
  const auto colon = text.rfind(':');
  if (colon == std::string_view::npos) return std::nullopt;
  HostPort parts{text.substr(0, colon), text.substr(colon + 1), false};
  if (!StartsWith(parts.host, "[")) return parts;
  if (parts.host.back() != ']') return std::nullopt;
  return HostPort{parts.host.substr(1, parts.host.size() - 2), parts.port, true};
}

bool IsHostOf(const HostPort& parts) {
  return parts.is_bracketed ? IsAddress(AF_INET6, parts.host) : IsHost(parts.host);
}

std::string TcpProblem(std::string_view text) {
  const auto parts = Split(text);
  if (!parts || (!parts->host.empty() && !IsHostOf(*parts))) return "is no endpoint: expected giop:tcp:HOST:PORT";
  if (!parts->port.empty() && !IsNumber(parts->port, 1, 65535))
    return "is no endpoint: the port is no number from 1 to 65535";
  return {};
}

struct FreeAddresses {
  void operator()(addrinfo* list) const noexcept { ::freeaddrinfo(list); }
};
using Addresses = std::unique_ptr<addrinfo, FreeAddresses>;

/// Empty and a reason, or addresses.
Addresses Resolve(const std::string& host, const std::string& port, std::string& reason) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_PASSIVE;
  addrinfo* list = nullptr;
  const int error =
      ::getaddrinfo(host.empty() ? nullptr : host.c_str(), port.empty() ? "0" : port.c_str(), &hints, &list);
  if (error == 0) return Addresses(list);
  reason = error == EAI_SYSTEM ? std::strerror(errno) : ::gai_strerror(error);
  return nullptr;
}

/// 0, or the errno of an attempt to bind to the address.
int BindError(const addrinfo& address) {
  const int descriptor = ::socket(address.ai_family, address.ai_socktype | SOCK_CLOEXEC, address.ai_protocol);
  if (descriptor < 0) return errno;
  const int on = 1;
  ::setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  const bool is_bound = ::bind(descriptor, address.ai_addr, address.ai_addrlen) == 0 && ::listen(descriptor, 1) == 0;
  const int error = is_bound ? 0 : errno;
  ::close(descriptor);
  return error;
}

}  // namespace

std::string HostPortProblem(const std::string& text) {
  const auto parts = Split(text);
  if (!parts || !IsHostOf(*parts)) return fmt::format("'{}' is no address: expected HOST:PORT", text);
  if (!IsNumber(parts->port, 1, 65535))
    return fmt::format("'{}' is no address: the port is no number from 1 to 65535", text);
  return {};
}

std::string EndpointProblem(const std::string& text) {
  if (StartsWith(text, kTcpEndpoint)) return TcpProblem(std::string_view(text).substr(kTcpEndpoint.size()));
  if (!StartsWith(text, kUnixEndpoint)) return "is no endpoint: it must begin with giop:tcp: or giop:unix:";
  return text[kUnixEndpoint.size()] == '/' ? std::string() : "is no endpoint: the path must be absolute";
}

std::string PeerProblem(const std::string& text) {
  const auto slash = text.find('/');
  const std::string_view address = std::string_view(text).substr(0, slash);
  const std::string_view mask =
      slash == std::string::npos ? std::string_view() : std::string_view(text).substr(slash + 1);
  if (slash == std::string::npos && (text == "*" || IsHost(address) || IsAddress(AF_INET6, address))) return {};
  if (IsAddress(AF_INET, address) && (IsNumber(mask, 0, 32) || IsAddress(AF_INET, mask))) return {};
  if (IsAddress(AF_INET6, address) && IsNumber(mask, 0, 128)) return {};
  return "is not one address (as 10.0.0.5, 10.0.0.0/24, fd00::/8, a host's name or *)";
}

std::string InterfaceProblem(const std::string& text) {
  return IsAddress(AF_INET, text) ? std::string() : "is no IPv4 address (as 10.0.0.5)";
}

bool HasInterface(const std::string& address) {
  in_addr wanted{};
  ifaddrs* list = nullptr;
  if (::inet_pton(AF_INET, address.c_str(), &wanted) != 1 || ::getifaddrs(&list) != 0) return true;
  bool is_there = false;
  for (const ifaddrs* interface = list; interface != nullptr; interface = interface->ifa_next) {
    if (interface->ifa_addr == nullptr || interface->ifa_addr->sa_family != AF_INET) continue;
    sockaddr_in its_address{};
    std::memcpy(&its_address, interface->ifa_addr, sizeof its_address);
    is_there = is_there || its_address.sin_addr.s_addr == wanted.s_addr;
  }
  ::freeifaddrs(list);
  return is_there;
}

std::string ListenProblem(const std::string& endpoint) {
  if (!StartsWith(endpoint, kTcpEndpoint)) return {};
  const auto parts = Split(std::string_view(endpoint).substr(kTcpEndpoint.size()));
  if (!parts) return {};
  std::string reason;
  const Addresses addresses = Resolve(std::string(parts->host), std::string(parts->port), reason);
  if (!addresses) return reason;
  const int error = BindError(*addresses);
  return error == 0 ? std::string() : std::strerror(error);
}

std::string LookupProblem(const std::string& peer) {
  if (peer == "*" || peer == "localhost" || peer.find('/') != std::string::npos) return {};
  std::string reason;
  Resolve(peer, "", reason);
  return reason;
}

}  // namespace Corvanta
