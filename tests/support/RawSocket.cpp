// SPDX-License-Identifier: Apache-2.0
#include "tests/support/RawSocket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace Lumenar::Test {
namespace {

using Clock = std::chrono::steady_clock;

int Connected(int family, const sockaddr* address, socklen_t length) {
  const int connected = socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (connected >= 0 && connect(connected, address, length) == 0) return connected;
  const int error = errno;
  if (connected >= 0) close(connected);
  throw std::system_error(error, std::generic_category(), "connect");
}

int ConnectedToPort(unsigned short port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return Connected(AF_INET, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

int ConnectedToPath(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  return Connected(AF_UNIX, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

}  // namespace

RawSocket::RawSocket(unsigned short port) : socket_(ConnectedToPort(port)) {}

RawSocket::RawSocket(const std::string& path) : socket_(ConnectedToPath(path)) {}

RawSocket::RawSocket(RawSocket&& other) noexcept : socket_(std::exchange(other.socket_, -1)), ended_(other.ended_) {}

RawSocket::~RawSocket() {
  if (socket_ >= 0) close(socket_);
}

bool RawSocket::Send(const std::string& bytes) {
  for (std::size_t sent = 0; sent < bytes.size();) {
    const ssize_t now = send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (now <= 0) return false;
    sent += static_cast<std::size_t>(now);
  }
  return true;
}

std::string RawSocket::Read(Clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
  pollfd ready{socket_, POLLIN, 0};
  if (ended_ || left <= 0 || poll(&ready, 1, static_cast<int>(left)) != 1) return {};
  std::string bytes(65536, '\0');
  const ssize_t size = recv(socket_, bytes.data(), bytes.size(), 0);
  ended_ = size <= 0;
  bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
  return bytes;
}

std::string RawSocket::ReadToEnd(std::chrono::milliseconds limit) {
  std::string all;
  const auto deadline = Clock::now() + limit;
  for (std::string more = Read(deadline); !more.empty(); more = Read(deadline)) all += more;
  return all;
}

std::string RawSocket::ReadUntil(const std::string& text, std::chrono::milliseconds limit) {
  std::string all;
  const auto deadline = Clock::now() + limit;
  while (all.find(text) == std::string::npos) {
    const std::string more = Read(deadline);
    if (more.empty()) break;
    all += more;
  }
  return all;
}

bool RawSocket::IsClosedWithin(std::chrono::milliseconds limit) {
  const auto deadline = Clock::now() + limit;
  while (!Read(deadline).empty()) {}
  return ended_;
}

HttpAnswer HttpAsk(RawSocket socket, const std::string& request) {
  socket.Send(request);
  const std::string all = socket.ReadToEnd();
  HttpAnswer answer;
  if (all.compare(0, 9, "HTTP/1.1 ") != 0) return answer;
  const std::size_t end = std::min(all.find("\r\n\r\n"), all.size());
  answer.status = static_cast<unsigned>(std::strtoul(all.c_str() + 9, nullptr, 10));
  answer.head = all.substr(0, end);
  answer.body = all.substr(std::min(end + 4, all.size()));
  return answer;
}

HttpAnswer HttpGet(unsigned short port, const std::string& target, const std::string& more) {
  return HttpAsk(RawSocket(port), "GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
                                      "\r\nConnection: close\r\n" + more + "\r\n");
}

std::string UpgradeRequest(unsigned short port, const std::string& host, const std::string& more) {
  return "GET /live HTTP/1.1\r\nHost: " + (host.empty() ? "127.0.0.1:" + std::to_string(port) : host) +
         "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"
         "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Protocol: lumenar.1\r\n" +
         more + "\r\n";
}

std::string WebFrameHead(unsigned opcode, unsigned long long size) {
  std::string head(1, static_cast<char>(0x80 | opcode));
  const int bytes = size < 126 ? 0 : size < 65536 ? 2 : 8;
  head += static_cast<char>(0x80 | (bytes == 0 ? size : bytes == 2 ? 126 : 127));
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) head += static_cast<char>(size >> shift & 0xff);
  return head + std::string(4, '\0');
}

}  // namespace Lumenar::Test
