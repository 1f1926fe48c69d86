// SPDX-License-Identifier: Apache-2.0
// Row "hostile bytes": noise, damaged requests, half requests and idle connections on the port of each process.
#include "tests/faults/DamagedRequests.h"
#include "tests/faults/FaultCase.h"
#include "tests/faults/GoodClient.h"
#include "tests/faults/HostileMessages.h"
#include "tests/faults/HostileTargets.h"
#include "tests/faults/ProcessWatch.h"
#include "tests/support/ProcessFigures.h"

namespace Lumenar::Test {
namespace {

using Corvanta::Test::ObjectAddress;
using Corvanta::Test::RawClient;
using Corvanta::Test::Wire;
using std::chrono::milliseconds;

constexpr milliseconds kGoodClient{1000};

/// Sends bytes and waits until the other side has dealt with them: it answers or not, and closes.
void SendAlone(const ObjectAddress& target, const std::string& bytes) {
  RawClient client(target);
  client.Send(bytes);
  client.EndSending();
  EXPECT_TRUE(client.WaitUntilClosed(std::chrono::seconds(5))) << "a connection whose other end is closed is kept";
}

class HostileBytes : public HostileFixture {
 protected:
  using HostileFixture::HostileFixture;

  ObjectAddress Subscriber() { return Corvanta::Test::AddressOf(SubscriberReferences(platform_).at(0)); }
};

TEST_F(HostileBytes, NoiseAndDamagedRequestsHoldUpNobody) {
  DescribeFault("hostile bytes", "3,000 random and 8,000 damaged requests at the engine and the topic manager",
                "alive, a good client served within 1 s meanwhile, memory +20 MB at most");
  std::cout << "seed " << Noise::kSeed << std::endl;
  const ObjectAddress factory = Factory(), manager = Manager(), subscriber = Subscriber();
  const std::vector<std::string> whole = WholeRequests(factory, manager, subscriber);
  const long before_kB = ResidentMemory_kB(engine_.Pid()),
             manager_before_kB = ResidentMemory_kB(platform_.TopicManager().Pid());
  ForgetPeakMemory(engine_.Pid());
  ForgetPeakMemory(platform_.TopicManager().Pid());
  GoodClient good(factory);
  Noise noise;
  for (int i = ByLength(300, 3000); i > 0; --i) {
    std::string bytes = noise.Bytes(1 + noise.Below(200));
    if (noise.Below(2) == 0) bytes.insert(0, "GIOP");  // so that it is looked at
    SendAlone(i % 2 == 0 ? factory : manager, bytes);
  }
  for (int i = ByLength(800, 8000); i > 0; --i) {
    const std::size_t which = noise.Below(whole.size());
    SendAlone(which < 4 ? factory : which < 7 ? manager : subscriber, noise.Damaged(whole[which]));
  }
  const milliseconds slowest = good.Slowest();
  EXPECT_LT(slowest, kGoodClient);
  const long growth_kB = std::max(PeakMemory_kB(engine_.Pid()) - before_kB,
                                  PeakMemory_kB(platform_.TopicManager().Pid()) - manager_before_kB);
  EXPECT_LT(growth_kB, kMemory_kB);
  ReportFigure("slowest good answer " + std::to_string(slowest.count()) + " ms, memory +" + std::to_string(growth_kB) +
               " kB");
  ExpectSamplesFlow();
}

/// A pool that is smaller than the number of half requests, and ends them soon.
struct HalfRequests : HostileBytes {
  static constexpr std::chrono::seconds kInScanPeriod{2};
  HalfRequests()
      : HostileBytes(
            {.transport = "orb.max_server_threads = 4\norb.out_scan_period_s = 1\norb.in_scan_period_s = 2\n"}) {}
};

TEST_F(HalfRequests, HoldUpAGoodClientNoLongerThanTheScanPeriod) {
  DescribeFault("half requests", "half a header on 20 connections, five times as many as there are threads",
                "a good client served within the scan period and 1 s, the half requests closed");
  const ObjectAddress factory = Factory();
  const std::string whole = RawClient(factory).Request("ListMath", Wire());
  constexpr int kConnections = 20;
  std::vector<std::unique_ptr<RawClient>> halves;
  for (int i = 0; i < kConnections; ++i) {
    halves.push_back(std::make_unique<RawClient>(factory));
    halves.back()->Send(whole.substr(0, 6));
  }
  const milliseconds served = ServedIn(factory);
  EXPECT_LT(served, kInScanPeriod + kGoodClient);
  ReportFigure("served after " + std::to_string(served.count()) + " ms");
  for (auto& half : halves) EXPECT_TRUE(half->WaitUntilClosed(4 * kInScanPeriod));
  EXPECT_LT(ServedIn(factory), kGoodClient);
}

TEST_F(HostileBytes, ThousandsOfIdleConnectionsHoldUpNobody) {
  DescribeFault("idle connections", "thousands of connections that send nothing",
                "a good client served within 1 s, memory bounded, all let go afterwards");
  const ObjectAddress factory = Factory();
  const int connections = ByLength(600, 5000);
  const int descriptors_before = CountDescriptors(engine_.Pid());
  {
    std::vector<std::unique_ptr<RawClient>> idle;
    for (int i = 0; i < connections; ++i) idle.push_back(std::make_unique<RawClient>(factory));
    const milliseconds served = ServedIn(factory);
    EXPECT_LT(served, kGoodClient);
    ReportFigure("served after " + std::to_string(served.count()) + " ms, " +
                 std::to_string(CountThreads(engine_.Pid())) + " threads, " +
                 std::to_string(ResidentMemory_kB(engine_.Pid()) / 1024) + " MB");
    ExpectSamplesFlow();
  }
  EXPECT_TRUE(
      WaitUntil([&] { return CountDescriptors(engine_.Pid()) <= descriptors_before + 5; }, std::chrono::seconds(20)))
      << CountDescriptors(engine_.Pid()) << " descriptors, before " << descriptors_before;
  EXPECT_LT(ServedIn(factory), kGoodClient);
}

}  // namespace
}  // namespace Lumenar::Test
