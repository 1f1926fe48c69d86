// SPDX-License-Identifier: Apache-2.0
// The services of the platform, killed under load and started again.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>

#include "platform/dds/DDS_BaseObj.h"
#include "tests/faults/PeersFault.h"
#include "tests/faults/Trend.h"

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;

/// An object under load: fed with numbered traces, its results followed, beside a client that is always busy.
class KilledServices : public PeersFault {
 protected:
  KilledServices()
      : input_(bench_, "INPUT", NumberedTrace(0)),
        other_(bench_, "OTHER", NumberedTrace(0)),
        math_(Create(Subtract, Inputs(input_, other_))),
        topic_(ResultTopic(math_)),
        follower_(topic_),
        feeder_(input_, 300),
        client_(factory_, Inputs(other_, other_)) {}

  void SetUp() override { ASSERT_TRUE(follower_.WaitForMore()); }

  /// Ends the load; the samples that were published, all of which have come or are counted now.
  unsigned EndLoad() {
    const unsigned published = feeder_.Stop();
    EXPECT_TRUE(follower_.WaitForNumber(published - 1));
    calls_ = client_.Stop();
    EXPECT_EQ(calls_.foreign, 0u);
    EXPECT_EQ(follower_.Now().out_of_order, 0u);
    EXPECT_TRUE(WaitUntil([&] { return ObjectCount() == 1; })) << ObjectCount();
    EXPECT_TRUE(engine_.IsRunning());
    return published;
  }

  void ExpectNothingMissing() { EXPECT_EQ(follower_.Now().missing, 0u) << Losses(); }

  bool AllNamesAreThere() {
    for (const char* name : {"MATHFACTORY", "TESTBENCH", "DDS_MANAGER", "HWENUM_ABLE", "GUI_ABLE"}) {
      try {
        CORBA::Object_var object = bench_.Orb().Resolve({"Lumenar", "local", name, "1"});
        if (object->_non_existent()) return false;
      } catch (const CORBA::Exception&) {
        return false;
      }
    }
    return true;
  }

  TraceInput input_, other_;
  Corvanta::MathFactory::Math_var math_;
  const std::string topic_;
  SequenceFollower follower_;
  Feeder feeder_;
  BusyClient client_;
  BusyClient::Counts calls_;
};

TEST_F(KilledServices, TopicManagerKilled) {
  DescribeFault("topic manager killed", "SIGKILL and restart under load",
                "objects kept, subscriptions back in < 5 s, gaps counted, one line each, no growth");
  const std::size_t rounds = ByLength(2, 50);
  auto longest = 0ms;
  Figures first;
  for (std::size_t round = 1; round <= rounds; ++round) {
    platform_.KillTopicManager();
    EXPECT_TRUE(WaitUntil([&] { return EngineLines("is away: ") == round; })) << engine_.Error();
    platform_.StartTopicManager();
    longest = std::max(longest, TimeOf([&] { EXPECT_TRUE(follower_.WaitForMore(kBack)); }));
    EXPECT_TRUE(WaitUntil([&] { return EngineLines("topic manager is back") == round; })) << engine_.Error();
    EXPECT_TRUE(follower_.WaitForNumber(follower_.Now().last + 30)) << "the load goes on";
    if (round == 1 + rounds / 5) first = FiguresOf(engine_.Pid());
  }
  const Figures last = FiguresOf(engine_.Pid());
  const unsigned published = EndLoad();
  EXPECT_EQ(EngineLines("is away: "), rounds) << engine_.Error();
  EXPECT_EQ(SubscriptionsOf("TESTBENCH/1/INPUT").size(), 1u);
  EXPECT_EQ(SubscriptionsOf(topic_).size(), 1u);
  const unsigned long missing = follower_.Now().missing;
  const unsigned long counted = Corvanta::DdsBaseAccess::Instance().LostSamples() + LostByEngine();
  EXPECT_GT(missing, 0u);
  EXPECT_GE(counted + 10 * rounds, missing) << "uncounted is what the manager held when it was killed";
  EXPECT_LT(last.memory_kB - first.memory_kB, 2000);
  EXPECT_LE(last.descriptors, first.descriptors + 5);
  EXPECT_LE(last.threads, first.threads + 5);
  ReportFigure(
      fmt::format("{} kills, results again after {} ms at most; {} of {} samples missing, {} counted where they "
                  "were not sent; engine {:+} kB; client: {} calls done, {} refused",
                  rounds, longest.count(), missing, published, counted, last.memory_kB - first.memory_kB, calls_.done,
                  calls_.refused));
}

TEST_F(KilledServices, NamingServiceKilled) {
  DescribeFault("naming service killed", "SIGKILL and restart under load, every other time with its directory emptied",
                "no sample and no call is lost; all names are back in < 5 s; one line each");
  const std::string service = "naming service at " + platform_.NamingAddress();
  const std::size_t rounds = ByLength(2, 50);
  auto longest = 0ms;
  for (std::size_t round = 1; round <= rounds; ++round) {
    platform_.KillNamingService();
    EXPECT_TRUE(WaitUntil([&] { return EngineLines(service + " is away: ") == round; })) << engine_.Error();
    EXPECT_TRUE(follower_.WaitForMore());
    if (round % 2 == 0) std::filesystem::remove_all(platform_.Directory() / "naming");
    platform_.StartNamingService();
    longest = std::max(longest, TimeOf([&] { EXPECT_TRUE(WaitUntil([&] { return AllNamesAreThere(); }, 10s)); }));
    EXPECT_TRUE(WaitUntil([&] { return EngineLines(service + " is back") == round; }, kBack)) << engine_.Error();
  }
  EXPECT_LT(longest, kBack);
  const unsigned published = EndLoad();
  ExpectNothingMissing();
  EXPECT_EQ(calls_.refused, 0u);
  EXPECT_EQ(EngineLines("is away: "), rounds) << engine_.Error();
  ReportFigure(fmt::format("{} kills, names back after {} ms at most; {} samples, none lost; {} calls, none refused",
                           rounds, longest.count(), published, calls_.done));
}

constexpr unsigned long kRoomForNothing = 200;  // the naming service starts, and can note no name

TEST_F(KilledServices, NamingOnAFullDisk) {
  DescribeFault("naming on a full disk",
                "the naming service's disk is full; names are bound all the same; then it has room again",
                "no sample and no call is lost; a bind that fails says so; all names are back in < 5 s");
  platform_.KillNamingService();
  platform_.StartNamingServiceOnSmallDisk(16384);
  ASSERT_TRUE(WaitUntil([&] { return AllNamesAreThere(); }));
  CORBA::Object_var object = bench_.Orb().Resolve({"Lumenar", "local", "MATHFACTORY", "1"});
  std::string failure;
  int bound = 0;
  for (; bound < 1000 && failure.empty(); ++bound) {
    try {
      bench_.Orb().Bind({"Lumenar", "local", "NAME" + std::to_string(bound), "1"}, object);
    } catch (const CORBA::Exception& error) {
      failure = error._name();
    }
  }
  EXPECT_NE(failure, "") << "the disk was not full";
  EXPECT_TRUE(follower_.WaitForMore());

  // Now the names are lost as well, and there is no room to put them back.
  platform_.KillNamingService();
  std::filesystem::remove_all(platform_.Directory() / "naming");
  platform_.StartNamingServiceOnSmallDisk(kRoomForNothing);
  EXPECT_TRUE(WaitUntil([&] { return EngineLines("does not take names: it cannot store") == 1; })) << engine_.Error();
  EXPECT_FALSE(AllNamesAreThere());
  EXPECT_TRUE(follower_.WaitForMore());
  platform_.KillNamingService();
  platform_.StartNamingService();
  const auto back = TimeOf([&] { EXPECT_TRUE(WaitUntil([&] { return AllNamesAreThere(); }, 10s)); });
  EXPECT_LT(back, kBack);
  EXPECT_EQ(EngineLines("does not take names"), 1u) << engine_.Error();
  const unsigned published = EndLoad();
  ExpectNothingMissing();
  EXPECT_EQ(calls_.refused, 0u);
  ReportFigure(fmt::format("bind {} raised {}; names back after {} ms; {} samples, none lost; {} calls, none refused",
                           bound, failure, back.count(), published, calls_.done));
}

TEST_F(KilledServices, HardwareEnumerationKilled) {
  DescribeFault("hardware enumeration killed", "SIGKILL and restart under load",
                "no sample and no call is lost; the service knows its engines again");
  const int rounds = ByLength(2, 50);
  for (int round = 1; round <= rounds; ++round) {
    platform_.KillHwEnumeration();
    EXPECT_TRUE(follower_.WaitForMore());
    platform_.StartHwEnumeration();
    CORBA::Object_var object = bench_.Orb().Resolve({"Lumenar", "local", "HWENUM_ABLE", "1"});
    Corvanta::HwEnumerate_Able_var service = Corvanta::HwEnumerate_Able::_narrow(object);
    Corvanta::EngineProgressSeq_var engines = service->Engines();
    ASSERT_EQ(engines->length(), 1u);
    EXPECT_STREQ(engines[0].engine, "math_factory.engine");
    EXPECT_STREQ(engines[0].progress, "100");
  }
  const unsigned published = EndLoad();
  ExpectNothingMissing();
  EXPECT_EQ(calls_.refused, 0u);
  EXPECT_EQ(engine_.Error(), "");
  ReportFigure(fmt::format("{} kills; {} samples, none lost; {} calls, none refused", rounds, published, calls_.done));
}

}  // namespace
}  // namespace Lumenar::Test
