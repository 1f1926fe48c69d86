// SPDX-License-Identifier: Apache-2.0
// What a service manager hears of a process with an ORB. The test plays the manager; the ORB is the test's own.
#include "platform/orb/Supervision.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <omniORB4/CORBA.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <future>
#include <string>

#include "platform/orb/ORB_base.h"
#include "tests/support/NotifySocket.h"

namespace Corvanta {
namespace {

using Lumenar::Test::NotifySocket;
using testing::Contains;
using testing::Not;

constexpr const char* kSupervisedArguments[] = {"orb_test"};
constexpr std::chrono::milliseconds kWatchdog{400};

/// The words of a manager that watches; the ORB runs on a thread of its own.
class Supervised : public testing::Test {
 protected:
  Supervised() {
    unsetenv("LUMENAR_NAMING");
    unsetenv("LUMENAR_TRANSPORT_CONF");
    setenv("NOTIFY_SOCKET", manager_.Path().c_str(), 1);
    setenv("WATCHDOG_USEC", std::to_string(std::chrono::microseconds(kWatchdog).count()).c_str(), 1);
  }
  ~Supervised() override {
    unsetenv("NOTIFY_SOCKET");
    unsetenv("WATCHDOG_USEC");
  }

  static PortableServer::POAManager_var Requests(const ORB_base& orb) { return orb.Poa()->the_POAManager(); }

  NotifySocket manager_;
};

TEST_F(Supervised, ReadyWhenItRunsAndStoppingWhenItEnds) {
  ORB_base orb(1, kSupervisedArguments);
  orb.Activate();
  EXPECT_THAT(manager_.Heard(), Not(Contains("READY=1"))) << "requests are let in, the service is not complete";
  auto run = std::async(std::launch::async, [&] { orb.Run(); });
  EXPECT_TRUE(manager_.WaitFor("READY=1"));
  EXPECT_TRUE(manager_.WaitFor("WATCHDOG=1", 3));
  EXPECT_THAT(manager_.Heard(), Not(Contains("STOPPING=1")));
  orb.Shutdown();
  run.get();
  EXPECT_EQ(manager_.Count("STOPPING=1"), 1);
  EXPECT_EQ(manager_.Count("READY=1"), 1);
}

TEST_F(Supervised, NothingIsToldWhileRequestsHang) {
  ORB_base orb(1, kSupervisedArguments);
  auto run = std::async(std::launch::async, [&] { orb.Run(); });
  ASSERT_TRUE(manager_.WaitFor("WATCHDOG=1"));
  testing::internal::CaptureStderr();
  Requests(orb)->hold_requests(false);
  EXPECT_FALSE(manager_.WaitFor("WATCHDOG=1", manager_.Count("WATCHDOG=1") + 2, 3 * kWatchdog))
      << "one look may have been answered before";
  manager_.Forget();
  EXPECT_FALSE(manager_.WaitFor("WATCHDOG=1", 1, 2 * kWatchdog));
  Requests(orb)->activate();
  EXPECT_TRUE(manager_.WaitFor("WATCHDOG=1", 2));
  orb.Shutdown();
  run.get();
  const std::string lines = testing::internal::GetCapturedStderr();
  EXPECT_EQ(lines,
            "watchdog: this process does not answer its own call\n"
            "watchdog: this process answers again\n");
}

TEST_F(Supervised, AnOrbWhoseLockIsHeldHangs) {
  ORB_base orb(1, kSupervisedArguments);
  auto run = std::async(std::launch::async, [&] { orb.Run(); });
  ASSERT_TRUE(manager_.WaitFor("WATCHDOG=1"));
  testing::internal::CaptureStderr();
  {
    const omni_tracedmutex_lock lock(*omni::internalLock);
    EXPECT_FALSE(manager_.WaitFor("WATCHDOG=1", manager_.Count("WATCHDOG=1") + 2, 3 * kWatchdog));
  }
  manager_.Forget();
  EXPECT_TRUE(manager_.WaitFor("WATCHDOG=1"));
  orb.Shutdown();
  run.get();
  testing::internal::GetCapturedStderr();
}

TEST_F(Supervised, AnEndDoesNotWaitForALook) {
  setenv("WATCHDOG_USEC", "600000000", 1);
  ORB_base orb(1, kSupervisedArguments);
  Requests(orb)->hold_requests(false);
  auto run = std::async(std::launch::async, [&] { orb.Run(); });
  ASSERT_TRUE(manager_.WaitFor("READY=1"));
  Requests(orb)->hold_requests(false);
  orb.Shutdown();
  EXPECT_EQ(run.wait_for(std::chrono::seconds(20)), std::future_status::ready);
}

TEST_F(Supervised, WithoutAWatchdogNothingIsAskedOfIt) {
  unsetenv("WATCHDOG_USEC");
  ORB_base orb(1, kSupervisedArguments);
  auto run = std::async(std::launch::async, [&] { orb.Run(); });
  EXPECT_TRUE(manager_.WaitFor("READY=1"));
  EXPECT_FALSE(manager_.WaitFor("WATCHDOG=1", 1, 2 * kWatchdog));
  orb.Shutdown();
  run.get();
}

TEST_F(Supervised, ANetworkThatIsNotAllowedInIsNotTakenForAHang) {
  const std::string file = manager_.Path() + ".conf";
  std::ofstream(file) << "orb.allowed_peer = 192.0.2.1\n";
  setenv("LUMENAR_TRANSPORT_CONF", file.c_str(), 1);
  testing::internal::CaptureStderr();
  {
    ORB_base orb(1, kSupervisedArguments);
    auto run = std::async(std::launch::async, [&] { orb.Run(); });
    EXPECT_TRUE(manager_.WaitFor("WATCHDOG=1", 3));
    orb.Shutdown();
    run.get();
  }
  unsetenv("LUMENAR_TRANSPORT_CONF");
  testing::internal::GetCapturedStderr();
}

TEST_F(Supervised, AProcessThatListensAtASocketOfTheMachineIsAskedThere) {
  const std::string file = manager_.Path() + ".conf";
  std::ofstream(file) << "orb.endpoint = giop:unix:" << manager_.Path() << ".orb\n";
  setenv("LUMENAR_TRANSPORT_CONF", file.c_str(), 1);
  {
    ORB_base orb(1, kSupervisedArguments);
    auto run = std::async(std::launch::async, [&] { orb.Run(); });
    EXPECT_TRUE(manager_.WaitFor("WATCHDOG=1", 3));
    Requests(orb)->hold_requests(false);
    manager_.WaitFor("WATCHDOG=1", manager_.Count("WATCHDOG=1") + 1, kWatchdog);
    manager_.Forget();
    EXPECT_FALSE(manager_.WaitFor("WATCHDOG=1", 1, 2 * kWatchdog));
    orb.Shutdown();
    run.get();
  }
  unsetenv("LUMENAR_TRANSPORT_CONF");
}

TEST_F(Supervised, AProcessThatOnlyCallsOthersTellsNothing) {
  {
    ORB_base orb(1, kSupervisedArguments);
    orb.Activate();
  }
  EXPECT_THAT(manager_.Heard(), testing::IsEmpty());
}

}  // namespace
}  // namespace Corvanta
