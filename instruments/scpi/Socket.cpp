// SPDX-License-Identifier: Apache-2.0
#include "instruments/scpi/Socket.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>
#include <system_error>

namespace Lumenar::Scpi {
namespace {

std::string WordsFor(int error) { return std::generic_category().message(error); }

/// Whole milliseconds until the deadline, at least 0; rounded up, so that a wait does not end early.
int Remaining_ms(Clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return static_cast<int>(std::clamp<long long>(left, 0, 3'600'000));
}

void SetOption(int descriptor, int level, int option) {
  const int on = 1;
  ::setsockopt(descriptor, level, option, &on, sizeof on);
}

long CountOf(const addrinfo* list) {
  long count = 0;
  for (; list != nullptr; list = list->ai_next) ++count;
  return count;
}

}  // namespace

Socket::Socket(const Address& address, Clock::time_point deadline, const StopSign& stop) : stop_(stop) {
  const SocketAddresses addresses = LookUp(address, deadline, stop);
  int error = ENOENT;
  for (const addrinfo* each = addresses.get(); each != nullptr && error != 0; each = each->ai_next) {
    const auto now = Clock::now();
    error = Connect(*each, now + (deadline - now) / CountOf(each));
  }
  if (error != 0) throw std::runtime_error("no connection (" + WordsFor(error) + ")");
  SetOption(descriptor_.number, IPPROTO_TCP, TCP_NODELAY);
  SetOption(descriptor_.number, SOL_SOCKET, SO_KEEPALIVE);
}

/// 0, or the reason as an errno; leaves no descriptor behind then.
int Socket::Connect(const addrinfo& address, Clock::time_point deadline) {
  descriptor_.Take(::socket(address.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, address.ai_protocol));
  if (descriptor_.number < 0) return errno;
  int error = ::connect(descriptor_.number, address.ai_addr, address.ai_addrlen) == 0 ? 0 : errno;
  if (error == EINPROGRESS) {
    socklen_t size = sizeof error;
    const bool is_decided = WaitFor(For::Writing, deadline);
    if (!is_decided) error = ETIMEDOUT;
    if (is_decided && ::getsockopt(descriptor_.number, SOL_SOCKET, SO_ERROR, &error, &size) != 0) error = errno;
  }
  if (error == 0 && IsConnectedToItself()) error = ECONNREFUSED;
  if (error != 0) descriptor_.Take(-1);
  return error;
}

/// Who tries again and again to reach a port of this machine at which nobody listens meets himself one day: when the
/// system gives him that very port for his own end.
bool Socket::IsConnectedToItself() const {
  sockaddr_storage own{}, other{};
  socklen_t own_size = sizeof own, other_size = sizeof other;
  return ::getsockname(descriptor_.number, reinterpret_cast<sockaddr*>(&own), &own_size) == 0 &&
         ::getpeername(descriptor_.number, reinterpret_cast<sockaddr*>(&other), &other_size) == 0 &&
         own_size == other_size && std::memcmp(&own, &other, own_size) == 0;
}

bool Socket::WaitFor(For what, Clock::time_point deadline) const {
  pollfd waits[] = {{descriptor_.number, static_cast<short>(what == For::Reading ? POLLIN : POLLOUT), 0},
                    {stop_.Descriptor(), POLLIN, 0}};
  int count = 0;
  do {
    count = ::poll(waits, 2, Remaining_ms(deadline));
  } while (count < 0 && errno == EINTR);
  if (count < 0) throw std::runtime_error("no wait for the device (" + WordsFor(errno) + ")");
  if (waits[1].revents != 0) throw Stopped();
  return waits[0].revents != 0;
}

bool Socket::Send(std::string_view bytes, Clock::time_point deadline) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(descriptor_.number, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent > 0) bytes.remove_prefix(static_cast<std::size_t>(sent));
    if (sent < 0 && errno != EAGAIN && errno != EINTR)
      throw std::runtime_error("the connection is lost (" + WordsFor(errno) + ")");
    if (sent < 0 && !WaitFor(For::Writing, deadline)) return false;
  }
  return true;
}

std::size_t Socket::Receive(std::span<char> room, Clock::time_point deadline) {
  while (true) {
    const ssize_t count = ::recv(descriptor_.number, room.data(), room.size(), 0);
    if (count > 0) return static_cast<std::size_t>(count);
    if (count == 0) throw std::runtime_error("it has closed the connection");
    if (errno != EAGAIN && errno != EINTR) throw std::runtime_error("the connection is lost (" + WordsFor(errno) + ")");
    if (!WaitFor(For::Reading, deadline)) return 0;
  }
}

void Socket::Descriptor::Take(int next) noexcept {
  if (number >= 0) ::close(number);
  number = next;
}

}  // namespace Lumenar::Scpi
