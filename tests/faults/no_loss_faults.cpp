// SPDX-License-Identifier: Apache-2.0
// A load that the machine can carry costs no sample.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdlib>

#include "tests/faults/PeersFault.h"
#include "tests/support/ProcessFigures.h"

namespace Lumenar::Test {
namespace {

using namespace std::chrono_literals;

/// Twenty objects over one trace of 1,001 points, each result followed by its sequence numbers.
class NoLoss : public EngineFixture {
 protected:
  static constexpr std::size_t kObjects = 20;

  NoLoss() : EngineFixture(Transport()) {}

  /// LUMENAR_NO_LOSS_TRANSPORT holds a line of the transport configuration.
  static IsolatedPlatform::Options Transport() {
    IsolatedPlatform::Options options;
    const char* line = std::getenv("LUMENAR_NO_LOSS_TRANSPORT");
    if (line != nullptr) options.transport = line;
    return options;
  }

  void Load(double rate_Hz) {
    const std::string traces =
        fmt::format("trace:A:points=1001:rate={}:units=mW;trace:B:points=1001:rate=0:units=mW", rate_Hz);
    sim_ = &platform_.StartEngine("sim", {{"SIM_READINGS", traces}});
    Corvanta::MathFactory::ReadingAttribSeq inputs;
    inputs.length(2);
    inputs[0] = FindReading(bench_.Orb(), "SIM/1", "A");
    inputs[1] = FindReading(bench_.Orb(), "SIM/1", "B");
    for (std::size_t i = 0; i < kObjects; ++i) {
      Corvanta::MathFactory::Math_var math = Create(Subtract, inputs);
      followers_.push_back(std::make_unique<SequenceFollower>(ResultTopic(math)));
    }
    for (const auto& follower : followers_) ASSERT_TRUE(follower->WaitForMore(10s));
  }

  /// Samples that waited in, and that went from, the topic manager's queues.
  void ExpectNothingDropped() {
    CORBA::Object_var object = bench_.Orb().Resolve({"Lumenar", "local", "DDS_MANAGER", "1"});
    Corvanta::DDS_Manager_var manager = Corvanta::DDS_Manager::_narrow(object);
    Corvanta::SubscriptionStatusSeq_var all = manager->Subscriptions();
    for (CORBA::ULong i = 0; i < all->length(); ++i) EXPECT_EQ(all[i].dropped, 0u) << all[i].topic;
  }

  std::vector<std::chrono::milliseconds> ProcessorTimes() {
    std::vector<std::chrono::milliseconds> times;
    for (const pid_t process : {sim_->Pid(), platform_.TopicManager().Pid(), engine_.Pid(), getpid()})
      times.push_back(ProcessorTime(process));
    return times;
  }

  Process* sim_ = nullptr;
  std::vector<std::unique_ptr<SequenceFollower>> followers_;
};

TEST_F(NoLoss, EachResultOfTwentyObjectsComes) {
  DescribeFault("no loss", "sustained load: one trace of 1,001 points, 20 objects, each result followed by its number",
                "nothing lost, nothing out of order");
  const double length_s = SettingOr("LUMENAR_NO_LOSS_SECONDS", ByLength(2.0, 30.0));
  const double rate_Hz = SettingOr("LUMENAR_NO_LOSS_RATE", ByLength(50.0, 200.0));
  Load(rate_Hz);
  const unsigned long first = followers_.front()->Now().last;
  const auto before = ProcessorTimes();
  const auto samples = static_cast<unsigned long>(length_s * rate_Hz);
  const auto time = TimeOf([&] {
    EXPECT_TRUE(
        followers_.front()->WaitForNumber(first + samples, std::chrono::seconds(static_cast<long>(2 * length_s + 10))));
  });
  const auto after = ProcessorTimes();
  unsigned long results = 0, missing = 0;
  for (const auto& follower : followers_) {
    EXPECT_TRUE(follower->WaitForNumber(first + samples));
    EXPECT_EQ(follower->Now().out_of_order, 0u);
    results += follower->Now().received;
    missing += follower->Now().missing;
  }
  EXPECT_EQ(missing, 0u);
  ExpectNothingDropped();
  const double elapsed_s = std::chrono::duration<double>(time).count();
  const double carried_Hz = static_cast<double>(samples) / elapsed_s;
  if (std::getenv("LUMENAR_NO_LOSS_RATE") != nullptr) {  // who asks for a rate wants it carried
    EXPECT_GT(carried_Hz, 0.99 * rate_Hz) << "the source fell behind";
  }
  const auto share = [&](std::size_t i) {
    return 100 * std::chrono::duration<double>(after[i] - before[i]).count() / elapsed_s;
  };
  ReportFigure(
      fmt::format("{:.0f} s at {:.1f} of {:.0f} Hz, {} results, {} lost; processor: source {:.0f} %, topic manager "
                  "{:.0f} %, engine {:.0f} %, followers {:.0f} %",
                  elapsed_s, carried_Hz, rate_Hz, results, missing, share(0), share(1), share(2), share(3)));
}

}  // namespace
}  // namespace Lumenar::Test
