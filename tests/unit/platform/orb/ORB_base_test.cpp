// SPDX-License-Identifier: Apache-2.0
#include "platform/orb/ORB_base.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <stdexcept>
#include <thread>

#include "DDS.hh"
#include "platform/signals/Signals.h"

namespace Corvanta {
namespace {

constexpr const char* kArguments[] = {"orb_test"};

/// A servant that is asked for its id.
class Subscriber : public POA_Corvanta::DDS_Sub {
 public:
  void DDS_Callback(const CORBA::Any&) override {}
  CORBA::Long GetId() override { return 7; }
};

class ORB_base_ : public testing::Test {
 protected:
  void SetUp() override {
    if (std::getenv("GTEST_DEATH_TEST_STYLE") == nullptr) GTEST_FLAG_SET(death_test_style, "threadsafe");
    unsetenv("LUMENAR_NAMING");
    unsetenv("LUMENAR_TRANSPORT_CONF");
  }
};

TEST_F(ORB_base_, OneAtATimeAndAnotherAfterIt) {
  EXPECT_FALSE(ORB_base::HasCurrent());
  EXPECT_THROW(ORB_base::Current(), CORBA::BAD_INV_ORDER);
  for (int cycle = 0; cycle < 3; ++cycle) {
    ORB_base orb(1, kArguments);
    EXPECT_EQ(&ORB_base::Current(), &orb);
    EXPECT_THROW(ORB_base(1, kArguments), std::logic_error);
    EXPECT_EQ(&ORB_base::Current(), &orb) << "the failed one took the place";
  }
  EXPECT_FALSE(ORB_base::HasCurrent());
}

TEST_F(ORB_base_, AnOrbOfSomebodyElseIsRefused) {
  int argc = 0;
  CORBA::ORB_var other = CORBA::ORB_init(argc, nullptr);
  EXPECT_THROW(ORB_base(1, kArguments), std::logic_error);
  EXPECT_FALSE(ORB_base::HasCurrent());
  other->destroy();
  ORB_base orb(1, kArguments);
  EXPECT_TRUE(ORB_base::HasCurrent());
}

TEST_F(ORB_base_, AnUnknownArgumentLeavesNothingBehind) {
  const char* const arguments[] = {"orb_test", "-ORBwrong", "1"};
  EXPECT_THROW(ORB_base(3, arguments), std::invalid_argument);
  EXPECT_FALSE(ORB_base::HasCurrent());
}

TEST_F(ORB_base_, AValueThatTheOrbRefusesLeavesNothingBehind) {
  const char* const arguments[] = {"orb_test", "-ORBgiopMaxMsgSize", "five"};
  EXPECT_THROW(ORB_base(3, arguments), std::runtime_error);
  EXPECT_FALSE(ORB_base::HasCurrent());
  ORB_base orb(1, kArguments);
}

TEST_F(ORB_base_, ListensOnLoopbackAlone) {
  ORB_base orb(1, kArguments);
  PortableServer::Servant_var<Subscriber> servant(new Subscriber);
  DDS_Sub_var reference = servant->_this();
  EXPECT_EQ(omniORB::giopMaxMsgSize(), 80u << 20);
  CORBA::String_var text = orb.Orb()->object_to_string(reference);
  const std::string loopback_in_hex = "3132372e302e302e3100";  // "127.0.0.1" and its end
  EXPECT_NE(std::string(text).find(loopback_in_hex), std::string::npos);
}

TEST_F(ORB_base_, RequestsWaitForActivate) {
  ORB_base orb(1, kArguments);
  PortableServer::Servant_var<Subscriber> servant(new Subscriber);
  DDS_Sub_var reference = servant->_this();
  std::atomic<bool> active{false};
  auto asked = std::async(std::launch::async, [&] {
    const bool right = reference->GetId() == 7;
    return right && active;
  });
  std::this_thread::yield();
  active = true;
  orb.Activate();
  EXPECT_TRUE(asked.get());
}

TEST_F(ORB_base_, RunEndsWithShutdownFromAnotherThread) {
  ORB_base orb(1, kArguments);
  std::atomic<int> listened{0};
  orb.AddShutdownListener([&listened] { ++listened; });
  orb.Activate();
  std::thread other([&orb] { orb.Shutdown(); });
  orb.Run();
  EXPECT_EQ(listened, 1) << "Run returned before a shutdown";
  other.join();
  EXPECT_EQ(listened, 1);
}

TEST_F(ORB_base_, RunAfterShutdownReturnsAtOnce) {
  ORB_base orb(1, kArguments);
  int listened = 0;
  orb.AddShutdownListener([&listened] { ++listened; });
  orb.Shutdown();
  orb.Shutdown();
  EXPECT_EQ(listened, 1);
  orb.Run();
  EXPECT_EQ(listened, 1);
}

TEST_F(ORB_base_, ShutdownListenersRunNewestFirstWhileTheOrbStillWorks) {
  std::vector<int> order;
  DDS_Sub_var reference;
  {
    ORB_base orb(1, kArguments);
    orb.Activate();
    auto* servant = new Subscriber;
    reference = servant->_this();
    servant->_remove_ref();
    orb.AddShutdownListener([&order, &reference] { order.push_back(static_cast<int>(reference->GetId())); });
    const long removed = orb.AddShutdownListener([&order] { order.push_back(2); });
    orb.AddShutdownListener([&order] { order.push_back(3); });
    orb.RemoveShutdownListener(removed);
  }
  EXPECT_THAT(order, testing::ElementsAre(3, 7));
}

TEST_F(ORB_base_, ADeactivatedObjectIsGone) {
  ORB_base orb(1, kArguments);
  orb.Activate();
  PortableServer::Servant_var<Subscriber> servant(new Subscriber);
  DDS_Sub_var reference = servant->_this();
  EXPECT_EQ(reference->GetId(), 7);
  ORB_base::DeactivateObject(servant.in());
  EXPECT_THROW(reference->GetId(), CORBA::OBJECT_NOT_EXIST);
  ORB_base::DeactivateObject(servant.in());
  ORB_base::DeactivateObject(nullptr);
}

/// Counts who takes hold of it: an activation does.
class Held : public Subscriber {
 public:
  void _add_ref() override {
    ++holds;
    Subscriber::_add_ref();
  }
  std::atomic<int> holds{0};
};

TEST_F(ORB_base_, DeactivatingAnInactiveServantDoesNotActivateIt) {
  ORB_base orb(1, kArguments);
  PortableServer::Servant_var<Held> servant(new Held);
  ORB_base::DeactivateObject(servant.in());
  EXPECT_EQ(servant->holds, 0);
}

TEST_F(ORB_base_, DeactivatingAfterTheOrbIsIgnored) {
  PortableServer::Servant_var<Subscriber> servant(new Subscriber);
  ORB_base::DeactivateObject(servant.in());
  {
    ORB_base orb(1, kArguments);
    DDS_Sub_var reference = servant->_this();
    EXPECT_EQ(servant->_refcount_value(), 2u) << "the test's and the POA's";
  }
  ORB_base::DeactivateObject(servant.in());
  EXPECT_EQ(servant->_refcount_value(), 1u) << "the test's alone";
}

/// Runs an ORB in this process until a signal ends it, and says how it ended.
void RunUntilSignal(int signal_number) {
  Lumenar::Signals::Install();
  ORB_base orb(1, kArguments);
  orb.AddShutdownListener([] { std::fprintf(stderr, "listener\n"); });
  orb.Activate();
  kill(getpid(), signal_number);
  try {
    orb.Run();
    std::fprintf(stderr, "returned\n");
  } catch (const Term_Exception&) {
    std::fprintf(stderr, "Term\n");
  } catch (const Quit_Exception&) {
    std::fprintf(stderr, "Quit\n");
  }
}

TEST_F(ORB_base_, ASignalEndsRunWithItsException) {
  EXPECT_EXIT((RunUntilSignal(SIGTERM), std::exit(0)), testing::ExitedWithCode(0), "listener\n(.*)Term|Term\nlistener");
  EXPECT_EXIT((RunUntilSignal(SIGQUIT), std::exit(0)), testing::ExitedWithCode(0), "listener\n(.*)Quit|Quit\nlistener");
}

TEST_F(ORB_base_, ASignalShutsTheOrbDownThoughNobodyRunsIt) {
  EXPECT_EXIT(
      {
        Lumenar::Signals::Install();
        ORB_base orb(1, kArguments);
        std::promise<void> came;
        orb.AddShutdownListener([&came] { came.set_value(); });
        orb.Activate();
        kill(getpid(), SIGINT);
        came.get_future().wait();
        std::fprintf(stderr, "shut down\n");
        std::_Exit(0);
      },
      testing::ExitedWithCode(0), "shut down");
}

}  // namespace
}  // namespace Corvanta
