// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/HostileServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <stdexcept>

#include "tests/support/RawClient.h"
#include "tests/support/Wire.h"

namespace Lumenar::Test {
namespace {

using namespace Corvanta::Test;
using Call = HostileServer::Call;

constexpr std::size_t kHeaderBytes = 12;
constexpr std::uint32_t kNoException = 0, kSystemException = 2, kForward = 3, kNeedsAddressingMode = 5;
constexpr std::uint32_t kNobody = 0x70000000;

bool Receive(int socket, std::string& bytes, std::size_t count) {
  bytes.assign(count, '\0');
  for (std::size_t have = 0; have < count;) {
    const ssize_t got = recv(socket, bytes.data() + have, count - have, 0);
    if (got <= 0) return false;
    have += static_cast<std::size_t>(got);
  }
  return true;
}

std::uint32_t Number(const std::string& bytes, std::size_t at) {
  std::uint32_t value = 0;
  std::memcpy(&value, bytes.data() + at, sizeof value);
  return value;
}

/// The body of an answer up to its results, which begin at a multiple of eight.
Wire Begun(std::uint32_t id, std::uint32_t status) { return Wire().Ulong(id).Ulong(status).Ulong(0); }

std::string Reply(std::uint32_t id, std::uint32_t status, const std::string& results, bool more = false) {
  return RawClient::Message(kReply, more ? kFragmentsFollow : 0, Begun(id, status).Bytes() + results);
}

std::string Fragment(std::uint32_t id, bool more, const std::string& bytes) {
  return RawClient::Message(kFragment, more ? kFragmentsFollow : 0, Wire().Ulong(id).Raw(bytes).Bytes());
}

std::string Text(const std::string& text) { return Wire().Text(text).Align(8).Bytes(); }

HostileServer::Script Sends(const std::function<std::string(const Call&)>& bytes, bool goes_on = true) {
  return [=](Call& call) { return call.Send(bytes(call)) && goes_on; };
}

bool ByteByByte(Call& call) {
  const std::string answer = Reply(call.id, kNoException, Text("a topic"));
  for (const char byte : answer) {
    if (call.server.IsEnded() || !call.Send(std::string(1, byte))) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));  // its pace
  }
  return true;
}

bool FragmentsWithoutEnd(Call& call) {
  bool goes_on = call.Send(Reply(call.id, kNoException, Text("topic"), true));
  while (goes_on && !call.server.IsEnded()) goes_on = call.Send(Fragment(call.id, true, std::string(8192, 'x')));
  return false;
}

bool LargerThanAnything(Call& call) {
  std::string header = RawClient::Message(kReply, 0, {});
  header.replace(8, 4, Wire().Ulong(0xfffffff0).Bytes());
  bool goes_on = call.Send(header + Begun(call.id, kNoException).Bytes());
  while (goes_on && !call.server.IsEnded()) goes_on = call.Send(std::string(1 << 16, 'x'));
  return false;
}

std::string CloseInTheMiddle(const Call& call) { return Reply(call.id, kNoException, Text("topic")).substr(0, 20); }

std::vector<HostileServer::Behaviour> Fragments() {
  return {
      {"last fragment twice", Sends([](const Call& call) {
         const std::string last = Fragment(call.id, false, Text("topic"));
         return Reply(call.id, kNoException, Text("topic"), true) + last + last;
       })},
      {"fragments to nobody", Sends([](const Call&) {
         return Reply(kNobody, kNoException, Text("a"), true) + Fragment(kNobody, false, "b");
       })},
      {"fragment of nothing", Sends([](const Call& call) { return Fragment(call.id, false, "abcd"); })},
      {"fragments without end", FragmentsWithoutEnd},
  };
}

std::vector<HostileServer::Behaviour> Lies() {
  const auto count = [](const Call& call) {
    return Reply(call.id, kNoException, Wire().Ulong(79'000'000).Ulong(1).Bytes());
  };
  const auto exception = [](const Call& call) {
    return Reply(call.id, kSystemException, Wire().Ulong(0x7fffffff).Bytes());
  };
  return {
      {"a count that lies", Sends(count)},
      {"a count that lies, more to come", Sends([count](const Call& call) {
         std::string answer = count(call);
         answer[6] = static_cast<char>(answer[6] | kFragmentsFollow);
         return answer;
       })},
      {"an exception that lies", Sends(exception)},
      {"nothing in it", Sends([](const Call& call) { return Reply(call.id, kNoException, {}); })},
      {"no such status", Sends([](const Call& call) { return Reply(call.id, 77, {}); })},
      {"location in a circle",
       Sends([](const Call& call) { return Reply(call.id, kForward, call.server.ReferenceOnTheWire()); })},
      {"addressing in a circle",
       Sends([](const Call& call) { return Reply(call.id, kNeedsAddressingMode, std::string(2, '\0')); })},
      {"larger than anything", LargerThanAnything},
  };
}

std::vector<HostileServer::Behaviour> WrongMoments() {
  return {
      {"to nobody", Sends([](const Call&) { return Reply(kNobody, kNoException, Text("topic")); })},
      {"twice", Sends([](const Call& call) {
         const std::string answer = Reply(call.id, kNoException, Text("topic"));
         return answer + answer;
       })},
      {"a request", Sends([](const Call& call) {
         return RawClient::Message(kRequest, 0, Wire().Ulong(call.id).Raw(std::string(40, '\0')).Bytes());
       })},
      {"a cancel",
       Sends([](const Call& call) { return RawClient::Message(kCancelRequest, 0, Wire().Ulong(call.id).Bytes()); })},
      {"an error", Sends([](const Call&) { return RawClient::Message(kMessageError, 0, {}); })},
      {"a goodbye", Sends([](const Call&) { return RawClient::Message(kCloseConnection, 0, {}); }, false)},
      {"an end in the middle", Sends(CloseInTheMiddle, false)},
      {"an end", [](Call&) { return false; }},
      {"silence", [](Call&) { return true; }},
      {"byte by byte", ByteByByte},
      {"noise", Sends([](const Call&) { return std::string(4096, '\xA5'); })},
  };
}

}  // namespace

bool HostileServer::Call::Send(const std::string& bytes) {
  for (std::size_t sent = 0; sent < bytes.size();) {
    const ssize_t count = send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count <= 0) return false;
    sent += static_cast<std::size_t>(count);
  }
  return true;
}

HostileServer::HostileServer(Script script, std::uint16_t port)
    : script_(std::move(script)), listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  const int on = 1;
  setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  socklen_t length = sizeof address;
  auto* any = reinterpret_cast<sockaddr*>(&address);
  if (listener_ < 0 || bind(listener_, any, length) != 0 || listen(listener_, 64) != 0 ||
      getsockname(listener_, any, &length) != 0)
    throw std::runtime_error("no hostile server");
  port_ = ntohs(address.sin_port);
  acceptor_ = std::thread([this] { Accept(); });
}

HostileServer::~HostileServer() {
  ended_ = true;
  shutdown(listener_, SHUT_RDWR);
  acceptor_.join();
  {
    Lock lock(mutex_);
    for (const int open : sockets_) shutdown(open, SHUT_RDWR);
  }
  for (std::thread& thread : threads_) thread.join();
  close(listener_);
}

std::string HostileServer::Reference() const { return "corbaloc:iiop:1.2@" + Address() + "/KEY"; }

std::string HostileServer::ReferenceOnTheWire() const {
  Wire profile = Wire::Encapsulation(true);
  profile.Octet(1).Octet(2).Text("127.0.0.1").Ushort(port_).Align(4).Text("KEY").Align(4).Ulong(0);
  return Wire().Text("IDL:Corvanta/EngineReadingBase:1.0").Align(4).Ulong(1).Ulong(0).Nested(profile).Bytes();
}

void HostileServer::Accept() {
  while (!ended_) {
    const int socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket < 0) continue;
    {
      Lock lock(mutex_);
      sockets_.push_back(socket);
    }
    threads_.emplace_back([this, socket] { Serve(socket); });
  }
}

void HostileServer::Serve(int socket) {
  std::string header, body;
  bool goes_on = true;
  while (goes_on && !ended_ && Receive(socket, header, kHeaderBytes) && Receive(socket, body, Number(header, 8))) {
    if (header[7] != kRequest && header[7] != kLocateRequest) continue;
    ++requests_;
    Call call(socket, Number(body, 0), *this);
    goes_on = script_(call);
  }
  Lock lock(mutex_);
  std::erase(sockets_, socket);
  close(socket);
}

std::vector<HostileServer::Behaviour> HostileAnswers() {
  std::vector<HostileServer::Behaviour> all = Fragments();
  for (const auto& more : {Lies(), WrongMoments()}) all.insert(all.end(), more.begin(), more.end());
  return all;
}

}  // namespace Lumenar::Test
