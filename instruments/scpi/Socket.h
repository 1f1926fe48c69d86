// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "instruments/scpi/Address.h"
#include "instruments/scpi/StopSign.h"

struct addrinfo;

namespace Lumenar::Scpi {

/// A TCP connection to a device. Whatever waits has a deadline and ends when the stop sign is raised; any number of
/// descriptors may be open besides.
/// Errors   std::runtime_error in one line; Stopped.
/// Threads  one.
class Socket {
 public:
  /// Connects to the first of the host's addresses that lets it; each gets its share of the time.
  Socket(const Address& address, Clock::time_point deadline, const StopSign& stop);
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  /// False when the device did not take all of it in time.
  bool Send(std::string_view bytes, Clock::time_point deadline);

  /// How many bytes came, as many as there are and fit; 0 when none came in time.
  /// Errors   also when the device has closed the connection.
  std::size_t Receive(std::span<char> room, Clock::time_point deadline);

 private:
  enum class For { Reading, Writing };

  int Connect(const addrinfo& address, Clock::time_point deadline);
  bool WaitFor(For what, Clock::time_point deadline) const;
  bool IsConnectedToItself() const;

  /// Closed with its owner, also where a constructor throws.
  struct Descriptor {
    Descriptor() = default;
    ~Descriptor() { Take(-1); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    void Take(int next) noexcept;

    int number = -1;
  };

  const StopSign& stop_;
  Descriptor descriptor_;
};

}  // namespace Lumenar::Scpi
