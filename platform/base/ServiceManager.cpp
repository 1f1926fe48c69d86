// SPDX-License-Identifier: Apache-2.0
#include "platform/base/ServiceManager.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <string>

namespace Lumenar {
namespace {

/// A whole number above 0 in an environment variable.
std::optional<long long> NumberIn(const char* variable) noexcept {
  const char* const text = std::getenv(variable);
  if (text == nullptr) return {};
  const std::string_view digits = text;
  long long number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc() || end != digits.data() + digits.size() || number <= 0) return {};
  return number;
}

/// The address of a notify socket: a path, or a name without a file where it begins with '@'.
std::optional<sockaddr_un> NotifyAddress(std::string_view name) noexcept {
  sockaddr_un address{};
  if (name.size() < 2 || name.size() >= sizeof address.sun_path || (name[0] != '/' && name[0] != '@')) return {};
  address.sun_family = AF_UNIX;
  name.copy(address.sun_path, name.size());
  if (name[0] == '@') address.sun_path[0] = '\0';
  return address;
}

/// The manager's queue may be full, as when many services start at once.
void Send(int notify, std::string_view state, std::chrono::milliseconds patience) noexcept {
  const auto end = std::chrono::steady_clock::now() + patience;
  while (send(notify, state.data(), state.size(), MSG_NOSIGNAL) < 0 && (errno == EAGAIN || errno == EINTR)) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
    if (left.count() <= 0) return;
    pollfd room{notify, POLLOUT, 0};
    poll(&room, 1, static_cast<int>(left.count()));
  }
}

}  // namespace

void TellServiceManager(std::string_view state, std::chrono::milliseconds patience) noexcept {
  const char* const name = std::getenv("NOTIFY_SOCKET");
  if (name == nullptr) return;
  const auto address = NotifyAddress(name);
  if (!address) return;
  const int notify = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (notify < 0) return;
  const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + std::string_view(name).size());
  if (connect(notify, reinterpret_cast<const sockaddr*>(&*address), length) == 0) Send(notify, state, patience);
  close(notify);
}

std::optional<std::chrono::microseconds> WatchdogLimit() noexcept {
  const auto limit = NumberIn("WATCHDOG_USEC");
  if (!limit || std::getenv("NOTIFY_SOCKET") == nullptr) return {};
  if (std::getenv("WATCHDOG_PID") != nullptr && NumberIn("WATCHDOG_PID") != getpid()) return {};
  return std::chrono::microseconds(*limit);
}

}  // namespace Lumenar
