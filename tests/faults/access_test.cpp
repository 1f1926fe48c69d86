// SPDX-License-Identifier: Apache-2.0
// Row "access": who may connect, and where processes listen.
#include <gmock/gmock.h>

#include "tests/faults/FaultCase.h"
#include "tests/faults/HostileTargets.h"
#include "tests/faults/ListeningSockets.h"
#include "tests/faults/NetworkNamespace.h"

namespace Lumenar::Test {
namespace {

using Corvanta::Test::ObjectAddress;
using Corvanta::Test::RawClient;
using Corvanta::Test::Wire;
using testing::Each;

std::size_t CountLines(const std::string& text, const std::string& line) {
  std::size_t count = 0;
  for (std::size_t at = text.find(line); at != std::string::npos; at = text.find(line, at + 1)) ++count;
  return count;
}

std::string RefusalOf(const std::string& host) {
  return "connection from " + host + " refused: it is not an allowed peer (orb.allowed_peer)";
}

struct Access : HostileFixture {
  Access() : HostileFixture({.transport = "orb.allowed_peer = 127.0.0.1\n"}) {}
};

TEST_F(Access, APeerThatIsNotOnTheListIsRefusedAndToldOfOnce) {
  DescribeFault("access", "30 connections from an address that is not on the list",
                "each closed unread, one line for the address and minute, allowed peers served");
  const ObjectAddress factory = Factory();
  constexpr const char* kStranger = "127.0.0.2";
  for (int i = 0; i < 30; ++i) EXPECT_EQ(RawClient(factory, kStranger).Call("ListMath", Wire()), "closed");
  EXPECT_EQ(RawClient(factory).Call("ListMath", Wire()), "ok");
  EXPECT_TRUE(engine_.WaitForLine(RefusalOf(kStranger))) << engine_.Error();
  EXPECT_EQ(CountLines(engine_.Error(), "refused"), 1u) << engine_.Error();
  EXPECT_EQ(RawClient(Manager(), kStranger).Call("Topics", Wire()), "closed");
  EXPECT_TRUE(platform_.TopicManager().WaitForLine(RefusalOf(kStranger)));
  ExpectSamplesFlow();
}

TEST_F(Access, ByDefaultOnlyTheLoopbackAddressListens) {
  DescribeFault("access: default", "none", "every process of the platform listens at 127.0.0.1 alone");
  auto client = platform_.Start("mathctl", {"watch", "0"});
  ASSERT_TRUE(WaitUntil([&] { return SubscriberReferences(platform_).size() == 2; })) << client->Error();
  for (const pid_t pid :
       {engine_.Pid(), platform_.TopicManager().Pid(), platform_.HwEnumeration().Pid(), client->Pid()}) {
    const std::vector<std::string> addresses = ListeningAddresses(pid);
    EXPECT_FALSE(addresses.empty());
    EXPECT_THAT(addresses, Each("127.0.0.1"));
  }
}

/// A platform whose engines listen at the link to another machine.
TEST(AccessFromOtherMachines, OnlyAllowedMachinesAreServedAndOnlyTheChosenAddressListens) {
  DescribeFault("access: another machine",
                "connections over a network from an address that is not on the list, then on it",
                "refused and told of; served once allowed; only the chosen address listens");
  std::unique_ptr<NetworkNamespace> machine;
  try {
    machine = std::make_unique<NetworkNamespace>();
  } catch (const std::runtime_error& obstacle) {
    GTEST_SKIP() << obstacle.what();
  }
  const std::string open = "orb.endpoint = giop:tcp:" + machine->AddressHere() + ":\norb.allowed_peer = localhost\n";
  for (const bool allowed : {false, true}) {
    IsolatedPlatform platform(
        {.transport = open + (allowed ? "orb.allowed_peer = " + machine->AddressThere() + "\n" : "")});
    platform.UseInThisProcess();
    Process& engine = platform.StartEngine("math_factory_hh");
    Testbench bench;
    const ObjectAddress factory = AddressOf(bench, {"Lumenar", "local", "MATHFACTORY", "1"});
    EXPECT_THAT(ListeningAddresses(engine.Pid()), testing::ElementsAre(machine->AddressHere()));
    machine->Do([&] { EXPECT_EQ(RawClient(factory).Call("ListMath", Wire()), allowed ? "ok" : "closed"); });
    if (allowed) {
      EXPECT_EQ(engine.Error(), "");
    } else {
      EXPECT_TRUE(engine.WaitForLine(RefusalOf(machine->AddressThere()))) << engine.Error();
    }
    EXPECT_EQ(RawClient(factory).Call("ListMath", Wire()), "ok") << "from this machine";
  }
}

}  // namespace
}  // namespace Lumenar::Test
