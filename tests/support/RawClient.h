// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

#include "tests/support/Wire.h"

namespace Corvanta::Test {

/// Where an object is, out of the text of its reference.
struct ObjectAddress {
  std::string host;
  std::uint16_t port = 0;
  std::string key;
  std::string path;  ///< of a Unix-domain socket, in place of host and port
};

ObjectAddress AddressOf(const std::string& reference);

/// The kinds of messages and the flags of their headers.
inline constexpr int kRequest = 0, kReply = 1, kCancelRequest = 2, kLocateRequest = 3, kLocateReply = 4,
                     kCloseConnection = 5, kMessageError = 6, kFragment = 7;
inline constexpr int kLittleEndian = 1, kFragmentsFollow = 2;

/// A connection that sends messages byte by byte as it is told, sense or nonsense.
class RawClient {
 public:
  /// `source`: the own address to connect from, as "127.0.0.2"; else the system chooses.
  explicit RawClient(const ObjectAddress& address, const char* source = nullptr);
  ~RawClient();
  RawClient(const RawClient&) = delete;
  RawClient& operator=(const RawClient&) = delete;

  /// Sends a request with these arguments (which begin at a multiple of eight) and returns what comes back: "ok", the
  /// name of the exception, "closed", or "no answer" after five seconds.
  std::string Call(const std::string& operation, const Wire& arguments);

  /// The same with the arguments cut: the first message ends after the request's head and says that fragments follow;
  /// each fragment carries a part of the arguments.
  std::string CallInFragments(const std::string& operation, const Wire& arguments, std::size_t fragment_bytes);

  /// The same piece by piece: the first message and each fragment say that more follow.
  void BeginFragments(const std::string& operation, const Wire& arguments);
  void SendFragment(const std::string& bytes, bool more = true, bool little_endian = true);

  void Send(const std::string& bytes);

  /// Says that nothing more will be sent.
  void EndSending();

  /// Takes and drops what comes until the other side closes the connection; false after `limit`.
  bool WaitUntilClosed(std::chrono::milliseconds limit);

  /// A request message.
  std::string Request(const std::string& operation, const Wire& arguments, bool fragments_follow = false);

  /// A request of GIOP 1.1, whose arguments begin at a multiple of four, in as many messages as fragments of
  /// `fragment_bytes` make.
  std::string RequestInOldFragments(const std::string& operation, const Wire& arguments, std::size_t fragment_bytes);

  /// A message of any kind with any flags and body, in little-endian order.
  static std::string Message(int kind, int flags, const std::string& body, int minor_version = 2);

  /// The number of the last request.
  std::uint32_t LastId() const { return request_id_; }
  const ObjectAddress& Address() const { return address_; }
  int Socket() const { return socket_; }

  /// What comes back next, to whichever request: as from Call.
  std::string Answer();

 private:
  bool Receive(std::string& bytes, std::size_t count);

  ObjectAddress address_;
  int socket_;
  std::uint32_t request_id_ = 0;
};

}  // namespace Corvanta::Test
