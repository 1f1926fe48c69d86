// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/connect_problem.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string_view>

namespace Corvanta {
namespace {

class OpenSocket {
 public:
  explicit OpenSocket(int family) : descriptor_(::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {}
  ~OpenSocket() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  OpenSocket(const OpenSocket&) = delete;
  OpenSocket& operator=(const OpenSocket&) = delete;
  int Descriptor() const { return descriptor_; }

 private:
  const int descriptor_;
};

std::string ErrorWords(int error) {
  std::string words = std::strerror(error);
  words[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(words[0])));
  return words;
}

// Of a connection that is being made.
std::string Outcome(int descriptor, std::chrono::milliseconds limit) {
  pollfd waiting{descriptor, POLLOUT, 0};
  const int ready = ::poll(&waiting, 1, static_cast<int>(limit.count()));
  if (ready == 0) return fmt::format("no answer within {} ms", limit.count());
  int error = 0;
  socklen_t size = sizeof error;
  if (ready < 0 || ::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) != 0) error = errno;
  return error == 0 ? std::string() : ErrorWords(error);
}

std::string Attempt(const sockaddr* address, socklen_t size, std::chrono::milliseconds limit) {
  const OpenSocket attempt(address->sa_family);
  if (attempt.Descriptor() < 0) return ErrorWords(errno);
  if (::connect(attempt.Descriptor(), address, size) == 0) return {};
  if (errno == EINPROGRESS) return Outcome(attempt.Descriptor(), limit);
  if (errno == EAGAIN) return "its queue of connections is full";  // of a socket of this machine
  return ErrorWords(errno);
}

std::string UnixProblem(std::string_view path, std::chrono::milliseconds limit) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return "the path of its socket is too long";
  path.copy(address.sun_path, path.size());
  return Attempt(reinterpret_cast<const sockaddr*>(&address), sizeof address, limit);
}

std::string InternetProblem(std::string host, const std::string& port, std::chrono::milliseconds limit) {
  if (host.size() > 1 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* list = nullptr;
  const int error = ::getaddrinfo(host.c_str(), port.c_str(), &hints, &list);
  if (error != 0) return fmt::format("the host's address is not known: {}", ::gai_strerror(error));
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> addresses(list, &::freeaddrinfo);
  std::string problem;
  for (const addrinfo* each = list; each != nullptr; each = each->ai_next) {
    problem = Attempt(each->ai_addr, each->ai_addrlen, limit);
    if (problem.empty()) break;
  }
  return problem;
}

}  // namespace

std::string ConnectProblem(const std::string& address, std::chrono::milliseconds limit) {
  constexpr std::string_view kUnix = "unix:";
  if (address.rfind(kUnix, 0) == 0) return UnixProblem(std::string_view(address).substr(kUnix.size()), limit);
  const auto colon = address.rfind(':');
  if (colon == std::string::npos) return "it has no address";
  return InternetProblem(address.substr(0, colon), address.substr(colon + 1), limit);
}

}  // namespace Corvanta
