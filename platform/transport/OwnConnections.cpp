// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/OwnConnections.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <memory>
#include <new>
#include <utility>

#include "platform/transport/PendingCalls.h"

namespace Corvanta {
namespace {

/// A transport of the ORB: the name under which it is found, the one that it has while ours stands in for it, and its
/// connections.
struct Tcp {
  static constexpr char kName[] = "giop:tcp", kHidden[] = "giop:plain-tcp";
  using Connection = omni::tcpConnection;
  struct Opened : omni::tcpActiveConnection {
    Opened(int socket, const char*) : omni::tcpActiveConnection(socket) {}
  };
};

struct Unix {
  static constexpr char kName[] = "giop:unix", kHidden[] = "giop:plain-unix";
  using Connection = omni::unixConnection;
  struct Opened : omni::unixActiveConnection {
    Opened(int socket, const char* address)
        : omni::unixActiveConnection(socket, address + sizeof kName) {}  // a name, a colon, a path
  };
};

/// The coarse clock: good to some milliseconds, and the cheapest to read.
std::uint64_t Now_ns() noexcept {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000u + static_cast<std::uint64_t>(now.tv_nsec);
}

/// A connection that this process opened.
template <class Transport>
class OwnConnection final : public Transport::Opened {
  using Plain = typename Transport::Opened;

 public:
  /// Takes the socket, which is -1 then; when nothing can be made it stays the caller's.
  OwnConnection(int& socket, const char* address, std::shared_ptr<TransportState> state)
      : Plain(socket, address),
        state_((socket = -1, std::move(state))),  // closed with Plain from here on
        framing_(
            MessageFraming::Side::Own, state_->framing, state_->assembly, &calls_,
            [this](const std::string& what) { Say("refused", fmt::format("{} from {}", what, this->peeraddress())); }) {
  }

  int Send(void* bytes, size_t size, const omni_time_t& deadline) override {
    const std::uint64_t now = Now_ns();
    if (now - used_ >= kRest_ns && IsClosedByPeer()) return -1;
    used_ = now;
    calls_.Sending({static_cast<const char*>(bytes), size});
    int count = SendAtOnce(bytes, size);
    if (count <= 0) count = Plain::Send(bytes, size, deadline);  // which waits for room, or says what is wrong
    if (count > 0) calls_.Sent(static_cast<std::size_t>(count));
    return count;
  }

  int Recv(void* bytes, size_t size, const omni_time_t& deadline) override {
    calls_.ReadsFor(std::uint64_t{deadline.s} * 1'000'000'000u + deadline.ns);
    return ReceiveFramed(
        framing_, {static_cast<char*>(bytes), size},
        [&](char* to, std::size_t most) { return Plain::Recv(to, most, deadline); },
        [this](const char* why) {
          Say("unlawful", fmt::format("connection to {} closed: {}", this->peeraddress(), why));
        });
  }

  void setSelectable(int now, CORBA::Boolean data_in_buffer) override {
    const bool has_output = framing_.HasOutput();
    Plain::setSelectable(has_output && now == 0 ? 1 : now, data_in_buffer || has_output);
  }

 private:
  /// A connection that was used so recently is not looked at: no process is back on its port within that time. Two
  /// steps of the coarse clock.
  static constexpr std::uint64_t kRest_ns = 8'000'000;

  /// Nearly always there is room: then nothing has to be asked for it first, neither the socket nor the clock.
  int SendAtOnce(const void* bytes, size_t size) noexcept {
    const ssize_t count = send(this->handle(), bytes, std::min<size_t>(size, INT_MAX), MSG_DONTWAIT | MSG_NOSIGNAL);
    return static_cast<int>(count);
  }

  /// Looks at a connection that was at rest. Whatever has come is nothing that anybody waits for: the end, or a
  /// farewell.
  [[gnu::noinline]] bool IsClosedByPeer() {
    if (!calls_.IsAtRest() || !framing_.IsPlain()) return false;  // the rest of a refused answer may still come
    char byte = 0;
    const ssize_t count = recv(this->handle(), &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    return count >= 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR);
  }

  void Say(const char* cause, const std::string& line) {
    state_->log.Say(fmt::format("{} {}", cause, HostOf(this->peeraddress())), line);
  }

  const std::shared_ptr<TransportState> state_;
  PendingCalls calls_;
  MessageFraming framing_;
  std::uint64_t used_ = Now_ns();
};

/// Where a peer listens: the ORB's own address, whose connections become ours.
template <class Transport>
class OwnAddress final : public omni::giopAddress {
 public:
  OwnAddress(std::unique_ptr<omni::giopAddress> plain, std::shared_ptr<TransportState> state)
      : plain_(std::move(plain)), state_(std::move(state)) {}

  /// Null for null.
  static omni::giopAddress* Of(omni::giopAddress* plain, const std::shared_ptr<TransportState>& state) {
    std::unique_ptr<omni::giopAddress> owned(plain);  // also while there is no memory for what stands in for it
    return plain == nullptr ? nullptr : new OwnAddress(std::move(owned), state);
  }

  const char* type() const override { return Transport::kName; }
  const char* address() const override { return plain_->address(); }
  const char* host() const override { return plain_->host(); }
  omni::giopAddress* duplicate() const override { return Of(plain_->duplicate(), state_); }
  omni::giopAddress* duplicate(const char* host) const override { return Of(plain_->duplicate(host), state_); }

  omni::giopActiveConnection* Connect(const omni_time_t& deadline, CORBA::ULong flags,
                                      CORBA::Boolean& timed_out) const override {
    omni::giopActiveConnection* plain = plain_->Connect(deadline, flags, timed_out);
    if (plain == nullptr) return nullptr;
    omni::giopConnection& connection = plain->getConnection();
    int socket = fcntl(static_cast<typename Transport::Connection&>(connection).handle(), F_DUPFD_CLOEXEC, 0);
    connection.decrRefCount(1);  // nobody else has it
    if (socket < 0) return nullptr;
    try {
      return new OwnConnection<Transport>(socket, address(), state_);
    } catch (const std::bad_alloc&) {
      if (socket >= 0) close(socket);
      throw;
    }
  }

 private:
  const std::unique_ptr<omni::giopAddress> plain_;
  const std::shared_ptr<TransportState> state_;
};

const char* NameOf(OwnConnections::Transport transport) {
  return transport == OwnConnections::Transport::Tcp ? Tcp::kName : Unix::kName;
}

}  // namespace

OwnConnections::OwnConnections(Transport transport, std::shared_ptr<TransportState> state)
    : omni::giopTransportImpl(NameOf(transport)),
      transport_(transport),
      state_(std::move(state)),
      plain_(*omni::giopTransportImpl::str2Transport((std::string(type) + ":").c_str())) {
  plain_.type = transport == Transport::Tcp ? Tcp::kHidden : Unix::kHidden;  // it stands first among those of its name
}

OwnConnections::~OwnConnections() { plain_.type = type; }

omni::giopAddress* OwnConnections::toAddress(const char* address) {
  omni::giopAddress* plain = plain_.toAddress(address);
  return transport_ == Transport::Tcp ? OwnAddress<Tcp>::Of(plain, state_) : OwnAddress<Unix>::Of(plain, state_);
}

}  // namespace Corvanta
