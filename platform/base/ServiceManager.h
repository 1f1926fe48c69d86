// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string_view>

namespace Lumenar {

/// Tells the service manager that started this process about its state, by the manager's notify protocol: a datagram to
/// the socket that the environment variable NOTIFY_SOCKET names, as "READY=1". Does nothing where none is named, as when
/// the process was started by hand.
///
/// A file of our own instead of the manager's library: the protocol is one datagram, and a board without that manager
/// then needs nothing of it.
///
/// A word for which the manager has no room within `patience` is lost: for what is told once, and never again.
/// Threads   any.
void TellServiceManager(std::string_view state, std::chrono::milliseconds patience = {}) noexcept;

/// How soon the service manager wants to hear "WATCHDOG=1" again, lest it restart this process (WATCHDOG_USEC); none when
/// it does not, or asked another process (WATCHDOG_PID).
std::optional<std::chrono::microseconds> WatchdogLimit() noexcept;

}  // namespace Lumenar
