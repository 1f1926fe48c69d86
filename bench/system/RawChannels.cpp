// SPDX-License-Identifier: Apache-2.0
#include "bench/system/RawChannels.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <sstream>
#include <stdexcept>

#include "platform/wire/sample_calls.h"

namespace Lumenar::Bench {
namespace {

using Clock = std::chrono::steady_clock;

double MicrosecondsSince(Clock::time_point began) {
  return std::chrono::duration<double, std::micro>(Clock::now() - began).count();
}

int ConnectTo(int port) {
  const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int on = 1;
  setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  if (connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
    throw std::runtime_error(std::string("connect: ") + std::strerror(errno));
  return descriptor;
}

}  // namespace

RawChannels::RawChannels(Test::Testbench& bench, Test::IsolatedPlatform& platform)
    : process_(platform.Start("system_relay", {"sink"})) {
  if (!process_->WaitForLine("ready")) throw std::runtime_error("the sink did not start: " + process_->Error());
  std::istringstream lines(process_->Out());
  std::string reference, word;
  int port = 0;
  lines >> reference >> word >> port;
  CORBA::Object_var object = bench.Orb().Orb()->string_to_object(reference.c_str());
  sink_ = Corvanta::DDS_Sub::_narrow(object);
  socket_ = ConnectTo(port);
}

RawChannels::~RawChannels() {
  if (socket_ >= 0) close(socket_);
}

double RawChannels::OrbCall(const CORBA::Any& sample) {
  const auto began = Clock::now();
  sink_->DDS_Callback(sample);
  return MicrosecondsSince(began);
}

double RawChannels::RecordCall(const Test::BT_DATA& trace) {
  const auto began = Clock::now();
  Corvanta::CallCallback(sink_, Corvanta::ViewOf(trace));
  return MicrosecondsSince(began);
}

double RawChannels::SocketRound(std::size_t bytes) {
  message_.resize(sizeof(std::uint32_t) + bytes);
  const std::uint32_t length = static_cast<std::uint32_t>(bytes);
  std::memcpy(message_.data(), &length, sizeof length);
  const auto began = Clock::now();
  for (std::size_t at = 0; at < message_.size();) {
    const ssize_t sent = send(socket_, message_.data() + at, message_.size() - at, MSG_NOSIGNAL);
    if (sent <= 0) throw std::runtime_error(std::string("send: ") + std::strerror(errno));
    at += static_cast<std::size_t>(sent);
  }
  char answer = 0;
  if (recv(socket_, &answer, 1, 0) != 1) throw std::runtime_error("the sink closed the socket");
  return MicrosecondsSince(began);
}

}  // namespace Lumenar::Bench
