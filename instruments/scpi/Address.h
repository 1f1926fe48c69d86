// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include "instruments/scpi/StopSign.h"

struct addrinfo;

namespace Lumenar::Scpi {

using Clock = std::chrono::steady_clock;

/// Where a device listens.
struct Address {
  std::string host;  ///< a name or a number, of IPv6 without brackets
  std::string port;

  /// As people write it: "192.0.2.10:5025", "[2001:db8::7]:5025".
  std::string Text() const;
};

/// Reads HOST or HOST:PORT; a number of IPv6 that a port follows stands in brackets. Without a port 5025, which most
/// instruments use.
/// Errors   std::invalid_argument in one line.
Address AddressFromText(std::string_view text);

struct FreeAddresses {
  void operator()(addrinfo* list) const noexcept;
};

/// The socket addresses of a host, the first choice first.
using SocketAddresses = std::unique_ptr<addrinfo, FreeAddresses>;

/// Looks an address up. Numbers are known at once. A name is asked for on a thread of its own, which stays behind for as
/// long as the system takes when the deadline comes first: the system's look-up can be neither limited nor ended.
/// Errors   std::runtime_error; Stopped.
SocketAddresses LookUp(const Address& address, Clock::time_point deadline, const StopSign& stop);

}  // namespace Lumenar::Scpi
