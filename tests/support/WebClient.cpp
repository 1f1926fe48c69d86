// SPDX-License-Identifier: Apache-2.0
#include "tests/support/WebClient.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/websocket.hpp>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "tests/support/RawSocket.h"

namespace Lumenar::Test {
namespace {

namespace beast = boost::beast;
namespace net = boost::asio;
namespace websocket = beast::websocket;
using nlohmann::json;

constexpr std::size_t kHead = 96;
constexpr unsigned kBroken = 1006;

template <class T>
T NumberAt(const std::string& bytes, std::size_t place) {
  T number;
  std::memcpy(&number, bytes.data() + place, sizeof number);
  return number;
}

std::string UnitAt(const std::string& bytes, std::size_t place) {
  const std::string unit = bytes.substr(place, 16);
  return unit.substr(0, unit.find('\0'));
}

WebMessage FrameFrom(const std::string& bytes) {
  if (bytes.size() < kHead || bytes.compare(0, 4, "LUM1") != 0) throw std::runtime_error("a frame without its head");
  WebMessage frame;
  frame.stream = NumberAt<std::uint32_t>(bytes, 4);
  frame.kind = NumberAt<std::uint32_t>(bytes, 8);
  frame.count = NumberAt<std::uint32_t>(bytes, 12);
  frame.skipped = NumberAt<std::uint32_t>(bytes, 16);
  frame.points = NumberAt<std::uint32_t>(bytes, 20);
  frame.time_s = NumberAt<double>(bytes, 24);
  frame.x = NumberAt<double>(bytes, 32);
  frame.x_step = NumberAt<double>(bytes, 40);
  frame.y_unit = UnitAt(bytes, 64);
  frame.x_unit = UnitAt(bytes, 80);
  frame.numbers.resize((bytes.size() - kHead) / sizeof(float));
  std::memcpy(frame.numbers.data(), bytes.data() + kHead, frame.numbers.size() * sizeof(float));
  if (frame.numbers.size() != frame.count * (frame.kind == 2 ? 2u : 1u)) throw std::runtime_error("a frame cut off");
  return frame;
}

}  // namespace

struct WebClient::Impl {
  net::io_context context{1};
  websocket::stream<net::ip::tcp::socket> ws{context};
  beast::flat_buffer in;
  bool is_reading = false;
  bool has_read = false;
  beast::error_code error;
  std::uint64_t requests = 0;

  void Connect(unsigned short port, std::size_t receive_buffer) {
    auto& socket = ws.next_layer();
    socket.open(net::ip::tcp::v4());
    if (receive_buffer > 0) socket.set_option(net::socket_base::receive_buffer_size(static_cast<int>(receive_buffer)));
    socket.connect({net::ip::make_address("127.0.0.1"), port});
    socket.set_option(net::ip::tcp::no_delay(true));
    ws.read_message_max(std::size_t{128} << 20);
    ws.auto_fragment(false);
  }
};

WebClient::WebClient(unsigned short port, const Options& options) : impl_(std::make_unique<Impl>()) {
  impl_->Connect(port, options.receive_buffer);
  impl_->ws.set_option(websocket::stream_base::decorator([&](websocket::request_type& request) {
    const std::string token = options.token.empty() ? "" : ", lumenar.token." + options.token;
    request.set(beast::http::field::sec_websocket_protocol, "lumenar.1" + token);
    if (!options.origin.empty()) request.set(beast::http::field::origin, options.origin);
  }));
  beast::error_code error;
  const std::string host = options.host.empty() ? "127.0.0.1:" + std::to_string(port) : options.host;
  impl_->ws.handshake(host, "/live", error);
  if (error == websocket::error::upgrade_declined) {  // its answer is not told: it is asked for once more
    const std::string origin = options.origin.empty() ? "" : "Origin: " + options.origin + "\r\n";
    const HttpAnswer answer = HttpAsk(RawSocket(port), UpgradeRequest(port, host, origin));
    throw std::runtime_error(std::to_string(answer.status) + " " + answer.body);
  }
  if (error) throw std::runtime_error(error.message());
}

WebClient::~WebClient() = default;

void WebClient::Send(const json& message) { SendText(message.dump()); }

void WebClient::SendText(const std::string& text) {
  impl_->ws.text(true);
  impl_->ws.write(net::buffer(text), impl_->error);
}

void WebClient::SendBinary(const std::string& bytes) {
  impl_->ws.binary(true);
  impl_->ws.write(net::buffer(bytes), impl_->error);
}

std::optional<WebMessage> WebClient::Next(std::chrono::milliseconds limit) {
  Impl& impl = *impl_;
  if (!impl.is_reading && !impl.error) {
    impl.is_reading = true;
    impl.has_read = false;
    impl.ws.async_read(impl.in, [&impl](beast::error_code error, std::size_t) {
      impl.is_reading = false;
      impl.has_read = !error;
      impl.error = error;
    });
  }
  impl.context.restart();
  const auto deadline = std::chrono::steady_clock::now() + limit;
  // What is there is taken even where there is no time to wait.
  while (impl.is_reading && (impl.context.poll_one() > 0 || impl.context.run_one_until(deadline) > 0)) {}
  if (!std::exchange(impl.has_read, false)) return std::nullopt;
  const std::string bytes = beast::buffers_to_string(impl.in.data());
  impl.in.clear();
  if (!impl.ws.got_text()) return FrameFrom(bytes);
  WebMessage message;
  message.text = json::parse(bytes);
  return message;
}

std::optional<WebMessage> WebClient::WaitFor(const std::function<bool(const WebMessage&)>& fits,
                                             std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (true) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return std::nullopt;
    auto message = Next(left);
    if (!message) return std::nullopt;
    if (fits(*message)) return message;
  }
}

json WebClient::Ask(json request) {
  const std::uint64_t number = ++impl_->requests;
  request["request"] = number;
  Send(request);
  const auto answer =
      WaitFor([&](const WebMessage& message) { return message.IsText("answer") && message.text["request"] == number; });
  return answer ? answer->text : json();
}

bool WebClient::Subscribe(std::uint32_t stream, const std::string& name, unsigned columns, json more) {
  json request{{"type", "subscribe"}, {"stream", stream}, {"name", name}, {"columns", columns}, {"scale", "as_is"}};
  if (more.is_object()) request.update(more);
  const json answer = Ask(request);
  return answer.is_object() && answer["ok"] == true;
}

unsigned WebClient::CloseCode() const {
  if (!impl_->error) return 0;
  return impl_->error == websocket::error::closed ? impl_->ws.reason().code : kBroken;
}

}  // namespace Lumenar::Test
