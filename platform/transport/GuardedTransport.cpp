// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/GuardedTransport.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <new>
#include <string_view>

#include "platform/transport/LargeAnswer.h"
#include "platform/transport/OwnConnections.h"
#include "platform/transport/TransportState.h"
#include "platform/transport/WatchedConnections.h"
#include "platform/transport/addresses.h"
#include "platform/transport/guarded_tcp.h"

namespace Corvanta {
namespace {

/// A transport of the ORB as this process serves it: the name under which ours stands, that in the rules for peers, its
/// connections.
struct ServedTcp {
  static constexpr char kGuarded[] = "giop:guarded-tcp", kRule[] = "tcp";
  using Connection = omni::tcpConnection;
  using Endpoint = omni::tcpEndpoint;
  struct Accepted : Connection {
    Accepted(int socket, omni::SocketCollection* collection, const char*) : Connection(socket, collection) {}
  };
};

struct ServedUnix {
  static constexpr char kGuarded[] = "giop:guarded-unix", kRule[] = "unix";
  using Connection = omni::unixConnection;
  using Endpoint = omni::unixEndpoint;
  struct Accepted : Connection {
    Accepted(int socket, omni::SocketCollection* collection, const char* path)
        : Connection(socket, collection, path, false) {}
  };
};

/// Whether the rules that the configuration gave to the ORB admit a peer over a transport.
bool IsAllowedPeer(const char* peer, const char* transport) {
  CORBA::StringSeq transports;
  CORBA::ULong rule = 0;
  if (!omni::transportRules::serverRules().match(peer, transports, rule)) return false;
  for (CORBA::ULong i = 0; i < transports.length(); ++i)
    if (std::strcmp(transports[i], transport) == 0) return true;
  return false;
}

/// What is left until a limit of the ORB's own on a call, if there is one.
std::chrono::milliseconds TimeUntil(const omni_time_t& deadline) {
  timeval left{};
  if (!deadline) return std::chrono::milliseconds::max();
  if (omni::tcpSocket::setTimeout(deadline, left)) return {};
  return std::chrono::milliseconds(left.tv_sec * 1000 + left.tv_usec / 1000);
}

}  // namespace

std::string HostOf(std::string_view peer) {
  if (peer.substr(0, kUnixEndpoint.size()) == kUnixEndpoint) {
    peer.remove_prefix(kUnixEndpoint.find(':') + 1);
    return std::string(peer.substr(0, peer.find(' ')));  // the ORB numbers connections behind a space
  }
  if (peer.substr(0, kTcpEndpoint.size()) == kTcpEndpoint) peer.remove_prefix(kTcpEndpoint.size());
  return std::string(peer.substr(0, peer.rfind(':')));
}

namespace {

template <class Transport>
class GuardedConnection final : public Transport::Accepted, public ServedConnection {
  using Plain = typename Transport::Accepted;
  using Plain::handle;
  using Plain::peeraddress;
  using Plain::Shutdown;

 public:
  /// `address`: of the endpoint.
  GuardedConnection(int socket, omni::SocketCollection* collection, const char* address,
                    std::shared_ptr<WatchedConnections> watched, std::shared_ptr<TransportState> state)
      : Plain(socket, collection, address),
        watched_(std::move(watched)),
        state_(std::move(state)),
        framing_(MessageFraming::Side::Served, state_->framing, state_->assembly, nullptr,
                 [this](const std::string& what) {
                   const std::string host = HostOf(peeraddress());
                   state_->log.Say("refused " + host, fmt::format("{} from {}", what, host));
                 }),
        sender_(
            state_->sending, [this] { Shutdown(); }, [this] { return HostOf(peeraddress()); }) {
    watched_->Enter(this, this);
  }

  ~GuardedConnection() override {
    watched_->Leave(this);
    state_->table.Leave(*this);
    if (!was_read_ && !gave_way_ && !state_->ended)
      state_->log.Say("no thread",
                      fmt::format("connection from {} closed unserved: no thread for it", HostOf(peeraddress())));
  }

  /// The memory stays until the thread that watches has come round.
  static void operator delete(GuardedConnection* connection, std::destroying_delete_t) {
    const std::shared_ptr<WatchedConnections> watched = connection->watched_;
    connection->~GuardedConnection();
    watched->Keep(connection);
  }

  int Recv(void* buffer, size_t size, const omni_time_t& deadline) override {
    was_read_ = true;
    sender_.WaitWhileStuck();
    return ReceiveFramed(
        framing_, {static_cast<char*>(buffer), size},
        [&](char* to, std::size_t most) {
          const int count = Plain::Recv(to, most, deadline);
          if (count > 0) sender_.Heard();
          return count;
        },
        [this](const char* why) { EndUnlawful(why); });
  }

  void setSelectable(int now, CORBA::Boolean data_in_buffer) override {
    const bool has_output = framing_.HasOutput();
    Plain::setSelectable(has_output && now == 0 ? 1 : now, data_in_buffer || has_output);
  }

  int Send(void* buffer, size_t size, const omni_time_t& deadline) override {
    const int count = sender_.Send(handle(), buffer, size, TimeUntil(deadline));
    // A peer for whose answer there was no room was told so: it gives back its connection and the thread for it as well.
    if (sender_.IsBetweenAnswers() && LargeAnswer::WasRefused()) GiveWay();
    return count;
  }

  const PeerStanding& Standing() const noexcept override { return sender_.Standing(); }

  /// A peer at rest is told in the protocol's words, so that it may open a new connection without an error.
  void GiveWay() noexcept override {
    static constexpr char kCloseConnection[12] = {'G', 'I', 'O', 'P', 1, 2, 0, 5, 0, 0, 0, 0};
    gave_way_ = true;
    if (Standing().Rank() == PeerStanding::Resting && sender_.IsBetweenAnswers())
      send(handle(), kCloseConnection, sizeof kCloseConnection, MSG_DONTWAIT | MSG_NOSIGNAL);
    Shutdown();
  }

  void NotServed() noexcept { gave_way_ = true; }

  const char* PeerAddress() { return peeraddress(); }

 private:
  /// Tells the peer in the protocol's words, if they do not fall into an answer that another thread is sending.
  void EndUnlawful(const char* why) {
    static constexpr char kMessageError[12] = {'G', 'I', 'O', 'P', 1, 0, 0, 6, 0, 0, 0, 0};
    const std::string host = HostOf(peeraddress());
    state_->log.Say("unlawful " + host, fmt::format("connection from {} closed: {}", host, why));
    if (sender_.IsBetweenAnswers()) send(handle(), kMessageError, sizeof kMessageError, MSG_DONTWAIT | MSG_NOSIGNAL);
    Shutdown();
  }

  const std::shared_ptr<WatchedConnections> watched_;
  const std::shared_ptr<TransportState> state_;
  std::atomic<bool> was_read_{false};
  std::atomic<bool> gave_way_{false};  // was closed on purpose
  MessageFraming framing_;
  AnswerSender sender_;
};

template <class Transport>
class GuardedEndpoint final : public Transport::Endpoint {
  using Plain = typename Transport::Endpoint;
  using Plain::pd_socket;
  using Plain::Select;

 public:
  GuardedEndpoint(const char* address, std::shared_ptr<TransportState> state)
      : Plain(address), address_(address), state_(std::move(state)) {}

  /// Returns null only when the ORB ends: it would not serve this endpoint any more.
  omni::giopConnection* AcceptAndMonitor(omni::giopConnection::notifyReadable_t notify, void* cookie) override {
    notify_ = notify;
    cookie_ = cookie;
    this->setSelectable(1, 0);
    while (!poked_) {
      accepted_ = -1;
      watched_->FreeKept();
      if (!Select()) return nullptr;
      if (accepted_ < 0) continue;
      if (poked_) close(accepted_);
      else if (omni::giopConnection* connection = Admit(accepted_)) return connection;
    }
    return nullptr;
  }

  void Poke() override {
    poked_ = true;
    Plain::Poke();
  }

 protected:
  CORBA::Boolean notifyReadable(omni::SocketHolder* holder) override {
    if (holder != static_cast<omni::SocketHolder*>(this)) {
      if (omni::giopConnection* const connection = watched_->Find(holder)) notify_(cookie_, connection);
      return true;
    }
    accepted_ = accept4(pd_socket, nullptr, nullptr, SOCK_CLOEXEC);
    const int error = accepted_ < 0 ? errno : 0;
    if (error == EBADF) return false;
    if (error == EMFILE || error == ENFILE) CloseOneUnserved(error);
    if (error == ENOBUFS || error == ENOMEM) Pause();
    this->setSelectable(1, 0);
    return true;
  }

 private:
  /// The connection, or null when its peer is not allowed.
  omni::giopConnection* Admit(int socket) {
    auto* connection =
        new GuardedConnection<Transport>(socket, this, address_.c_str(), watched_, state_);  // counted by the ORB
    const std::string host = HostOf(connection->PeerAddress());
    if (!IsAllowedPeer(connection->PeerAddress(), Transport::kRule)) {
      state_->log.Say(host,
                      fmt::format("connection from {} refused: it is not an allowed peer (orb.allowed_peer)", host));
      connection->NotServed();
      connection->decrRefCount(1);
      return nullptr;
    }
    if (state_->table.Enter(*connection))
      state_->log.Say("limit",
                      fmt::format("{} connections, the limit: the longest silent one is closed for each further one "
                                  "(orb.max_server_threads)",
                                  state_->table.Limit()));
    return connection;
  }

  /// Without a descriptor the connection would wait for ever, and accept would fail again at once.
  void CloseOneUnserved(int error) {
    state_->log.Say("descriptors",
                    fmt::format("connection closed unserved: no descriptor for it: {}", std::strerror(error)));
    state_->spare.Give();
    const int socket = accept4(pd_socket, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket >= 0) close(socket);
    state_->spare.Take();
    if (socket < 0) Pause();
  }

  /// Others of the machine have what is missing: they may give it back.
  static void Pause() { poll(nullptr, 0, 50); }

  const std::string address_;
  const std::shared_ptr<WatchedConnections> watched_ = std::make_shared<WatchedConnections>();
  const std::shared_ptr<TransportState> state_;
  omni::giopConnection::notifyReadable_t notify_ = nullptr;
  void* cookie_ = nullptr;
  int accepted_ = -1;
  std::atomic<bool> poked_{false};
};

/// Registers with the ORB under a name of its own; addresses that it gives out are those of the ORB's transport.
template <class Transport>
class Guarded final : public omni::giopTransportImpl {
 public:
  explicit Guarded(std::shared_ptr<TransportState> state)
      : omni::giopTransportImpl(Transport::kGuarded), state_(std::move(state)) {}

  omni::giopEndpoint* toEndpoint(const char* address) override {
    return new GuardedEndpoint<Transport>(address, state_);
  }
  omni::giopAddress* toAddress(const char*) override { return nullptr; }
  CORBA::Boolean isValid(const char*) override { return true; }
  CORBA::Boolean addToIOR(const char*, omni::IORPublish*) override { return false; }
  const omnivector<const char*>* getInterfaceAddress() override { return &no_addresses_; }

 private:
  const std::shared_ptr<TransportState> state_;
  const omnivector<const char*> no_addresses_;
};

}  // namespace

struct GuardedTransport::Impl {
  explicit Impl(const TransportConfig& config) : state(std::make_shared<TransportState>(config)) {}

  const std::shared_ptr<TransportState> state;
  Guarded<ServedTcp> served_tcp{state};
  Guarded<ServedUnix> served_unix{state};
  OwnConnections own_tcp{OwnConnections::Transport::Tcp, state};
  OwnConnections own_unix{OwnConnections::Transport::Unix, state};
};

GuardedTransport::GuardedTransport(const TransportConfig& config) : impl_(std::make_unique<Impl>(config)) {}

GuardedTransport::~GuardedTransport() = default;

void GuardedTransport::BeginEnd() noexcept { impl_->state->ended = true; }

std::string GuardedTransport::Endpoint(const std::string& endpoint) {
  const auto guarded = [&](std::string_view name, const char* ours) { return ours + endpoint.substr(name.size() - 1); };
  const std::string_view given = endpoint;
  if (given.substr(0, kTcpEndpoint.size()) == kTcpEndpoint) return guarded(kTcpEndpoint, ServedTcp::kGuarded);
  if (given.substr(0, kUnixEndpoint.size()) == kUnixEndpoint) return guarded(kUnixEndpoint, ServedUnix::kGuarded);
  return endpoint;
}

}  // namespace Corvanta
