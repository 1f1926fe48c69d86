// SPDX-License-Identifier: Apache-2.0
#include "platform/orb/CorbaText.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <omniORB4/minorCode.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <utility>

namespace Lumenar {
namespace {

const CORBA::TRANSIENT kConnectFailed(omni::TRANSIENT_ConnectFailed, CORBA::COMPLETED_NO);

// A port of this machine at which nobody listens: bound, so that nobody else gets it meanwhile.
class ClosedPort {
 public:
  ClosedPort() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&address), size), 0);
    EXPECT_EQ(getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size), 0);
    port_ = ntohs(address.sin_port);
  }
  ~ClosedPort() { close(socket_); }
  ClosedPort(const ClosedPort&) = delete;
  ClosedPort& operator=(const ClosedPort&) = delete;

  std::string Address() const { return "127.0.0.1:" + std::to_string(port_); }
  void Listen() const { EXPECT_EQ(listen(socket_, 1), 0); }

 private:
  const int socket_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  int port_ = 0;
};

TEST(CorbaText, SaysWhyInPlainWords) {
  EXPECT_EQ(CorbaText(kConnectFailed), "no connection");
  EXPECT_EQ(CorbaText(CORBA::TRANSIENT(omni::TRANSIENT_CallTimedout, CORBA::COMPLETED_NO)),
            "no answer within the time limit");
  EXPECT_EQ(CorbaText(CORBA::MARSHAL(77, CORBA::COMPLETED_YES)), "the message could not be read");
  EXPECT_EQ(CorbaText(CORBA::IMP_LIMIT()), "a limit is reached");
}

// Every kind of failure that the standard knows and a call can meet has words.
TEST(CorbaText, NoWordOfTheOrbIsLeft) {
  const std::pair<const char*, std::string> kTexts[] = {
      {"BAD_OPERATION", CorbaText(CORBA::BAD_OPERATION())},
      {"BAD_PARAM", CorbaText(CORBA::BAD_PARAM())},
      {"COMM_FAILURE", CorbaText(CORBA::COMM_FAILURE())},
      {"INTERNAL", CorbaText(CORBA::INTERNAL())},
      {"INV_OBJREF", CorbaText(CORBA::INV_OBJREF())},
      {"NO_IMPLEMENT", CorbaText(CORBA::NO_IMPLEMENT())},
      {"NO_MEMORY", CorbaText(CORBA::NO_MEMORY())},
      {"NO_PERMISSION", CorbaText(CORBA::NO_PERMISSION())},
      {"NO_RESOURCES", CorbaText(CORBA::NO_RESOURCES())},
      {"OBJ_ADAPTER", CorbaText(CORBA::OBJ_ADAPTER())},
      {"TIMEOUT", CorbaText(CORBA::TIMEOUT())},
      {"TRANSIENT", CorbaText(CORBA::TRANSIENT())},
      {"UNKNOWN", CorbaText(CORBA::UNKNOWN())},
      {"PERSIST_STORE", CorbaText(CORBA::PERSIST_STORE())},
      {"BAD_TYPECODE", CorbaText(CORBA::BAD_TYPECODE())},
      {"NO_RESPONSE", CorbaText(CORBA::NO_RESPONSE())},
      {"INITIALIZE", CorbaText(CORBA::INITIALIZE())},
      {"BAD_INV_ORDER", CorbaText(CORBA::BAD_INV_ORDER())},
      {"OBJECT_NOT_EXIST", CorbaText(CORBA::OBJECT_NOT_EXIST())},
  };
  for (const auto& [name, text] : kTexts) {
    EXPECT_FALSE(text.empty()) << name;
    EXPECT_EQ(text.find(name), text.npos) << text;
  }
}

TEST(CorbaText, FindsOutWhyThereIsNoConnection) {
  const ClosedPort port;
  EXPECT_EQ(CorbaText(kConnectFailed, port.Address()), "connection refused");
  port.Listen();
  EXPECT_EQ(CorbaText(kConnectFailed, port.Address()), "it had no connection to spare, or has just started");
  EXPECT_EQ(CorbaText(kConnectFailed, "unix:/nonexistent/socket"), "no such file or directory");
  EXPECT_EQ(CorbaText(kConnectFailed, "nonsense"), "it has no address");
  EXPECT_EQ(CorbaText(CORBA::TIMEOUT(), port.Address()), "no answer within the time limit");
}

TEST(CallProblem, SaysWhoWhereWhyAndWhatToDo) {
  const ClosedPort port;
  const Callee naming = NamingService(port.Address());
  EXPECT_EQ(CallProblem(naming, kConnectFailed),
            "naming service at " + port.Address() + " does not answer (connection refused); is omniNames running?");
  EXPECT_EQ(CallProblem({"PROBE/1", "", ""}, CORBA::TIMEOUT(), std::chrono::milliseconds(300)),
            "PROBE/1 does not answer within 0.3 s; it hangs, is stopped, or needs more time");
  EXPECT_EQ(CallProblem({"PROBE/1", "h:1", "is it running?"}, CORBA::COMM_FAILURE()),
            "PROBE/1 at h:1 broke the connection before it answered; is it running?");
  EXPECT_EQ(CallProblem({"math object 3", "", ""}, CORBA::OBJECT_NOT_EXIST()),
            "math object 3 is gone: deleted, or its engine ended");
  EXPECT_EQ(CallProblem({"PROBE/1", "", ""}, CORBA::IMP_LIMIT()), "PROBE/1: a limit is reached");
}

TEST(CorbaText, AUserExceptionIsItsName) { EXPECT_EQ(CorbaText(CORBA::ORB::InvalidName()), "InvalidName"); }

}  // namespace
}  // namespace Lumenar
