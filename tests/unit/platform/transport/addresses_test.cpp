// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/addresses.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Corvanta {
namespace {

using testing::HasSubstr;

TEST(Addresses, HostAndPort) {
  for (const char* good : {"localhost:2700", "127.0.0.1:1", "box-2.lab:65535", "[::1]:2700", "[fe80::1]:5"})
    EXPECT_EQ(HostPortProblem(good), "") << good;
  for (const char* bad : {"", ":", "abc", "127.0.0.1", ":2700", "a b:1", "300.1.1.1:1", "1.2.3:1", "::1:2700", "[::1]",
                          "[::1:5", "[box]:5", "[]:5", "a/b:1", "a:1,b:2", "iiop:a:1"})
    EXPECT_EQ(HostPortProblem(bad), "'" + std::string(bad) + "' is no address: expected HOST:PORT");
  for (const char* bad :
       {"a:", "a:0", "a:65536", "a:99999", "a:-1", "a:+1", "a:1x", "a: 1", "a:0x10", "a:1/NameService"})
    EXPECT_EQ(HostPortProblem(bad), "'" + std::string(bad) + "' is no address: the port is no number from 1 to 65535");
}

TEST(Addresses, Endpoints) {
  for (const char* good : {"giop:tcp:127.0.0.1:", "giop:tcp::", "giop:tcp::2809", "giop:tcp:box:65535",
                           "giop:tcp:[::1]:1", "giop:unix:/run/x", "giop:unix:/run/"})
    EXPECT_EQ(EndpointProblem(good), "") << good;
  for (const char* bad :
       {"giop:tcp:127.0.0.1:99999", "giop:tcp:127.0.0.1:abc", "giop:tcp::0", "giop:tcp:a:-1", "giop:tcp:a:1 "})
    EXPECT_EQ(EndpointProblem(bad), "is no endpoint: the port is no number from 1 to 65535") << bad;
  for (const char* bad : {"giop:tcp:", "giop:tcp:127.0.0.1", "giop:tcp:1.2.3.400:5", "giop:tcp:a b:1",
                          "giop:tcp:[::1:5", "giop:tcp:giop:tcp::"})
    EXPECT_EQ(EndpointProblem(bad), "is no endpoint: expected giop:tcp:HOST:PORT") << bad;
  for (const char* bad : {"", "tcp:a:1", "giop:", "giop:ssl::", "giop:foo:1", "giop:guarded-tcp::"})
    EXPECT_EQ(EndpointProblem(bad), "is no endpoint: it must begin with giop:tcp: or giop:unix:") << bad;
  for (const char* bad : {"giop:unix:", "giop:unix:run/x"})
    EXPECT_EQ(EndpointProblem(bad), "is no endpoint: the path must be absolute") << bad;
}

TEST(Addresses, Peers) {
  for (const char* good :
       {"*", "localhost", "10.0.0.5", "10.0.0.0/8", "10.0.0.0/255.0.0.0", "0.0.0.0/0", "::1", "fd00::/8", "box-2.lab"})
    EXPECT_EQ(PeerProblem(good), "") << good;
  for (const char* bad : {"", "a b", "300.1.1.1", "1.2.3", "1.2.3.4/33", "1.2.3.4/", "1.2.3.4/x", "1.2.3.4/255.0",
                          "fd00::/129", "fd00::/", "box/8", "*/8", "10.0.0.1,10.0.0.2", "[::1]"})
    EXPECT_THAT(PeerProblem(bad), HasSubstr("is not one address")) << bad;
}

TEST(Addresses, WhyNobodyCanListenThere) {
  EXPECT_EQ(ListenProblem("giop:tcp:127.0.0.1:"), "");
  EXPECT_EQ(ListenProblem("giop:unix:/run/x"), "") << "is looked at elsewhere";
  EXPECT_EQ(ListenProblem("giop:tcp:192.0.2.1:"), "Cannot assign requested address")
      << "an address for documentation, nobody's own";
  const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), size), 0);
  ASSERT_EQ(::listen(listener, 1), 0);
  ASSERT_EQ(::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size), 0);
  EXPECT_EQ(ListenProblem("giop:tcp:127.0.0.1:" + std::to_string(ntohs(address.sin_port))), "Address already in use");
  ::close(listener);
}

TEST(Addresses, PeersThatNeedNoLookUp) {
  for (const char* peer : {"*", "localhost", "10.0.0.0/8", "10.0.0.5"}) EXPECT_EQ(LookupProblem(peer), "") << peer;
}

}  // namespace
}  // namespace Corvanta
