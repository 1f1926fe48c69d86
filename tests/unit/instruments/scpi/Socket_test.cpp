// SPDX-License-Identifier: Apache-2.0
#include "instruments/scpi/Socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <future>
#include <stdexcept>
#include <vector>

namespace Lumenar::Scpi {
namespace {

using namespace std::chrono_literals;

/// A socket of the test's, which listens on loopback.
class Listener {
 public:
  explicit Listener(bool does_listen = true) : descriptor_(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    EXPECT_EQ(::bind(descriptor_, reinterpret_cast<sockaddr*>(&address), size), 0);
    if (does_listen) ::listen(descriptor_, 5);
    EXPECT_EQ(::getsockname(descriptor_, reinterpret_cast<sockaddr*>(&address), &size), 0);
    address_ = {"127.0.0.1", std::to_string(ntohs(address.sin_port))};
  }
  ~Listener() { ::close(descriptor_); }

  const Scpi::Address& Address() const { return address_; }
  int Accept() const { return ::accept(descriptor_, nullptr, nullptr); }

 private:
  const int descriptor_;
  Scpi::Address address_;
};

std::string WhyNotConnected(const Address& address, std::chrono::milliseconds limit) {
  const StopSign stop;
  try {
    Socket(address, Clock::now() + limit, stop);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "connected";
}

int OpenDescriptors() {
  int count = 0;
  for (int descriptor = 0; descriptor < 4096; ++descriptor) count += ::fcntl(descriptor, F_GETFD) >= 0;
  return count;
}

TEST(ScpiSocket, TellsWhyThereIsNoConnection) {
  const int before = OpenDescriptors();
  const Listener nobody(false);  // bound, so that nobody else listens there
  EXPECT_EQ(WhyNotConnected(nobody.Address(), 5s), "no connection (Connection refused)");
  EXPECT_EQ(WhyNotConnected({"no-such-host.invalid", "5025"}, 20s).substr(0, 23), "the host is not found (");
  EXPECT_EQ(OpenDescriptors(), before + 1);
}

TEST(ScpiSocket, ANameIsLookedUp) {
  const Listener listener;
  EXPECT_EQ(WhyNotConnected({"localhost", listener.Address().port}, 20s), "connected");
}

TEST(ScpiSocket, SendsAndReceivesWithinItsLimits) {
  const Listener listener;
  const StopSign stop;
  Socket socket(listener.Address(), Clock::now() + 5s, stop);
  const int other = listener.Accept();
  EXPECT_TRUE(socket.Send("*IDN?\n", Clock::now() + 1s));
  std::array<char, 64> room{};
  EXPECT_EQ(::recv(other, room.data(), room.size(), 0), 6);
  EXPECT_EQ(socket.Receive(room, Clock::now() + 10ms), 0u) << "nothing came";
  EXPECT_EQ(::send(other, "abc", 3, 0), 3);
  EXPECT_EQ(socket.Receive(room, Clock::now() + 5s), 3u);
  const std::string much(1'000'000, 'x');
  bool is_sent = true;
  for (int i = 0; i < 100 && is_sent; ++i) is_sent = socket.Send(much, Clock::now() + 10ms);
  EXPECT_FALSE(is_sent) << "nobody reads";
  ::close(other);
  EXPECT_THROW(
      {
        while (true) socket.Receive(room, Clock::now() + 5s);
      },
      std::runtime_error);
}

TEST(ScpiSocket, AStopSignEndsAWait) {
  const Listener listener;
  StopSign stop;
  Socket socket(listener.Address(), Clock::now() + 5s, stop);
  auto wait = std::async(std::launch::async, [&] {
    std::array<char, 8> room{};
    EXPECT_THROW(socket.Receive(room, Clock::now() + 60s), Stopped);
  });
  stop.Raise();
  EXPECT_EQ(wait.wait_for(20s), std::future_status::ready);
}

/// Descriptors of 1,024 and more are as good as others.
TEST(ScpiSocket, AnyNumberOfDescriptorsMayBeOpen) {
  rlimit limit{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
  if (limit.rlim_max < 2048) GTEST_SKIP() << "this system allows no 2,048 descriptors";
  const rlimit former = limit;
  limit.rlim_cur = 2048;
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
  std::vector<int> open;
  while (open.empty() || open.back() < 1500) open.push_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  {
    const Listener listener;
    const StopSign stop;
    Socket socket(listener.Address(), Clock::now() + 5s, stop);
    const int other = listener.Accept();
    EXPECT_GT(other, 1500);
    std::array<char, 8> room{};
    EXPECT_EQ(socket.Receive(room, Clock::now() + 10ms), 0u);
    EXPECT_EQ(::send(other, "abc", 3, 0), 3);
    EXPECT_EQ(socket.Receive(room, Clock::now() + 5s), 3u);
    ::close(other);
  }
  for (const int descriptor : open) ::close(descriptor);
  EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &former), 0);
}

}  // namespace
}  // namespace Lumenar::Scpi
