// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "tools/math_web/Access.h"
#include "tools/math_web/Gateway.h"
#include "tools/math_web/Outlet.h"
#include "tools/math_web/Session.h"
#include "tools/math_web/beast.h"

namespace Lumenar::Web {

/// One WebSocket. While more than a few messages wait for the client to take them, nothing more is read of it.
/// Threads  the gateway's own.
class LiveConnection final : public Outlet, public std::enable_shared_from_this<LiveConnection> {
 public:
  using UpgradeRequest = http::request<http::string_body>;

  LiveConnection(SocketStream stream, Place place, ServerState& state)
      : ws_(std::move(stream)), place_(std::move(place)), state_(state) {
    state_.live.insert(this);
  }
  ~LiveConnection() override { state_.live.erase(this); }

  void Accept(UpgradeRequest request) {
    request_ = std::move(request);
    ws_.set_option(websocket::stream_base::timeout{state_.settings.handshake, state_.settings.idle, true});
    ws_.set_option(websocket::stream_base::decorator([](websocket::response_type& response) {
      response.set(http::field::server, "math_web");
      response.set(http::field::sec_websocket_protocol, kSubProtocol.data());
    }));
    ws_.read_message_max(kLargestMessage);
    ws_.auto_fragment(false);
    ws_.async_accept(request_, [self = shared_from_this()](ErrorCode error) { self->OnAccept(error); });
  }

  void Send(Message message) override {
    if (closing_) return;
    const std::size_t bytes = message.Bytes();
    if (waiting_bytes_ + bytes > kMostWaitingBytes && !queue_.empty())
      return Close(websocket::close_code::policy_error, "it reads too slowly for what it asked for");
    waiting_bytes_ += bytes;
    Gateway& gateway = *state_.gateway;
    gateway.Totals().bytes += bytes;
    queue_.push_back(std::move(message));
    if (!writing_) Write();
  }

  bool IsIdle() const override { return queue_.empty(); }

  void Close(unsigned short code, const std::string& reason) override {
    constexpr std::size_t kLongestReason = 123;  // that a close frame has room for
    if (std::exchange(closing_, true)) return;
    const websocket::close_reason told(static_cast<websocket::close_code>(code), reason.substr(0, kLongestReason));
    ws_.async_close(told, [self = shared_from_this()](ErrorCode) { self->Finish(); });
  }

 private:
  static constexpr std::size_t kMostWaitingBytes = std::size_t{64} << 20;
  static constexpr std::size_t kMostWaiting = 64;  // messages

  void OnAccept(ErrorCode error) {
    if (error) return;
    session_ = state_.gateway->Begin(*this);
    Read();
  }

  void Read() {
    ws_.async_read(in_, [self = shared_from_this()](ErrorCode error, std::size_t) { self->OnRead(error); });
  }

  void OnRead(ErrorCode error) {
    if (error || session_ == nullptr) return Finish();
    if (closing_) {  // what comes until the client has closed, too
    } else if (!ws_.got_text()) {
      Close(websocket::close_code::unknown_data, "messages have to be texts");
    } else {
      const auto data = in_.cdata();
      session_->OnText({static_cast<const char*>(data.data()), data.size()});
    }
    in_.clear();
    if (queue_.size() > kMostWaiting) {
      paused_ = true;
    } else {
      Read();
    }
  }

  void Write() {
    writing_ = true;
    const Message& message = queue_.front();
    ws_.text(message.text != nullptr);
    std::array<net::const_buffer, 2> buffers;
    if (message.text != nullptr) buffers[0] = net::buffer(*message.text);
    if (message.head) buffers[0] = net::buffer(*message.head);
    if (message.numbers != nullptr) buffers[1] = net::buffer(*message.numbers);
    ws_.async_write(buffers, [self = shared_from_this()](ErrorCode error, std::size_t) { self->OnWrite(error); });
  }

  void OnWrite(ErrorCode error) {
    writing_ = false;
    if (error || session_ == nullptr) return Finish();
    waiting_bytes_ -= queue_.front().Bytes();
    queue_.pop_front();
    if (closing_) return;
    if (!queue_.empty()) {
      Write();
    } else {
      session_->OnSent();
    }
    if (paused_ && queue_.size() <= kMostWaiting) {
      paused_ = false;
      Read();
    }
  }

  /// The conversation ends with the connection, however that ended.
  void Finish() {
    closing_ = true;
    session_.reset();
    beast::get_lowest_layer(ws_).close();
  }

  websocket::stream<SocketStream> ws_;
  const Place place_;
  ServerState& state_;
  UpgradeRequest request_;
  beast::flat_buffer in_;
  std::deque<Message> queue_;
  std::size_t waiting_bytes_ = 0;
  bool writing_ = false;
  bool paused_ = false;
  bool closing_ = false;
  std::shared_ptr<Session> session_;
};

}  // namespace Lumenar::Web
