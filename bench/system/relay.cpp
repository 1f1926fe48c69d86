// SPDX-License-Identifier: Apache-2.0
// What an engine costs that computes nothing: system_relay IN OUT takes the samples of one topic and publishes each on
// another through the same topic manager. "system_relay sink" takes samples by direct calls and drops them; it writes
// its reference and the port of a plain socket that answers each message with one byte: the bare cost of an ORB call
// and of a socket.
#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <thread>

#include "platform/base/Diagnostic.h"
#include "platform/base/TraceMemory.h"
#include "platform/orb/ORB_wrapper.h"
#include "platform/orb/names.h"
#include "platform/program/local_arguments.h"
#include "platform/program/program.h"
#include "platform/topics/DDS_Publisher.h"
#include "platform/wire/any_guard.h"

LUMENAR_LOCAL_ARGUMENTS("system_relay")

namespace {

using namespace Corvanta;

/// Publishes what is delivered, as it was decoded by the any guard: the least that an engine can do.
class Relay : public GuardedServant<POA_Corvanta::DDS_Sub> {
 public:
  explicit Relay(const char* out) : publisher_(out) {}
  void DDS_Callback(const CORBA::Any&) override {}
  CORBA::Long GetId() override { return 0; }
  bool TakeCall(IncomingCall& call) override {
    return DispatchCallback(
        call, [this](SampleRecord&& sample) { publisher_.Publish(std::get<BASIC_TRACE::BT_DATA>(sample)); });
  }

 private:
  DDS_Publisher<BASIC_TRACE::BT_DATA> publisher_;
};

/// Takes samples through the ORB's own any and drops them.
class Sink : public POA_Corvanta::DDS_Sub {
 public:
  void DDS_Callback(const CORBA::Any&) override {}
  CORBA::Long GetId() override { return 0; }
};

bool ReadAll(int socket, char* data, std::size_t bytes) {
  for (std::size_t at = 0; at < bytes;) {
    const ssize_t got = recv(socket, data + at, bytes - at, 0);
    if (got <= 0) return false;
    at += static_cast<std::size_t>(got);
  }
  return true;
}

/// Messages of a 4-byte length and that many bytes, each answered by one byte; one client.
void Answer(int listener) {
  const int client = accept(listener, nullptr, nullptr);
  const int on = 1;
  setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  std::vector<char> message;
  std::uint32_t bytes = 0;
  while (ReadAll(client, reinterpret_cast<char*>(&bytes), sizeof bytes)) {
    message.resize(bytes);
    if (!ReadAll(client, message.data(), bytes) || send(client, "", 1, MSG_NOSIGNAL) != 1) break;
  }
  close(client);
}

/// A listening socket on a free loopback port, and that port.
std::pair<int, int> Listen() {
  const int listener = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  if (bind(listener, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(listener, 1) != 0 ||
      getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0)
    throw std::runtime_error(std::string("socket: ") + std::strerror(errno));
  return {listener, ntohs(address.sin_port)};
}

void RunSink(ORB_wrapper& orb) {
  PortableServer::Servant_var<Sink> sink(new Sink);
  DDS_Sub_var reference = sink->_this();
  CORBA::String_var text = orb.Orb()->object_to_string(reference);
  const auto [listener, port] = Listen();
  std::thread(Answer, listener).detach();
  Lumenar::WriteOut(text.in());
  Lumenar::WriteOut("port " + std::to_string(port));
  Lumenar::WriteOut("ready");
  orb.Run();
}

void RunRelay(ORB_wrapper& orb, const char* in, const char* out) {
  PortableServer::Servant_var<Relay> relay(new Relay(out));
  DDS_Sub_var reference = relay->_this();
  orb.Activate();
  DdsBaseAccess::Instance().Subscribe(in, reference);
  Lumenar::WriteOut("ready");
  orb.Run();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  Lumenar::KeepTraceMemory();
  return Lumenar::RunProgram("system_relay", [&] {
    ORB_wrapper orb("SYSTEM_RELAY", kLocalContext);
    if (argc == 3) {
      RunRelay(orb, argv[1], argv[2]);
    } else {
      RunSink(orb);
    }
    return 0;
  });
}
