// SPDX-License-Identifier: Apache-2.0
// Row "mutated streams": sequences of messages, whole and in fragments, with any damage, on the real sockets, in great
// numbers.
#include <fmt/format.h>

#include <future>

#include "tests/faults/DamagedRequests.h"
#include "tests/faults/FaultCase.h"
#include "tests/faults/GoodClient.h"
#include "tests/faults/HostileTargets.h"
#include "tests/faults/ProcessWatch.h"

namespace Lumenar::Test {
namespace {

using namespace Corvanta::Test;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr long kOnAConnection = 32;

/// A request cut into fragments where the protocol lets it be cut, as whole messages of their own.
std::string InFragments(const std::string& request, Noise& noise) {
  constexpr std::size_t kHeader = 12, kId = 4;
  const std::string body = request.substr(kHeader);
  const std::size_t first = kId + 8 * (1 + noise.Below(8));
  if (first >= body.size()) return request;
  const std::string id = body.substr(0, kId);
  std::string stream = RawClient::Message(kRequest, kFragmentsFollow, body.substr(0, first));
  for (std::size_t at = first; at < body.size();) {
    const std::size_t size = 8 * (1 + noise.Below(8));
    const bool more = at + size < body.size();
    stream += RawClient::Message(kFragment, more ? kFragmentsFollow : 0, id + body.substr(at, size));
    at += size;
  }
  if (noise.Below(8) == 0) stream += RawClient::Message(kCancelRequest, 0, id);
  return stream;
}

/// Sends streams to one process, on two connections at a time, until so many were sent or the time is up.
class Streams {
 public:
  Streams(ObjectAddress target, std::vector<std::string> whole, unsigned seed)
      : target_(target), whole_(std::move(whole)), noise_(seed) {}

  long Run(long streams, Clock::time_point end) {
    long sent = 0;
    std::unique_ptr<RawClient> before;
    for (; sent < streams && Clock::now() < end && kept_ == 0; sent += kOnAConnection) {
      auto client = std::make_unique<RawClient>(target_);
      client->Send(Stream());
      client->EndSending();
      AwaitEnd(before);
      before = std::move(client);
    }
    AwaitEnd(before);
    return sent;
  }

  int Kept() const { return kept_; }

 private:
  /// Messages of the protocol, damaged within, the last of them with damage of any kind.
  std::string Stream() {
    std::string stream;
    for (long i = 1; i < kOnAConnection; ++i) {
      const std::string request = noise_.DamagedWithin(Any());
      stream += noise_.Below(4) == 0 ? InFragments(request, noise_) : request;
    }
    return stream + noise_.Damaged(InFragments(Any(), noise_));
  }

  const std::string& Any() { return whole_[noise_.Below(whole_.size())]; }

  void AwaitEnd(std::unique_ptr<RawClient>& client) {
    if (client != nullptr && !client->WaitUntilClosed(20s)) ++kept_;
    client.reset();
  }

  const ObjectAddress target_;
  const std::vector<std::string> whole_;
  Noise noise_;
  int kept_ = 0;
};

class MutatedStreams : public HostileFixture {};

TEST_F(MutatedStreams, LeaveNothingBehind) {
  DescribeFault(
      "mutated streams", "streams of damaged messages and fragments at the engine, the topic manager and a subscriber",
      "alive, no connection, thread or processor time stays, memory +20 MB at most, a good client served in 1 s");
  const ObjectAddress subscriber = Corvanta::Test::AddressOf(SubscriberReferences(platform_).at(0));
  const std::vector<std::string> whole = WholeRequests(Factory(), Manager(), subscriber);
  const auto part = [&](std::size_t from, std::size_t to) {
    return std::vector<std::string>(whole.begin() + from, whole.begin() + to);
  };
  std::vector<Streams> all{{Factory(), part(0, 4), 1}, {Manager(), part(4, 7), 2}, {subscriber, part(7, 9), 3}};
  std::vector<ProcessWatch> watches;
  watches.emplace_back("engine", engine_.Pid());
  watches.emplace_back("topic manager", platform_.TopicManager().Pid());
  GoodClient good(Factory());
  const long streams = Tries(6000, 300'000);
  const auto begin = Clock::now(), end = begin + ByLength(std::chrono::seconds(20), std::chrono::seconds(840));
  std::vector<std::future<long>> runs;
  for (Streams& each : all)
    runs.push_back(std::async(std::launch::async, [&, end] { return each.Run(streams / 3, end); }));
  long sent = 0;
  for (auto& run : runs) sent += run.get();
  const double took_s = std::chrono::duration<double>(Clock::now() - begin).count();
  for (const Streams& each : all) EXPECT_EQ(each.Kept(), 0) << "a connection whose other end is closed is kept";
  const auto slowest = good.Slowest();
  EXPECT_LT(slowest, 1s);
  long growth_kB = 0;
  for (const ProcessWatch& watch : watches) {
    EXPECT_EQ(watch.Stays(), "");
    growth_kB = std::max(growth_kB, watch.Growth_kB());
  }
  EXPECT_LT(growth_kB, kMemory_kB);
  ExpectSamplesFlow();
  ReportFigure(fmt::format("{} streams in {:.0f} s, good client {} ms at most, memory +{} kB", sent, took_s,
                           slowest.count(), growth_kB));
}

}  // namespace
}  // namespace Lumenar::Test
