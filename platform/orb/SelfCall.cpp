// SPDX-License-Identifier: Apache-2.0
#include "platform/orb/SelfCall.h"

#include <netdb.h>
#include <omniORB4/internal/objectAdapter.h>
#include <omniORB4/internal/omniIdentity.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <bit>
#include <cerrno>
#include <cstdint>
#include <iterator>
#include <memory>
#include <new>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace Corvanta {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::string_view kTcp = "giop:tcp:";
constexpr std::string_view kUnix = "giop:unix:";
constexpr std::size_t kHeaderBytes = 12;
constexpr std::uint8_t kRequestKind = 0;
constexpr std::uint8_t kReplyKind = 1;

template <class Number>
void Append(std::string& bytes, Number number) {
  bytes.append((sizeof number - bytes.size() % sizeof number) % sizeof number, '\0');
  bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

/// A request of GIOP 1.2 in this machine's byte order, without arguments: "_non_existent" of an object.
std::string RequestTo(const std::string& key) {
  constexpr std::string_view kOperation = "_non_existent";
  constexpr bool kLittle = std::endian::native == std::endian::little;
  std::string message{'G', 'I', 'O', 'P', 1, 2, kLittle ? '\1' : '\0', kRequestKind, 0, 0, 0, 0};
  Append(message, std::uint32_t{1});   // its number
  message += std::string{3, 0, 0, 0};  // an answer is expected
  Append(message, std::uint16_t{0});   // the target is named by its key
  Append(message, static_cast<std::uint32_t>(key.size()));
  message += key;
  Append(message, static_cast<std::uint32_t>(kOperation.size() + 1));
  message += std::string(kOperation) + '\0';
  Append(message, std::uint32_t{0});  // no contexts
  const auto size = static_cast<std::uint32_t>(message.size() - kHeaderBytes);
  message.replace(kHeaderBytes - sizeof size, sizeof size, reinterpret_cast<const char*>(&size), sizeof size);
  return message;
}

std::string KeyOf(CORBA::Object_ptr object) {
  const omni_tracedmutex_lock lock(*omni::internalLock);
  const omniIdentity* identity = object->_PR_getobj()->_identity();
  return std::string(reinterpret_cast<const char*>(identity->key()), static_cast<std::size_t>(identity->keysize()));
}

std::string UnixAddress(std::string_view path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  return std::string(reinterpret_cast<const char*>(&address), sizeof address);
}

/// Of "HOST:PORT", the host in brackets where it is an IPv6 address.
std::string InternetAddress(std::string_view text) {
  const auto colon = text.rfind(':');
  std::string host(text.substr(0, colon));
  if (host.size() > 2 && host.front() == '[') host = host.substr(1, host.size() - 2);
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (getaddrinfo(host.c_str(), std::string(text.substr(colon + 1)).c_str(), &hints, &found) != 0 || found == nullptr)
    throw std::runtime_error("the address at which this process listens is not found: " + std::string(text));
  const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owned(found, &freeaddrinfo);
  return std::string(reinterpret_cast<const char*>(found->ai_addr), found->ai_addrlen);
}

std::string OwnAddress() {
  const auto& endpoints = omni::omniObjAdapter::listMyEndpoints();
  for (CORBA::ULong i = 0; i < endpoints.length(); ++i) {
    const std::string_view endpoint = endpoints[i].in();
    if (endpoint.substr(0, kUnix.size()) == kUnix) return UnixAddress(endpoint.substr(kUnix.size()));
    if (endpoint.substr(0, kTcp.size()) == kTcp) return InternetAddress(endpoint.substr(kTcp.size()));
  }
  throw std::runtime_error("this process listens nowhere");
}

}  // namespace

/// One connection, one request, one answer.
class SelfCall::Attempt {
 public:
  Attempt(const SelfCall& call, Clock::time_point end) : call_(call), end_(end) {}
  ~Attempt() {
    if (socket_ >= 0) close(socket_);
  }
  Attempt(const Attempt&) = delete;
  Attempt& operator=(const Attempt&) = delete;

  Result Make() {
    const auto* address = reinterpret_cast<const sockaddr*>(call_.address_.data());
    socket_ = socket(address->sa_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket_ < 0) return Result::Unknown;
    const int connected = connect(socket_, address, static_cast<socklen_t>(call_.address_.size()));
    if (connected != 0 && errno != EINPROGRESS) return Result::Silent;  // nobody listens, or nobody accepts
    if (!WaitFor(POLLOUT)) return late_;
    if (send(socket_, call_.request_.data(), call_.request_.size(), MSG_NOSIGNAL) < 0) return AfterError();
    return Receive();
  }

 private:
  /// An answer begins with a whole header; the kind of message that it tells is what counts.
  Result Receive() {
    std::string header;
    while (header.size() < kHeaderBytes) {
      if (!WaitFor(POLLIN)) return late_;
      char bytes[kHeaderBytes];
      const ssize_t count = recv(socket_, bytes, kHeaderBytes - header.size(), 0);
      if (count < 0) return AfterError();
      if (count == 0) return Result::Unknown;
      header.append(bytes, static_cast<std::size_t>(count));
    }
    return header[7] == kReplyKind ? Result::Answered : Result::Unknown;
  }

  static Result AfterError() { return errno == ECONNREFUSED ? Result::Silent : Result::Unknown; }

  /// False when the time is over or the call was interrupted; `late_` says which.
  bool WaitFor(short event) {
    pollfd waited[] = {{socket_, event, 0}, {call_.interruption_, POLLIN, 0}};
    for (;;) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(end_ - Clock::now());
      const int ready = left.count() <= 0 ? 0 : poll(waited, std::size(waited), static_cast<int>(left.count()));
      if (ready < 0 && errno == EINTR) continue;
      if (ready > 0 && waited[1].revents == 0) return true;
      late_ = ready == 0 ? Result::Silent : Result::Unknown;
      return false;
    }
  }

  const SelfCall& call_;
  const Clock::time_point end_;
  int socket_ = -1;
  Result late_ = Result::Silent;
};

SelfCall::SelfCall(CORBA::Object_ptr object)
    : address_(OwnAddress()),
      request_(RequestTo(KeyOf(object))),
      interruption_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (interruption_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

SelfCall::~SelfCall() { close(interruption_); }

SelfCall::Result SelfCall::Ask(std::chrono::milliseconds limit) noexcept {
  try {
    return Attempt(*this, Clock::now() + limit).Make();
  } catch (const std::bad_alloc&) {
    return Result::Unknown;
  }
}

void SelfCall::Interrupt() noexcept { (void)eventfd_write(interruption_, 1); }

}  // namespace Corvanta
