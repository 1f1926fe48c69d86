// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "tools/math_web/Access.h"
#include "tools/math_web/Gateway.h"
#include "tools/math_web/LiveConnection.h"
#include "tools/math_web/Reply.h"
#include "tools/math_web/beast.h"

namespace Lumenar::Web {

/// One connection of HTTP, with request after request, until one of them makes a WebSocket of it.
/// Threads  the gateway's own.
class HttpConnection : public std::enable_shared_from_this<HttpConnection> {
 public:
  HttpConnection(SocketStream stream, ServerState& state)
      : stream_(std::move(stream)), place_(std::in_place, state), state_(state) {}

  void Read(std::chrono::seconds limit) {
    parser_.emplace();
    parser_->header_limit(kLargestHead);
    parser_->body_limit(kLargestBody);
    stream_.expires_after(limit);
    http::async_read(stream_, in_, *parser_,
                     [self = shared_from_this()](ErrorCode error, std::size_t) { self->OnRead(error); });
  }

 private:
  static constexpr std::uint64_t kLargestBody = 1024;  // nothing that is taken has one
  static constexpr std::size_t kMostDrained = 262144;
  static constexpr std::chrono::seconds kDrainTime{2};

  /// What a request that could not be read is told; nothing when nobody is there any more.
  static std::optional<Reply> ReplyTo(ErrorCode error) {
    if (error == http::error::header_limit || error == http::error::buffer_overflow)
      return TextReply(431, "The head of the request is longer than 8192 bytes.");
    if (error == http::error::body_limit) return TextReply(413, "A request has no body here.");
    const bool is_ours = error.category() == http::make_error_code(http::error::bad_version).category();
    if (!is_ours || error == http::error::end_of_stream || error == http::error::partial_message) return std::nullopt;
    return TextReply(400, "This is no request of HTTP: " + error.message() + ".");
  }

  void OnRead(ErrorCode error) {
    if (error) {
      const auto reply = ReplyTo(error);
      if (!reply) return stream_.close();
      ++state_.gateway->Totals().refused;
      return Write(*reply, true);
    }
    const HttpRequest request = Facts();
    if (websocket::is_upgrade(parser_->get())) return Upgrade(request);
    state_.gateway->Answer(
        request, [self = shared_from_this()](Reply reply) { self->Write(reply, !self->parser_->get().keep_alive()); });
  }

  HttpRequest Facts() const {
    const auto& head = parser_->get();
    const auto field = [&](http::field name) { return std::string(head[name]); };
    return {std::string(head.method_string()), std::string(head.target()), field(http::field::if_none_match),
            Credentials{field(http::field::host), field(http::field::origin), field(http::field::authorization),
                        field(http::field::sec_websocket_protocol)}};
  }

  void Upgrade(const HttpRequest& request) {
    if (const auto refusal = state_.gateway->RefuseLive(request)) {
      ++state_.gateway->Totals().refused;
      return Write(TextReply(refusal->status, refusal->text), true);
    }
    stream_.expires_never();
    auto live = std::make_shared<LiveConnection>(std::move(stream_), std::move(*place_), state_);
    place_.reset();
    live->Accept(parser_->release());
  }

  template <class Response>
  void SetFields(const Reply& reply, bool last, Response& response) const {
    response.result(reply.status);
    response.version(11);
    response.set(http::field::server, "math_web");
    response.set(http::field::content_type, reply.type);
    response.set("Content-Security-Policy",
                 "default-src 'self'; style-src 'self' 'unsafe-inline'; img-src 'self' data: blob:; "
                 "frame-ancestors 'none'; base-uri 'none'; form-action 'none'");
    response.set("X-Content-Type-Options", "nosniff");
    response.set("Referrer-Policy", "no-referrer");
    if (reply.status == 401) response.set(http::field::www_authenticate, "Bearer");
    if (reply.status == 405) response.set(http::field::allow, "GET, HEAD");
    for (const auto& [name, value] : reply.headers) response.set(name, value);
    response.keep_alive(!last);
  }

  void Write(const Reply& reply, bool last) {
    if (parser_->is_header_done() && parser_->get().method() == http::verb::head) {
      const auto head = std::make_shared<http::response<http::empty_body>>();
      SetFields(reply, last, *head);
      head->content_length(reply.body->size());
      return WriteResponse(head, last);
    }
    const auto response = std::make_shared<http::response<http::string_body>>();
    SetFields(reply, last, *response);
    response->body() = *reply.body;
    response->prepare_payload();
    WriteResponse(response, last);
  }

  template <class Response>
  void WriteResponse(const std::shared_ptr<Response>& response, bool last) {
    stream_.expires_after(state_.settings.handshake);
    http::async_write(stream_, *response, [self = shared_from_this(), response, last](ErrorCode error, std::size_t) {
      if (error) return self->stream_.close();
      last ? self->End() : self->Read(self->state_.settings.idle);
    });
  }

  /// What the client still sends is read for a moment, since a socket that is closed before takes the answer with it.
  void End() {
    ErrorCode ignored;
    stream_.socket().shutdown(net::socket_base::shutdown_send, ignored);
    stream_.expires_after(kDrainTime);
    in_.clear();
    Drain();
  }

  void Drain() {
    in_.clear();
    stream_.async_read_some(in_.prepare(4096), [self = shared_from_this()](ErrorCode error, std::size_t size) {
      self->drained_ += size;
      if (error || self->drained_ > kMostDrained) return self->stream_.close();
      self->Drain();
    });
  }

  SocketStream stream_;
  std::optional<Place> place_;
  ServerState& state_;
  beast::flat_buffer in_{kLargestHead + kLargestBody + 4096};
  std::optional<http::request_parser<http::string_body>> parser_;
  std::size_t drained_ = 0;
};

}  // namespace Lumenar::Web
