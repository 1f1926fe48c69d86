// SPDX-License-Identifier: Apache-2.0
#include "tests/support/RawClient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace Corvanta::Test {
namespace {

/// Reads what an ORB has written; the other way round than Wire.
class Reader {
 public:
  Reader(std::string bytes, bool little_endian, std::size_t at = 0)
      : bytes_(std::move(bytes)), little_endian_(little_endian), at_(at) {}

  template <class T>
  T Number() {
    at_ = (at_ + sizeof(T) - 1) / sizeof(T) * sizeof(T);
    char raw[sizeof(T)];
    std::memcpy(raw, bytes_.substr(at_, sizeof(T)).data(), sizeof(T));
    if (!little_endian_) std::reverse(raw, raw + sizeof(T));
    at_ += sizeof(T);
    T value;
    std::memcpy(&value, raw, sizeof(T));
    return value;
  }

  std::string Text() {
    const auto length = Number<std::uint32_t>();
    at_ += length;
    return bytes_.substr(at_ - length, length);
  }

  Reader Enter() {
    const std::string body = Text();
    return Reader(body, body.at(0) == 1, 1);
  }

 private:
  std::string bytes_;
  bool little_endian_;
  std::size_t at_;
};

std::string FromHex(const std::string& hex) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
    bytes.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
  return bytes;
}

std::string Header(bool little_endian, bool fragments_follow, int type, std::size_t size) {
  Wire wire(little_endian);
  wire.Raw("GIOP").Octet(1).Octet(2);
  wire.Octet(static_cast<std::uint8_t>((little_endian ? 1 : 0) | (fragments_follow ? 2 : 0)));
  wire.Octet(static_cast<std::uint8_t>(type)).Ulong(static_cast<std::uint32_t>(size));
  return wire.Bytes();
}

sockaddr_in InternetAddress(const std::string& host, std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  inet_pton(AF_INET, host.c_str(), &address.sin_addr);
  return address;
}

int ConnectOnMachine(int socket, const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  return connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address);
}

constexpr std::size_t kHeaderBytes = 12;

}  // namespace

ObjectAddress AddressOf(const std::string& reference) {
  const std::string bytes = FromHex(reference.substr(4));  // behind "IOR:"
  Reader ior(bytes, bytes.at(0) == 1, 1);
  ior.Text();                   // the type
  ior.Number<std::uint32_t>();  // the number of profiles
  ior.Number<std::uint32_t>();  // the kind of the first
  Reader profile = ior.Enter();
  profile.Number<std::uint8_t>();
  profile.Number<std::uint8_t>();
  ObjectAddress address;
  address.host = profile.Text().c_str();
  address.port = profile.Number<std::uint16_t>();
  address.key = profile.Text();
  return address;
}

RawClient::RawClient(const ObjectAddress& address, const char* source)
    : address_(address), socket_(socket(address.path.empty() ? AF_INET : AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  if (!address.path.empty()) {
    if (ConnectOnMachine(socket_, address.path) == 0) return;
    close(socket_);
    throw std::runtime_error("connect: " + address.path);
  }
  sockaddr_in from = InternetAddress(source == nullptr ? "0.0.0.0" : source, 0);
  sockaddr_in peer = InternetAddress(address.host, address.port);
  if (source != nullptr)
    (void)bind(socket_, reinterpret_cast<sockaddr*>(&from), sizeof from);  // connect tells if it failed
  if (connect(socket_, reinterpret_cast<sockaddr*>(&peer), sizeof peer) == 0) return;
  const int error = errno;
  close(socket_);
  throw std::runtime_error(std::string("connect: ") + std::strerror(error));
}

RawClient::~RawClient() { close(socket_); }

std::string RawClient::Request(const std::string& operation, const Wire& arguments, bool fragments_follow) {
  Wire body(arguments.IsLittleEndian());
  body.Raw(std::string(kHeaderBytes, '\0'));  // alignment counts from the header on
  body.Ulong(++request_id_).Octet(3).Octet(0).Octet(0).Octet(0);
  body.Ushort(0).Ulong(static_cast<std::uint32_t>(address_.key.size())).Raw(address_.key);
  body.Text(operation).Ulong(0);
  body.Align(8);
  if (!fragments_follow) body.Raw(arguments.Bytes());
  const std::string bytes = body.Bytes().substr(kHeaderBytes);
  return Header(arguments.IsLittleEndian(), fragments_follow, kRequest, bytes.size()) + bytes;
}

void RawClient::Send(const std::string& bytes) {
  for (std::size_t sent = 0; sent < bytes.size();) {
    const ssize_t count = send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count <= 0) return;  // the other side has had enough; its answer says why
    sent += static_cast<std::size_t>(count);
  }
}

void RawClient::EndSending() { shutdown(socket_, SHUT_WR); }

bool RawClient::WaitUntilClosed(std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
    pollfd ready{socket_, POLLIN, 0};
    if (left.count() <= 0 || poll(&ready, 1, static_cast<int>(left.count())) <= 0) return false;
    char dropped[4096];
    if (recv(socket_, dropped, sizeof dropped, 0) <= 0) return true;
  }
}

std::string RawClient::Call(const std::string& operation, const Wire& arguments) {
  Send(Request(operation, arguments));
  return Answer();
}

void RawClient::BeginFragments(const std::string& operation, const Wire& arguments) {
  Send(Request(operation, arguments, true));
  SendFragment(arguments.Bytes(), true, arguments.IsLittleEndian());
}

void RawClient::SendFragment(const std::string& bytes, bool more, bool little_endian) {
  Wire id(little_endian);
  id.Ulong(request_id_);
  Send(Header(little_endian, more, kFragment, bytes.size() + id.Bytes().size()) + id.Bytes() + bytes);
}

std::string RawClient::CallInFragments(const std::string& operation, const Wire& arguments,
                                       std::size_t fragment_bytes) {
  Send(Request(operation, arguments, true));
  const std::string& bytes = arguments.Bytes();
  for (std::size_t at = 0; at < bytes.size(); at += fragment_bytes) {
    const std::string part = bytes.substr(at, fragment_bytes);
    SendFragment(part, at + part.size() < bytes.size(), arguments.IsLittleEndian());
  }
  return Answer();
}

std::string RawClient::Message(int kind, int flags, const std::string& body, int minor_version) {
  Wire wire;
  wire.Raw("GIOP")
      .Octet(1)
      .Octet(static_cast<std::uint8_t>(minor_version))
      .Octet(static_cast<std::uint8_t>(flags | kLittleEndian));
  wire.Octet(static_cast<std::uint8_t>(kind)).Ulong(static_cast<std::uint32_t>(body.size())).Raw(body);
  return wire.Bytes();
}

std::string RawClient::RequestInOldFragments(const std::string& operation, const Wire& arguments,
                                             std::size_t fragment_bytes) {
  Wire body;
  body.Ulong(0).Ulong(++request_id_).Octet(1).Octet(0).Octet(0).Octet(0);
  body.Ulong(static_cast<std::uint32_t>(address_.key.size())).Raw(address_.key).Align(4);
  body.Text(operation).Align(4).Ulong(0).Raw(arguments.Bytes());
  const std::string& whole = body.Bytes();
  std::string messages;
  for (std::size_t at = 0; at < whole.size(); at += fragment_bytes) {
    const bool last = at + fragment_bytes >= whole.size();
    messages +=
        Message(at == 0 ? kRequest : kFragment, last ? 0 : kFragmentsFollow, whole.substr(at, fragment_bytes), 1);
  }
  return messages;
}

bool RawClient::Receive(std::string& bytes, std::size_t count) {
  constexpr int kLimit_ms = 5000;
  bytes.assign(count, '\0');
  for (std::size_t have = 0; have < count;) {
    pollfd ready{socket_, POLLIN, 0};
    if (poll(&ready, 1, kLimit_ms) <= 0) throw std::runtime_error("no answer");
    const ssize_t got = recv(socket_, bytes.data() + have, count - have, 0);
    if (got <= 0) return false;
    have += static_cast<std::size_t>(got);
  }
  return true;
}

std::string RawClient::Answer() {
  try {
    std::string header, body;
    if (!Receive(header, kHeaderBytes)) return "closed";
    const bool little_endian = header.at(6) & 1;
    if (!Receive(body, Reader(header, little_endian, 8).Number<std::uint32_t>())) return "closed";
    if (header.at(7) != kReply) return "closed";
    Reader reply(header + body, little_endian, kHeaderBytes);
    const bool contexts_first = header.at(5) < 2;  // none, in either place
    if (contexts_first) reply.Number<std::uint32_t>();
    reply.Number<std::uint32_t>();  // the request
    const auto status = reply.Number<std::uint32_t>();
    if (!contexts_first) reply.Number<std::uint32_t>();
    if (status == 0) return "ok";
    const std::string id = reply.Text().c_str();  // IDL:omg.org/CORBA/NAME:1.0
    const auto slash = id.rfind('/');
    return id.substr(slash + 1, id.rfind(':') - slash - 1);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

}  // namespace Corvanta::Test
