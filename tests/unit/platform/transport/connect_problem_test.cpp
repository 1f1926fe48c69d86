// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/connect_problem.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

namespace Corvanta {
namespace {

/// A socket with an address, on which somebody may listen.
class BoundSocket {
 public:
  /// On a free port of loopback.
  BoundSocket() : descriptor_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(bind(descriptor_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    socklen_t size = sizeof address;
    EXPECT_EQ(getsockname(descriptor_, reinterpret_cast<sockaddr*>(&address), &size), 0);
    port_ = std::to_string(ntohs(address.sin_port));
  }

  explicit BoundSocket(const std::filesystem::path& path)
      : descriptor_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    EXPECT_EQ(bind(descriptor_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  }

  ~BoundSocket() { close(descriptor_); }
  BoundSocket(const BoundSocket&) = delete;
  BoundSocket& operator=(const BoundSocket&) = delete;

  void Listen(int queue) const { EXPECT_EQ(listen(descriptor_, queue), 0); }
  const std::string& Port() const { return port_; }

 private:
  const int descriptor_;
  std::string port_;
};

class ConnectProblemTest : public testing::Test {
 protected:
  ConnectProblemTest() {
    std::string name = (std::filesystem::temp_directory_path() / "connect_problem-XXXXXX").string();
    directory_ = mkdtemp(name.data());
  }
  ~ConnectProblemTest() override { std::filesystem::remove_all(directory_); }

  std::filesystem::path directory_;
};

TEST_F(ConnectProblemTest, ThereIsNoneWhereSomebodyListens) {
  const BoundSocket internet;
  internet.Listen(5);
  EXPECT_EQ(ConnectProblem("127.0.0.1:" + internet.Port()), "");
  EXPECT_EQ(ConnectProblem("[127.0.0.1]:" + internet.Port()), "") << "brackets are no part of an address";
  const BoundSocket local(directory_ / "socket");
  local.Listen(5);
  EXPECT_EQ(ConnectProblem("unix:" + (directory_ / "socket").string()), "");
}

TEST_F(ConnectProblemTest, WhereNobodyListensTheSystemsReasonIsTold) {
  const BoundSocket internet;
  EXPECT_EQ(ConnectProblem("127.0.0.1:" + internet.Port()), "connection refused");
  const BoundSocket local(directory_ / "socket");
  EXPECT_EQ(ConnectProblem("unix:" + (directory_ / "socket").string()), "connection refused");
  EXPECT_EQ(ConnectProblem("unix:" + (directory_ / "missing").string()), "no such file or directory");
}

TEST_F(ConnectProblemTest, AQueueThatIsFullIsTold) {
  const BoundSocket local(directory_ / "socket");
  local.Listen(0);
  const std::string address = "unix:" + (directory_ / "socket").string();
  std::string problem;
  for (int i = 0; i < 10 && problem.empty(); ++i) problem = ConnectProblem(address);  // each leaves one unaccepted
  EXPECT_EQ(problem, "its queue of connections is full");
}

TEST_F(ConnectProblemTest, WhatIsNoAddressIsTold) {
  EXPECT_EQ(ConnectProblem("nowhere"), "it has no address");
  EXPECT_EQ(ConnectProblem(""), "it has no address");
  EXPECT_EQ(ConnectProblem("unix:/" + std::string(200, 'x')), "the path of its socket is too long");
  EXPECT_TRUE(ConnectProblem("127.0.0.1:no port").starts_with("the host's address is not known: "));
}

}  // namespace
}  // namespace Corvanta
