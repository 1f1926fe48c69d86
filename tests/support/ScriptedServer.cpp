// SPDX-License-Identifier: Apache-2.0
#include "tests/support/ScriptedServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>
#include <vector>

#include "tests/support/Wire.h"

namespace Corvanta::Test {
namespace {

bool ReadAll(int socket, char* to, std::size_t size) {
  for (std::size_t at = 0; at < size;) {
    const ssize_t count = recv(socket, to + at, size - at, 0);
    if (count <= 0) return false;
    at += static_cast<std::size_t>(count);
  }
  return true;
}

void WriteAll(int socket, const std::string& bytes) {
  for (std::size_t at = 0; at < bytes.size();) {
    const ssize_t count = send(socket, bytes.data() + at, bytes.size() - at, MSG_NOSIGNAL);
    if (count <= 0) return;
    at += static_cast<std::size_t>(count);
  }
}

}  // namespace

ScriptedServer::ScriptedServer(Script script, Transport transport)
    : script_(std::move(script)),
      listener_(socket(transport == Transport::Tcp ? AF_INET : AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  if (transport == Transport::Tcp) Listen();
  else ListenOnMachine();
  thread_ = std::thread([this] { Serve(); });
}

void ScriptedServer::ListenOnMachine() {
  directory_ = (std::filesystem::temp_directory_path() / "lumenar-scripted-XXXXXX").string();
  if (mkdtemp(directory_.data()) == nullptr) throw std::runtime_error(directory_);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  (directory_ + "/socket").copy(address.sun_path, sizeof address.sun_path - 1);
  if (bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || listen(listener_, 8) != 0)
    throw std::runtime_error("no scripted server");
}

void ScriptedServer::Listen() {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* any = reinterpret_cast<sockaddr*>(&address);
  if (listener_ < 0 || bind(listener_, any, length) != 0 || listen(listener_, 8) != 0 ||
      getsockname(listener_, any, &length) != 0)
    throw std::runtime_error("no scripted server");
  port_ = ntohs(address.sin_port);
}

ScriptedServer::~ScriptedServer() {
  ended_ = true;
  shutdown(listener_, SHUT_RDWR);
  if (const int connection = connection_; connection >= 0) shutdown(connection, SHUT_RDWR);
  thread_.join();
  close(listener_);
  if (!directory_.empty()) std::filesystem::remove_all(directory_);
}

std::string ScriptedServer::Reference() const {
  if (!directory_.empty()) return "corbaloc:omniunix:1.2@" + directory_ + "/socket:/KEY";
  return "corbaloc:iiop:1.2@127.0.0.1:" + std::to_string(port_) + "/KEY";
}

std::string ScriptedServer::ReferenceOnTheWire() const {
  Wire profile = Wire::Encapsulation(true);
  profile.Octet(1).Octet(2).Text("127.0.0.1").Ushort(port_).Align(4).Ulong(3).Raw("KEY").Align(4).Ulong(0);
  return Wire().Text("IDL:Any/Thing:1.0").Align(4).Ulong(1).Ulong(0).Nested(profile).Bytes();
}

void ScriptedServer::Serve() {
  while (!ended_) {
    const int connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) continue;
    connection_ = connection;
    ++connections_;
    if (!ended_) ServeOne(connection);
    connection_ = -1;
    close(connection);
  }
}

void ScriptedServer::ServeOne(int connection) {
  std::vector<char> message(kMessageHeader);
  while (ReadAll(connection, message.data(), kMessageHeader)) {
    const MessageHeader header = ReadMessageHeader(std::span<const char>(message).first(kMessageHeader));
    message.resize(header.size);
    if (!ReadAll(connection, message.data() + kMessageHeader, message.size() - kMessageHeader)) return;
    if (header.kind == MessageKind::CloseConnection) return;
    const std::uint32_t id = header.HasId() ? ReadULong(message.data() + kMessageHeader, header.little_endian) : 0;
    const Answer answer = script_(header, id, messages_++);
    WriteAll(connection, answer.bytes);
    if (answer.closes) return;
  }
}

}  // namespace Corvanta::Test
