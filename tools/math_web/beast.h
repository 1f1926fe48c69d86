// SPDX-License-Identifier: Apache-2.0
#pragma once

// Boost.Beast, for the files that Server.cpp is made of: no other one includes it, since it takes long to compile.
#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <chrono>
#include <cstddef>
#include <set>
#include <utility>

#include "tools/math_web/Server.h"

namespace Lumenar::Web {

namespace beast = boost::beast;
namespace http = beast::http;
namespace net = boost::asio;
namespace websocket = beast::websocket;
using ErrorCode = beast::error_code;

/// A connection, over TCP or a Unix-domain socket.
using SocketStream = beast::basic_stream<net::generic::stream_protocol>;

class LiveConnection;

/// What all connections of a server share. Threads   the gateway's own.
struct ServerState {
  const ServerSettings settings;
  Gateway* gateway = nullptr;
  std::size_t connections = 0;
  std::set<LiveConnection*> live;
};

/// A connection's place among those that may be open; it goes along when the connection becomes a WebSocket.
class Place {
 public:
  explicit Place(ServerState& state) : state_(&state) { ++state_->connections; }
  Place(Place&& other) noexcept : state_(std::exchange(other.state_, nullptr)) {}
  Place& operator=(Place&&) = delete;
  ~Place() {
    if (state_ != nullptr) --state_->connections;
  }

 private:
  ServerState* state_;
};

}  // namespace Lumenar::Web
