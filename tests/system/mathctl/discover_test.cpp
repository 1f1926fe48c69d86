// SPDX-License-Identifier: Apache-2.0
// Devices that are asked who they are: each in a process of its own, none but those that are named.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <thread>

#include "tests/system/mathctl/FrameFixture.h"

namespace Lumenar::Test {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

/// An instrument on loopback that answers the first line that it gets, or nothing. What it got is kept.
class OneAnswer {
 public:
  explicit OneAnswer(std::optional<std::string> answer) : answer_(std::move(answer)) {
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    const bool good = bind(listener_, reinterpret_cast<sockaddr*>(&address), size) == 0 && listen(listener_, 4) == 0 &&
                      getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) == 0;
    if (!good) throw std::runtime_error("no listener");
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { Serve(); });
  }
  ~OneAnswer() {
    shutdown(listener_, SHUT_RDWR);
    const int connection = connection_;
    if (connection >= 0) shutdown(connection, SHUT_RDWR);
    thread_.join();
    close(listener_);
  }
  OneAnswer(const OneAnswer&) = delete;
  OneAnswer& operator=(const OneAnswer&) = delete;

  std::string Address() const { return "127.0.0.1:" + std::to_string(port_); }

  /// What came, once the connection is closed.
  std::string Got() {
    WaitUntil([this] { return done_.load(); });
    return got_;
  }

 private:
  void Serve() {
    const int connection = accept(listener_, nullptr, nullptr);
    if (connection < 0) return;
    connection_ = connection;
    char room[256];
    bool answered = !answer_;
    for (ssize_t count = 0; (count = recv(connection, room, sizeof room, 0)) > 0;) {
      got_.append(room, static_cast<std::size_t>(count));
      if (!answered && got_.find('\n') != std::string::npos) {
        answered = send(connection, answer_->data(), answer_->size(), MSG_NOSIGNAL) > 0;
      }
    }
    connection_ = -1;
    close(connection);
    done_ = true;
  }

  const std::optional<std::string> answer_;
  int listener_ = -1;
  std::uint16_t port_ = 0;
  std::atomic<int> connection_{-1};
  std::string got_;
  std::atomic<bool> done_{false};
  std::thread thread_;
};

class DiscoverTest : public FrameFixture {
 protected:
  void SetUp() override {
#ifdef LUMENAR_IN_EMULATOR
    GTEST_SKIP() << "a program in an emulator cannot start another of this tree";
#endif
  }
};

TEST_F(DiscoverTest, AnAddressIsAskedOneQuestion) {
  OneAnswer instrument("Maker,Model 7,123,1.0\r\n");
  const Outcome result = Run({"discover", instrument.Address(), "--json"});
  EXPECT_EQ(result.exit_code, Mathctl::kDone) << result.error;
  const auto rows = ObjectsIn(result.out);
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0]["who"], "Maker,Model 7,123,1.0");
  EXPECT_EQ(rows[0]["setting"], "connect = " + instrument.Address());
  EXPECT_EQ(rows[0]["answers"], true);
  EXPECT_EQ(instrument.Got(), "*IDN?\n");
  EXPECT_EQ(result.error, "mathctl: " + instrument.Address() + " is sent *IDN? and nothing else\n");
}

TEST_F(DiscoverTest, OneThatIsSilentIsGivenUpAtTheLimit) {
  OneAnswer mute(std::nullopt), other("Other\n");
  const auto begin = std::chrono::steady_clock::now();
  const Outcome result = Run({"-q", "discover", mute.Address(), other.Address(), "--limit", "0.5", "--json"});
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
  EXPECT_EQ(result.exit_code, Mathctl::kUnreachable);
  const auto rows = ObjectsIn(result.out);
  ASSERT_EQ(rows.size(), 2u) << "the other is asked all the same";
  EXPECT_EQ(rows[0]["problem"], "no answer within 0.5 s");
  EXPECT_EQ(rows[1]["who"], "Other");
  EXPECT_EQ(result.error, "mathctl: 1 of 2 do not answer\n");
}

TEST_F(DiscoverTest, NobodyListens) {
  const Outcome result = Run({"-q", "discover", "127.0.0.1:1"});
  EXPECT_EQ(result.exit_code, Mathctl::kUnreachable);
  EXPECT_THAT(result.out, HasSubstr("Connection refused"));
}

// Nobody listens at 5025 there: what matters is that it is asked there, and not taken for a driver.
TEST_F(DiscoverTest, AHostWithoutPortIsAnAddress) {
  for (const char* host : {"127.255.255.254", "fe80::a", "no-such-host.invalid"}) {
    const Outcome result = Run({"discover", host, "--json", "--limit", "20"});
    EXPECT_THAT(result.error, HasSubstr(std::string(host) + " is sent *IDN? and nothing else\n"));
    EXPECT_THAT(result.out, Not(HasSubstr("driver")));
  }
}

TEST_F(DiscoverTest, NoiseInAnAnswerIsShownAsText) {
  OneAnswer noisy(std::string("\x1b[31m\0bad\xff\n", 11));
  const Outcome result = Run({"-q", "discover", noisy.Address()});
  EXPECT_EQ(result.exit_code, Mathctl::kDone) << result.error;
  EXPECT_THAT(result.out, Not(HasSubstr("\x1b")));
}

TEST_F(DiscoverTest, DevicesOfTheLibraryGiveALineOfSettings) {
  if (!std::filesystem::exists(BuiltProgram("mathctl").parent_path() / "sigrok_scan")) GTEST_SKIP() << "not built";
  const Outcome result = Run({"discover", "demo:logic_channels=0:analog_channels=2", "--json"});
  EXPECT_EQ(result.exit_code, Mathctl::kDone) << result.error;
  const auto rows = ObjectsIn(result.out);
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0]["setting"], "SIGROK_DEVICE=demo:logic_channels=0:analog_channels=2");
  EXPECT_EQ(rows[0]["channels"], nlohmann::json({"A0", "A1"}));
  EXPECT_THAT(result.error, HasSubstr("which may send more than *IDN?"));
}

TEST_F(DiscoverTest, WhatCannotBeAskedIsSaid) {
  if (!std::filesystem::exists(BuiltProgram("mathctl").parent_path() / "sigrok_scan")) GTEST_SKIP() << "not built";
  const std::pair<const char*, const char*> rows[] = {
      {"no-such-driver", "there is no driver \"no-such-driver\""},
      {"demo:bananas=1", "there is no option \"bananas\""},
      {"demo:samplerate=1k", "demo has no option samplerate by which a device is found"},
      {"uni-t-ut61b-ser:conn=/nowhere", "no device answers"},
      {"scpi-dmm:conn=tcp-raw/192.0.2.1/5025", "the instrument scpi does"},
  };
  for (const auto& [name, reason] : rows) {
    const Outcome result = Run({"-q", "discover", name});
    EXPECT_EQ(result.exit_code, Mathctl::kUnreachable) << name;
    EXPECT_THAT(result.out, HasSubstr(reason));
    EXPECT_THAT(result.error, MatchesRegex("mathctl: [^\n]+\n"));
  }
}

TEST_F(DiscoverTest, NothingIsAskedThatIsNotNamed) { EXPECT_EQ(Run({"discover"}).exit_code, Mathctl::kUsage); }

}  // namespace
}  // namespace Lumenar::Test
