// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

namespace Lumenar::Test {

/// A connection that sends bytes as it is told, sense or nonsense.
class RawSocket {
 public:
  /// To a port of loopback. Errors   std::system_error.
  explicit RawSocket(unsigned short port);

  /// To a Unix-domain socket.
  explicit RawSocket(const std::string& path);
  ~RawSocket();
  RawSocket(RawSocket&& other) noexcept;
  RawSocket& operator=(RawSocket&&) = delete;

  /// False when the other side has closed the connection.
  bool Send(const std::string& bytes);

  /// All that comes until the other side closes the connection, or the limit.
  std::string ReadToEnd(std::chrono::milliseconds limit = std::chrono::seconds(10));

  /// What comes until a text is in it, or the other side closes, or the limit.
  std::string ReadUntil(const std::string& text, std::chrono::milliseconds limit = std::chrono::seconds(10));

  /// Whether the other side closes within the limit; what comes is dropped.
  bool IsClosedWithin(std::chrono::milliseconds limit);

 private:
  /// More bytes; empty at the end, or after the limit.
  std::string Read(std::chrono::steady_clock::time_point deadline);

  int socket_;
  bool ended_ = false;
};

/// An answer of HTTP.
struct HttpAnswer {
  unsigned status = 0;  ///< 0: none came
  std::string head;
  std::string body;
};

/// Asks for a target, over a connection of its own; `more` are further lines of the head, each with "\r\n".
HttpAnswer HttpGet(unsigned short port, const std::string& target, const std::string& more = {});

/// The same with a whole request as it stands.
HttpAnswer HttpAsk(RawSocket socket, const std::string& request);

/// The request that makes a WebSocket of a connection to the gateway; `host` is Host, 127.0.0.1:PORT where it is empty;
/// `more` are further lines of the head, each with "\r\n".
std::string UpgradeRequest(unsigned short port, const std::string& host = {}, const std::string& more = {});

/// The head of a frame of a WebSocket from a client, with a mask of zeros; `size` is what it claims.
std::string WebFrameHead(unsigned opcode, unsigned long long size);

}  // namespace Lumenar::Test
