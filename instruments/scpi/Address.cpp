// SPDX-License-Identifier: Apache-2.0
#include "instruments/scpi/Address.h"

#include <netdb.h>
#include <sys/socket.h>

#include <cerrno>
#include <charconv>
#include <future>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

namespace Lumenar::Scpi {
namespace {

constexpr const char* kUsualPort = "5025";

[[noreturn]] void RefuseAddress(std::string_view text, const char* why) {
  throw std::invalid_argument("'" + std::string(text) + "' is no address: " + why);
}

bool IsPort(std::string_view text) {
  unsigned port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  return error == std::errc() && end == text.data() + text.size() && port >= 1 && port <= 65535;
}

bool IsHost(std::string_view text) {
  constexpr std::string_view kCharacters =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-_:%";  // "%" before the zone of an IPv6 number
  return !text.empty() && text.size() <= 255 && text.find_first_not_of(kCharacters) == std::string_view::npos;
}

/// What was found, or why nothing was.
struct Found {
  SocketAddresses addresses;
  int error = 0;
  int system_error = 0;
};

Found Ask(const Address& address, int flags) {
  addrinfo wanted{};
  wanted.ai_family = AF_UNSPEC;
  wanted.ai_socktype = SOCK_STREAM;
  wanted.ai_flags = flags | AI_NUMERICSERV;
  addrinfo* list = nullptr;
  const int error = ::getaddrinfo(address.host.c_str(), address.port.c_str(), &wanted, &list);
  return {SocketAddresses(list), error, errno};
}

std::string WhyNot(const Found& found) {
  if (found.error == EAI_SYSTEM) return std::generic_category().message(found.system_error);
  return ::gai_strerror(found.error);
}

Found AskForName(const Address& address, Clock::time_point deadline, const StopSign& stop) {
  constexpr std::chrono::milliseconds kLookForStop{50};
  std::promise<Found> promise;
  std::future<Found> answer = promise.get_future();
  std::thread([address, promise = std::move(promise)]() mutable { promise.set_value(Ask(address, 0)); }).detach();
  while (answer.wait_for(kLookForStop) != std::future_status::ready) {
    if (stop.IsRaised()) throw Stopped();
    if (Clock::now() >= deadline) throw std::runtime_error("looking up the name takes longer than the time limit");
  }
  return answer.get();
}

}  // namespace

std::string Address::Text() const {
  return host.find(':') == std::string::npos ? host + ':' + port : '[' + host + "]:" + port;
}

Address AddressFromText(std::string_view text) {
  Address address{std::string(text), kUsualPort};
  const std::size_t colon = text.rfind(':');
  if (!text.empty() && text.front() == '[') {
    const std::size_t bracket = text.find(']');
    const std::string_view behind = bracket == std::string_view::npos ? text : text.substr(bracket + 1);
    if (bracket == std::string_view::npos || (!behind.empty() && behind.front() != ':'))
      RefuseAddress(text, "expected [HOST]:PORT");
    address.host = text.substr(1, bracket - 1);
    if (!behind.empty()) address.port = behind.substr(1);
  } else if (colon != std::string_view::npos && text.find(':') == colon) {
    address = {std::string(text.substr(0, colon)), std::string(text.substr(colon + 1))};
  }
  if (!IsPort(address.port)) RefuseAddress(text, "the port is no number from 1 to 65535");
  if (!IsHost(address.host)) RefuseAddress(text, "the host is neither a name nor a number");
  return address;
}

void FreeAddresses::operator()(addrinfo* list) const noexcept { ::freeaddrinfo(list); }

SocketAddresses LookUp(const Address& address, Clock::time_point deadline, const StopSign& stop) {
  Found found = Ask(address, AI_NUMERICHOST);
  if (found.error == EAI_NONAME) found = AskForName(address, deadline, stop);
  if (found.error != 0) throw std::runtime_error("the host is not found (" + WhyNot(found) + ")");
  return std::move(found.addresses);
}

}  // namespace Lumenar::Scpi
