// SPDX-License-Identifier: Apache-2.0
// Long runs: what months of use would show, in little.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <csignal>

#include "platform/base/Diagnostic.h"
#include "tests/faults/Churn.h"
#include "tests/faults/PeersFault.h"
#include "tests/faults/Trend.h"

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

double SecondsSince(steady_clock::time_point begin) {
  return std::chrono::duration<double>(steady_clock::now() - begin).count();
}

/// Objects, topics and clients that come and go beside a steady load, while peers are killed one after another.
class Soak : public PeersFault {
 protected:
  Soak()
      : PeersFault(kQuickScan, {"--queue", "200", "--unsubscribed-topics", "500"}),
        input_(bench_, "INPUT", NumberedTrace(0)),
        other_(bench_, "OTHER", NumberedTrace(0)),
        math_(Create(Subtract, Inputs(input_, other_))),
        follower_(ResultTopic(math_)) {
    sim_ = &StartSim();
  }

  /// Connections to peers that were killed go at the next scan for idle ones: soon, so that their number settles.
  static constexpr const char* kQuickScan = "orb.out_scan_period_s = 4\norb.in_scan_period_s = 8";

  /// An object over the simulator, which may be killed meanwhile; none when a short-lived object's type came between,
  /// or a connection of ours broke with the peer that was killed last.
  void CreateOverSim() {
    try {
      over_sim_ = Create(Subtract, SimInputs());
    } catch (const CORBA::Exception&) {
      over_sim_ = Corvanta::MathFactory::Math::_nil();
    }
  }

  void DeleteOverSim() {
    if (!CORBA::is_nil(over_sim_)) factory_->DeleteMath(over_sim_->GetId());
  }

  void ReplaceClient() {
    if (client_) client_->Signal(SIGKILL);
    client_ = platform_.Start("mathctl", {"watch", "0"});
  }

  void KillOnePeer(int round, bool also_topic_manager) {
    const int peers = also_topic_manager ? 4 : 3;
    switch (round % peers) {
      case 0:
        sim_->Signal(SIGKILL);
        sim_->WaitForExit();
        sim_ = &StartSim();
        break;
      case 1:
        platform_.KillNamingService();
        platform_.StartNamingService();
        break;
      case 2:
        platform_.KillHwEnumeration();
        platform_.StartHwEnumeration();
        break;
      default: platform_.KillTopicManager(); platform_.StartTopicManager();
    }
    EXPECT_TRUE(follower_.WaitForMore(kBack)) << "after round " << round;
  }

  void Look(double time_s) {
    engine_trend_.Add(time_s, FiguresOf(engine_.Pid()));
    manager_trend_.Add(time_s, FiguresOf(platform_.TopicManager().Pid()));
  }

  static void ExpectFlat(const Trend& trend, const char* process) {
    // A short run shows the growth of a leak in every round; only a long one says something about an hour.
    EXPECT_LT(trend.MemoryGrowth_kB(), 1500) << process << ": " << trend.Text();
    if (trend.SaysSomethingOfAnHour()) {
      EXPECT_LT(trend.MemorySlope_kB_per_h(), 1024) << process << ": " << trend.Text();
    }
    EXPECT_LE(trend.DescriptorGrowth(), 10) << process << ": " << trend.Text();
    EXPECT_LE(trend.ThreadGrowth(), 4) << process << ": " << trend.Text();
  }

  TraceInput input_, other_;
  Corvanta::MathFactory::Math_var math_;
  SequenceFollower follower_;
  Corvanta::MathFactory::Math_var over_sim_;
  Process* sim_ = nullptr;
  std::unique_ptr<Process> client_;
  Trend engine_trend_, manager_trend_;
};

TEST_F(Soak, Churn) {
  DescribeFault("soak", "objects, topics and clients come and go under load, peers are killed one after another",
                "memory slope < 1 MB an hour, descriptors and threads flat");
  const double length_s = SettingOr("LUMENAR_SOAK_SECONDS", ByLength(9.0, 60.0));
  const auto begin = steady_clock::now();
  const auto types = static_cast<int>(OperationNames(factory_).size());
  int type = 0;
  Feeder feeder(input_, 200);
  ASSERT_TRUE(follower_.WaitForMore());
  class Churn lives([&] { LiveOnce(bench_, factory_, static_cast<MathType>(type = (type + 1) % types)); });
  double reported_s = 0;
  for (int round = 0; SecondsSince(begin) < length_s; ++round) {
    const double now_s = SecondsSince(begin);
    // The topic manager is the same one from a quarter of the time on; figures are taken once its tables are full.
    const bool same_manager = now_s > length_s / 4;
    const bool warm = now_s > length_s / 2;
    ReplaceClient();
    CreateOverSim();
    KillOnePeer(round, !same_manager);
    DeleteOverSim();
    if (warm) Look(SecondsSince(begin));
    if (now_s - reported_s >= 60) {
      reported_s = now_s;
      WriteOut(fmt::format("{:.0f} s: {} objects lived; engine {}; topic manager {}", now_s, lives.Done(),
                           engine_trend_.Text(), manager_trend_.Text()));
    }
    const unsigned long lived = lives.Done();
    EXPECT_TRUE(WaitUntil([&] { return lives.Done() > lived + 20 || SecondsSince(begin) >= length_s; }));
  }
  EXPECT_EQ(lives.Foreign(), 0u);
  EXPECT_TRUE(engine_.IsRunning());
  ExpectFlat(engine_trend_, "engine");
  ExpectFlat(manager_trend_, "topic manager");
  ReportFigure(fmt::format("{:.0f} s, {} objects lived, {} lives cut off by killed peers; engine {}; topic manager {}",
                           length_s, lives.Done(), lives.Refused(), engine_trend_.Text(), manager_trend_.Text()));
}

}  // namespace
}  // namespace Lumenar::Test
