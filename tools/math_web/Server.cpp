// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/Server.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/base/Diagnostic.h"
#include "tools/math_web/Gateway.h"
#include "tools/math_web/HttpConnection.h"
#include "tools/math_web/LiveConnection.h"
#include "tools/math_web/beast.h"

namespace Lumenar::Web {
namespace {

using Tcp = net::ip::tcp;
using Unix = net::local::stream_protocol;

constexpr int kBacklog = 128;
constexpr std::chrono::milliseconds kPauseWithoutDescriptors{100};
constexpr std::chrono::milliseconds kFarewell{500};

constexpr std::string_view kFull =
    "HTTP/1.1 503 Service Unavailable\r\nContent-Type: text/plain\r\nConnection: close\r\nContent-Length: 57\r\n\r\n"
    "This gateway has as many connections as it may: try later";

/// Takes connections of one kind.
template <class Protocol>
class Listener {
 public:
  Listener(net::io_context& context, ServerState& state) : acceptor_(context), pause_(context), state_(state) {}

  /// Errors   boost::system::system_error.
  void Listen(const typename Protocol::endpoint& endpoint) {
    acceptor_.open(endpoint.protocol());
    acceptor_.set_option(net::socket_base::reuse_address(true));
    acceptor_.bind(endpoint);
    acceptor_.listen(kBacklog);
  }

  typename Protocol::endpoint Endpoint() const { return acceptor_.local_endpoint(); }

  void Accept() {
    acceptor_.async_accept([this](ErrorCode error, typename Protocol::socket socket) {
      if (error == net::error::operation_aborted) return;
      if (error) return AcceptLater();
      Take(std::move(socket));
      Accept();
    });
  }

 private:
  /// No descriptor is left for another one: it waits with those that are not taken yet.
  void AcceptLater() {
    pause_.expires_after(kPauseWithoutDescriptors);
    pause_.async_wait([this](ErrorCode error) {
      if (!error) Accept();
    });
  }

  void Take(typename Protocol::socket socket) {
    ErrorCode ignored;
    if (state_.connections >= state_.settings.connections) {
      socket.non_blocking(true, ignored);
      socket.send(net::buffer(kFull), 0, ignored);
      return;
    }
    if constexpr (std::is_same_v<Protocol, Tcp>) socket.set_option(Tcp::no_delay(true), ignored);
    SocketStream stream{net::generic::stream_protocol::socket(std::move(socket))};
    std::make_shared<HttpConnection>(std::move(stream), state_)->Read(state_.settings.handshake);
  }

  typename Protocol::acceptor acceptor_;
  net::steady_timer pause_;
  ServerState& state_;
};

/// A socket that somebody left behind is taken away; one with a listener is not.
void RemoveStaleSocket(net::io_context& context, const std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0 || !S_ISSOCK(status.st_mode)) return;
  Unix::socket probe(context);
  ErrorCode error;
  probe.connect(Unix::endpoint(path), error);
  if (error == net::error::connection_refused) unlink(path.c_str());
}

}  // namespace

struct Server::Impl {
  explicit Impl(ServerSettings settings) : state{std::move(settings), nullptr, 0, {}} {}

  void ListenAtTcp() {
    const ServerSettings& settings = state.settings;
    try {
      Tcp::resolver resolver(context);
      const auto found = resolver.resolve(settings.address, std::to_string(settings.port), Tcp::resolver::passive);
      tcp.emplace(context, state);
      tcp->Listen(found.begin()->endpoint());
    } catch (const boost::system::system_error& error) {
      throw std::runtime_error(
          fmt::format("cannot listen at {}:{}: {}", settings.address, settings.port, error.code().message()));
    }
  }

  /// Whoever may use the socket's directory, and is of its group, may connect: a proxy's affair.
  void ListenAtUnix() {
    const std::string& path = state.settings.path;
    try {
      RemoveStaleSocket(context, path);
      unix_socket.emplace(context, state);
      unix_socket->Listen(Unix::endpoint(path));
      owns_path = true;
      if (chmod(path.c_str(), 0660) != 0) throw boost::system::system_error(errno, boost::system::system_category());
    } catch (const boost::system::system_error& error) {
      throw std::runtime_error(fmt::format("cannot listen at {}: {}", path, error.code().message()));
    }
  }

  void SayFarewell() {
    state.gateway->ForgetRequests();
    if (state.live.empty()) return context.stop();
    const auto all = state.live;
    for (LiveConnection* one : all) one->Close(websocket::close_code::going_away, "math_web ends");
    const auto farewell = std::make_shared<net::steady_timer>(context, kFarewell);
    farewell->async_wait([this, farewell](ErrorCode) { context.stop(); });
  }

  /// What goes wrong for one client, as memory that is not there, ends nothing for the others.
  void Run() noexcept {
    while (true) {
      try {
        context.run();
        return;
      } catch (const std::exception& exception) {
        WriteError(std::string("math_web: ") + exception.what());
      }
    }
  }

  ServerState state;
  net::io_context context{1};
  net::executor_work_guard<net::io_context::executor_type> work{context.get_executor()};
  std::optional<Listener<Tcp>> tcp;
  std::optional<Listener<Unix>> unix_socket;
  bool owns_path = false;
  std::thread thread;
};

Server::Server(ServerSettings settings) : impl_(std::make_unique<Impl>(std::move(settings))) {}

Server::~Server() { End(); }

void Server::Open() { impl_->state.settings.path.empty() ? impl_->ListenAtTcp() : impl_->ListenAtUnix(); }

unsigned short Server::Port() const { return impl_->tcp ? impl_->tcp->Endpoint().port() : 0; }

std::string Server::Address() const {
  if (!impl_->tcp) return "unix:" + impl_->state.settings.path;
  const auto endpoint = impl_->tcp->Endpoint();
  const std::string host = endpoint.address().to_string();
  return fmt::format("http://{}:{}/", endpoint.address().is_v6() ? "[" + host + "]" : host, endpoint.port());
}

void Server::Serve(Gateway& gateway) {
  impl_->state.gateway = &gateway;
  if (impl_->tcp) impl_->tcp->Accept();
  if (impl_->unix_socket) impl_->unix_socket->Accept();
  impl_->thread = std::thread([impl = impl_.get()] { impl->Run(); });
}

void Server::End() noexcept {
  std::unique_ptr<Impl> ended;
  {
    Lock lock(mutex_);
    if (ended_) return;
    ended_ = true;
  }
  ended = std::move(impl_);
  if (ended->thread.joinable()) {
    net::post(ended->context, [impl = ended.get()] { impl->SayFarewell(); });
    ended->thread.join();
  }
  if (ended->owns_path) unlink(ended->state.settings.path.c_str());
}

void Server::Post(std::function<void()> deed) {
  Lock lock(mutex_);
  if (!ended_) net::post(impl_->context, std::move(deed));
}

}  // namespace Lumenar::Web
