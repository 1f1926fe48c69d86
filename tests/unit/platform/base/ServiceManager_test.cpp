// SPDX-License-Identifier: Apache-2.0
#include "platform/base/ServiceManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <future>
#include <string>

#include "tests/support/NotifySocket.h"

namespace Lumenar {
namespace {

using std::chrono::microseconds;
using testing::ElementsAre;

class ServiceManager_ : public testing::Test {
 protected:
  ServiceManager_() { Clear(); }
  ~ServiceManager_() override { Clear(); }

  static void Clear() {
    for (const char* name : {"NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID"}) unsetenv(name);
  }
};

TEST_F(ServiceManager_, HearsEachStateAsADatagram) {
  Lumenar::Test::NotifySocket manager;
  setenv("NOTIFY_SOCKET", manager.Path().c_str(), 1);
  TellServiceManager("READY=1");
  TellServiceManager("STATUS=a b");
  EXPECT_THAT(manager.Heard(), ElementsAre("READY=1", "STATUS=a b"));
}

TEST_F(ServiceManager_, AWordThatFindsNoRoomWaitsAsLongAsItIsTold) {
  Lumenar::Test::NotifySocket manager;
  setenv("NOTIFY_SOCKET", manager.Path().c_str(), 1);
  constexpr int kMore = 2000;  // than any system's queue holds
  for (int i = 0; i < kMore; ++i) TellServiceManager("STATUS=busy");
  TellServiceManager("STATUS=lost");
  auto told = std::async(std::launch::async, [] { TellServiceManager("READY=1", std::chrono::seconds(30)); });
  EXPECT_EQ(told.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout) << "it waits";
  EXPECT_TRUE(manager.WaitFor("READY=1"));
  told.get();
  EXPECT_LT(manager.Count("STATUS=busy"), kMore);
  EXPECT_EQ(manager.Count("STATUS=lost"), 0);
}

TEST_F(ServiceManager_, ASocketWithoutAFileIsFound) {
  const std::string name = "@lumenar-notify-" + std::to_string(getpid());
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  name.copy(address.sun_path, name.size());
  address.sun_path[0] = '\0';
  const int manager = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
  ASSERT_EQ(bind(manager, reinterpret_cast<sockaddr*>(&address), length), 0);
  setenv("NOTIFY_SOCKET", name.c_str(), 1);
  TellServiceManager("READY=1");
  char text[32];
  EXPECT_EQ(recv(manager, text, sizeof text, 0), 7);
  close(manager);
}

TEST_F(ServiceManager_, NobodyAndNonsenseAreIgnored) {
  TellServiceManager("READY=1");
  for (const std::string& name : {std::string(), std::string("x"), std::string("/nonexistent/socket"),
                                  '/' + std::string(200, 'a'), std::string("@")}) {
    setenv("NOTIFY_SOCKET", name.c_str(), 1);
    TellServiceManager("READY=1");
  }
}

TEST_F(ServiceManager_, TheWatchdogIsThatOfThisProcess) {
  EXPECT_EQ(WatchdogLimit(), std::nullopt);
  setenv("WATCHDOG_USEC", "1500000", 1);
  EXPECT_EQ(WatchdogLimit(), std::nullopt) << "nobody to tell";
  setenv("NOTIFY_SOCKET", "/nonexistent/socket", 1);
  EXPECT_EQ(WatchdogLimit(), microseconds(1500000));
  setenv("WATCHDOG_PID", std::to_string(getpid()).c_str(), 1);
  EXPECT_EQ(WatchdogLimit(), microseconds(1500000));
  setenv("WATCHDOG_PID", std::to_string(getppid()).c_str(), 1);
  EXPECT_EQ(WatchdogLimit(), std::nullopt);
  unsetenv("WATCHDOG_PID");
  for (const char* nonsense : {"0", "-1", "1s", "", "99999999999999999999"}) {
    setenv("WATCHDOG_USEC", nonsense, 1);
    EXPECT_EQ(WatchdogLimit(), std::nullopt) << nonsense;
  }
}

}  // namespace
}  // namespace Lumenar
