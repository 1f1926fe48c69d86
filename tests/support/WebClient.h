// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace Lumenar::Test {

/// A message from the gateway: a text, or the head and the numbers of a frame.
struct WebMessage {
  nlohmann::json text;  ///< null for a frame
  std::uint32_t stream = 0;
  std::uint32_t kind = 0;
  std::uint32_t count = 0;
  std::uint32_t skipped = 0;
  std::uint32_t points = 0;
  double time_s = 0;
  double x = 0;
  double x_step = 0;
  std::string y_unit;
  std::string x_unit;
  std::vector<float> numbers;

  bool IsFrame() const { return text.is_null(); }
  bool IsText(const char* type) const { return !IsFrame() && text.value("type", "") == type; }
};

/// A client of the gateway's WebSocket, as a page is one.
class WebClient {
 public:
  struct Options {
    std::string host;    ///< Host; empty: 127.0.0.1:PORT
    std::string origin;  ///< Origin; empty: none, as programs do
    std::string token;
    std::size_t receive_buffer = 0;  ///< of the socket, in bytes; 0: the system's
  };

  /// Connects; the first message is the welcome.
  /// Errors   std::runtime_error that begins with the status of HTTP where the gateway refuses.
  explicit WebClient(unsigned short port) : WebClient(port, Options()) {}
  WebClient(unsigned short port, const Options& options);
  ~WebClient();
  WebClient(const WebClient&) = delete;
  WebClient& operator=(const WebClient&) = delete;

  void Send(const nlohmann::json& message);
  void SendText(const std::string& text);
  void SendBinary(const std::string& bytes);

  /// The next message; nothing after the limit, or when the gateway has closed the connection.
  std::optional<WebMessage> Next(std::chrono::milliseconds limit = std::chrono::seconds(10));

  /// Messages are read until one fits, which is returned; the others are dropped.
  std::optional<WebMessage> WaitFor(const std::function<bool(const WebMessage&)>& fits,
                                    std::chrono::milliseconds limit = std::chrono::seconds(10));

  /// Sends a request under a new number, and waits for its answer; null when none comes.
  nlohmann::json Ask(nlohmann::json request);

  /// A stream of a reading; true when the gateway agrees.
  bool Subscribe(std::uint32_t stream, const std::string& name, unsigned columns, nlohmann::json more = {});
  void Ready(std::uint32_t stream) { Send({{"type", "ready"}, {"stream", stream}}); }

  /// The code with which the gateway closed; 0 while it has not, 1006 where the connection just broke.
  unsigned CloseCode() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace Lumenar::Test
