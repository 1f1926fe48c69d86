#include "platform/orb/GuardedTransport.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "platform/orb/ConnectionTable.h"
#include "platform/orb/RefusalLog.h"
#include "platform/orb/guarded_tcp.h"

namespace Corvanta {
namespace {

constexpr std::string_view kTcp = "giop:tcp:";
constexpr char kGuarded[] = "giop:guarded-tcp";

/// A descriptor kept back: given up for the moment that it takes to accept a connection and close it.
class SpareDescriptor {
 public:
  SpareDescriptor() { Take(); }
  ~SpareDescriptor() { Give(); }
  SpareDescriptor(const SpareDescriptor&) = delete;
  SpareDescriptor& operator=(const SpareDescriptor&) = delete;

  void Take() { descriptor_ = open("/dev/null", O_RDONLY | O_CLOEXEC); }
  void Give() {
    if (descriptor_ >= 0) close(descriptor_);
    descriptor_ = -1;
  }

 private:
  int descriptor_ = -1;
};

std::size_t LimitByDescriptors(std::size_t wanted) {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return wanted;
  return std::max<std::size_t>(1, std::min<std::size_t>(wanted, limit.rlim_cur / 2));
}

/// Whether the rules that the configuration gave to the ORB admit a peer.
bool IsAllowedPeer(const char* peer) {
  CORBA::StringSeq transports;
  CORBA::ULong rule = 0;
  if (!omni::transportRules::serverRules().match(peer, transports, rule)) return false;
  for (CORBA::ULong i = 0; i < transports.length(); ++i)
    if (std::strcmp(transports[i], "tcp") == 0) return true;
  return false;
}

/// The address without its port, of a "giop:tcp:ADDRESS:PORT".
std::string HostOf(std::string_view peer) {
  if (peer.substr(0, kTcp.size()) == kTcp) peer.remove_prefix(kTcp.size());
  return std::string(peer.substr(0, peer.rfind(':')));
}

}  // namespace

/// What all endpoints and connections share; it outlives them.
struct TransportState {
  explicit TransportState(std::size_t max_connections) : table(LimitByDescriptors(max_connections)) {}

  RefusalLog log;
  ConnectionTable table;
  SpareDescriptor spare;  // the endpoint's thread alone uses it
  std::atomic<bool> ended{false};
};

namespace {

class GuardedConnection final : public omni::tcpConnection, public ServedConnection {
 public:
  GuardedConnection(int socket, omni::SocketCollection* collection, std::shared_ptr<TransportState> state)
      : omni::tcpConnection(socket, collection), state_(std::move(state)) {}

  ~GuardedConnection() override {
    state_->table.Leave(*this);
    if (!was_read_ && !gave_way_ && !state_->ended)
      state_->log.Say("no thread", fmt::format("connection from {} closed unserved: no thread for it", HostOf(peeraddress())));
  }

  int Recv(void* buffer, size_t size, const omni_time_t& deadline) override {
    was_read_ = true;
    const int count = omni::tcpConnection::Recv(buffer, size, deadline);
    if (count > 0) Heard();
    return count;
  }

  int Send(void* buffer, size_t size, const omni_time_t& deadline) override {
    Answered();
    return omni::tcpConnection::Send(buffer, size, deadline);
  }

  /// A peer at rest is told in the protocol's words, so that it may open a new connection without an error.
  void GiveWay() noexcept override {
    static constexpr char kCloseConnection[12] = {'G', 'I', 'O', 'P', 1, 2, 0, 5, 0, 0, 0, 0};
    gave_way_ = true;
    if (Rank() == Resting) send(handle(), kCloseConnection, sizeof kCloseConnection, MSG_DONTWAIT | MSG_NOSIGNAL);
    Shutdown();
  }

  void NotServed() noexcept { gave_way_ = true; }

 private:
  const std::shared_ptr<TransportState> state_;
  std::atomic<bool> was_read_{false};
  std::atomic<bool> gave_way_{false};  // was closed on purpose
};

class GuardedEndpoint final : public omni::tcpEndpoint {
 public:
  GuardedEndpoint(const char* address, std::shared_ptr<TransportState> state)
      : omni::tcpEndpoint(address), state_(std::move(state)) {}

  /// Returns null only when the ORB ends: it would not serve this endpoint any more.
  omni::giopConnection* AcceptAndMonitor(omni::giopConnection::notifyReadable_t notify, void* cookie) override {
    notify_ = notify;
    cookie_ = cookie;
    setSelectable(1, 0, 0);
    while (!poked_) {
      accepted_ = -1;
      if (!Select()) return nullptr;
      if (accepted_ < 0) continue;
      if (poked_) close(accepted_);
      else if (omni::giopConnection* connection = Admit(accepted_)) return connection;
    }
    return nullptr;
  }

  void Poke() override {
    poked_ = true;
    omni::tcpEndpoint::Poke();
  }

 protected:
  CORBA::Boolean notifyReadable(omni::SocketHolder* holder) override {
    if (holder != static_cast<omni::SocketHolder*>(this)) {
      notify_(cookie_, static_cast<omni::tcpConnection*>(holder));
      return true;
    }
    accepted_ = accept4(pd_socket, nullptr, nullptr, SOCK_CLOEXEC);
    const int error = accepted_ < 0 ? errno : 0;
    if (error == EBADF) return false;
    if (error == EMFILE || error == ENFILE) CloseOneUnserved(error);
    if (error == ENOBUFS || error == ENOMEM) Pause();
    setSelectable(1, 0, 0);
    return true;
  }

 private:
  /// The connection, or null when its peer is not allowed.
  omni::giopConnection* Admit(int socket) {
    auto* connection = new GuardedConnection(socket, this, state_);  // counted by the ORB
    const std::string host = HostOf(connection->peeraddress());
    if (!IsAllowedPeer(connection->peeraddress())) {
      state_->log.Say(host, fmt::format("connection from {} refused: it is not an allowed peer (orb.allowed_peer)", host));
      connection->NotServed();
      connection->decrRefCount(1);
      return nullptr;
    }
    if (state_->table.Enter(*connection))
      state_->log.Say("limit", fmt::format("{} connections, the limit: the longest silent one is closed for each further one "
                                           "(orb.max_server_threads)", state_->table.Limit()));
    return connection;
  }

  /// Without a descriptor the connection would wait for ever, and accept would fail again at once.
  void CloseOneUnserved(int error) {
    state_->log.Say("descriptors", fmt::format("connection closed unserved: no descriptor for it: {}", std::strerror(error)));
    state_->spare.Give();
    const int socket = accept4(pd_socket, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket >= 0) close(socket);
    state_->spare.Take();
    if (socket < 0) Pause();
  }

  /// Others of the machine have what is missing: they may give it back.
  static void Pause() { poll(nullptr, 0, 50); }

  const std::shared_ptr<TransportState> state_;
  omni::giopConnection::notifyReadable_t notify_ = nullptr;
  void* cookie_ = nullptr;
  int accepted_ = -1;
  std::atomic<bool> poked_{false};
};

/// Registers with the ORB under a name of its own; addresses that it gives out are those of TCP.
class GuardedTcp final : public omni::giopTransportImpl {
 public:
  explicit GuardedTcp(std::size_t max_connections)
      : omni::giopTransportImpl(kGuarded), state_(std::make_shared<TransportState>(max_connections)) {}

  omni::giopEndpoint* toEndpoint(const char* address) override { return new GuardedEndpoint(address, state_); }
  omni::giopAddress* toAddress(const char*) override { return nullptr; }
  CORBA::Boolean isValid(const char*) override { return true; }
  CORBA::Boolean addToIOR(const char*, omni::IORPublish*) override { return false; }
  const omnivector<const char*>* getInterfaceAddress() override { return &no_addresses_; }
  void BeginEnd() noexcept { state_->ended = true; }

 private:
  const std::shared_ptr<TransportState> state_;
  const omnivector<const char*> no_addresses_;
};

}  // namespace

struct GuardedTransport::Impl {
  explicit Impl(std::size_t max_connections) : transport(max_connections) {}
  GuardedTcp transport;
};

GuardedTransport::GuardedTransport(std::size_t max_connections) : impl_(std::make_unique<Impl>(max_connections)) {}

GuardedTransport::~GuardedTransport() = default;

void GuardedTransport::BeginEnd() noexcept { impl_->transport.BeginEnd(); }

std::string GuardedTransport::Endpoint(const std::string& endpoint) {
  if (endpoint.compare(0, kTcp.size(), kTcp) != 0) return endpoint;
  return std::string(kGuarded) + endpoint.substr(kTcp.size() - 1);
}

}  // namespace Corvanta
