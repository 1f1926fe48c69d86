// SPDX-License-Identifier: Apache-2.0
// Row "unread answers": clients that ask for large values and never take the answers.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/socket.h>

#include <atomic>
#include <csignal>
#include <future>
#include <optional>

#include "tests/faults/FaultCase.h"
#include "tests/faults/GoodClient.h"
#include "tests/faults/HostileTargets.h"
#include "tests/faults/ProcessWatch.h"
#include "tests/support/ProcessFigures.h"

namespace Lumenar::Test {
namespace {

using namespace Corvanta::Test;
using namespace std::chrono_literals;
using testing::HasSubstr;

constexpr std::size_t kMillion = 1'000'000;
constexpr long kSlack_kB = 64 * 1024;
constexpr std::size_t kPiece = 256 * 1024;  // that a slow client takes at a time

/// Answers hold 64 MB at most here, and are given up after 3 s.
class UnreadAnswers : public HostileFixture {
 protected:
  static constexpr long kLimit_kB = 64 * 1024;
  UnreadAnswers() : HostileFixture({.transport = "orb.send_timeout_ms = 3000\norb.max_unsent_bytes = 67108864\n"}) {}

  /// Makes an object over a trace of so many points, whose result is what is asked for, and watches the engine from here
  /// on.
  void Offer(std::size_t points) {
    trace_ = std::make_unique<TraceInput>(bench_, "LARGE", Trace(std::vector<float>(points, 1.0f), kMilliwatt));
    math_ = Create(Peak, Inputs(*trace_));
    Corvanta::EngineReadingBase_var result = math_->AttrResult();
    CORBA::String_var reference = bench_.Orb().Orb()->object_to_string(result);
    result_ = Corvanta::Test::AddressOf(reference.in());
    watch_.emplace("engine", engine_.Pid());
  }

  /// Asks so often on each of so many connections.
  std::vector<std::unique_ptr<RawClient>> Ask(int connections, int times) const {
    std::vector<std::unique_ptr<RawClient>> clients;
    for (int i = 0; i < connections; ++i) {
      clients.push_back(std::make_unique<RawClient>(result_));
      std::string requests;
      for (int request = 0; request < times; ++request) requests += clients.back()->Request("Get", Wire());
      clients.back()->Send(requests);
    }
    return clients;
  }

  /// Takes an answer bit by bit, slower than it could; its bytes.
  static std::size_t TakeSlowly(RawClient& client, std::size_t bytes, std::chrono::milliseconds pause) {
    std::vector<char> piece(kPiece);
    std::size_t taken = 0;
    while (taken < bytes) {
      const ssize_t count = recv(client.Socket(), piece.data(), std::min(piece.size(), bytes - taken), 0);
      if (count <= 0) break;
      taken += static_cast<std::size_t>(count);
      std::this_thread::sleep_for(pause);  // its pace
    }
    return taken;
  }

  bool EngineSays(const std::string& text) {
    return WaitUntil([&] { return engine_.Error().find(text) != std::string::npos; }, 20s);
  }

  void ExpectNothingStays() {
    EXPECT_EQ(watch_->Stays(), "");
    EXPECT_LT(watch_->Growth_kB(), kLimit_kB + kSlack_kB);
    ExpectSamplesFlow();
  }

  std::unique_ptr<TraceInput> trace_;
  Corvanta::MathFactory::Math_var math_;
  ObjectAddress result_;
  std::optional<ProcessWatch> watch_;
};

TEST_F(UnreadAnswers, OnOneConnection) {
  DescribeFault("unread answers: one connection",
                "512 times Get of a 4 MB trace on one connection, and nothing is read",
                "memory below the limit of answers and 64 MB, few threads, closed after the time limit with one line, "
                "a good client served in 1 s");
  Offer(kMillion);
  GoodClient good(Factory());
  const auto clients = Ask(1, 512);
  EXPECT_TRUE(EngineSays("it took nothing of its answer for 3000 ms (orb.send_timeout_ms)")) << engine_.Error();
  EXPECT_TRUE(clients[0]->WaitUntilClosed(10s));
  EXPECT_LT(good.Slowest(), 1s);
  ExpectNothingStays();
  ReportFigure(fmt::format("memory +{} MB", watch_->Growth_kB() / 1024));
}

TEST_F(UnreadAnswers, OnManyConnections) {
  DescribeFault("unread answers: many connections", "Get of a 4 MB trace on 512 connections, and nothing is read",
                "memory below the limit of answers and 64 MB; a slow client that reads gets its answer, a good client "
                "is served in 1 s");
  Offer(kMillion);
  GoodClient good(Factory());
  const auto slow = Ask(1, 1);
  auto taken = std::async(std::launch::async, [&] { return TakeSlowly(*slow[0], 4 * kMillion, 100ms); });
  auto clients = Ask(ByLength(100, 400), 2);
  EXPECT_TRUE(EngineSays("the limit (orb.max_unsent_bytes)")) << engine_.Error();
  EXPECT_GE(taken.get(), 4 * kMillion) << "the slow one";
  EXPECT_LT(good.Slowest(), 1s);
  clients.clear();  // some were refused, in words
  EXPECT_TRUE(WaitUntil([&] { return CountThreads(engine_.Pid()) < 40; }, 60s))
      << "the ORB keeps idle ones for a while";
  ExpectNothingStays();
  ReportFigure(fmt::format("memory +{} MB", watch_->Growth_kB() / 1024));
}

TEST_F(UnreadAnswers, OfLargeTraces) {
  DescribeFault("unread answers: large traces",
                "Get of a trace larger than the limit of answers on 64 connections, and nothing is read",
                "one answer at a time, few threads; memory below two such answers; afterwards a slow client that reads "
                "gets its own");
  const std::size_t points = ByLength(17 * kMillion, 20 * kMillion);
  Offer(points);
  const std::size_t connections = ByLength(16, 64);
  auto clients = Ask(static_cast<int>(connections), 2);
  EXPECT_TRUE(EngineSays("the limit (orb.max_unsent_bytes)")) << engine_.Error();
  EXPECT_LT(CountThreads(engine_.Pid()), 2 * connections + 20) << "one for each request, beside the engine's own";
  clients.clear();  // some were refused, in words
  const auto slow = Ask(1, 1);
  EXPECT_GE(TakeSlowly(*slow[0], 4 * points, 5ms), 4 * points) << "the slow one";
  EXPECT_EQ(watch_->Stays(), "");
  EXPECT_LT(watch_->Growth_kB(), static_cast<long>(points * 4 / 1024 * 2) + kSlack_kB);
  ReportFigure(fmt::format("{} MB each: memory +{} MB", points * 4 >> 20, watch_->Growth_kB() / 1024));
}

/// A client that goes on taking its answer, and another for whose answer there is no room meanwhile.
TEST_F(UnreadAnswers, WhoIsRefusedKeepsNoConnection) {
  constexpr std::size_t kPoints = 17 * kMillion;  // more than the limit
  Offer(kPoints);
  const auto slow = Ask(1, 1);
  ASSERT_EQ(TakeSlowly(*slow[0], kPiece, 0ms), kPiece) << "its answer is under way";
  std::atomic<bool> goes_on{true};
  const auto taken = std::async(std::launch::async, [&] {
    for (std::size_t bytes = 0; goes_on && bytes < 4 * kPoints; bytes += kPiece) TakeSlowly(*slow[0], kPiece, 25ms);
  });
  const auto refused = Ask(1, 1);
  pollfd answer{refused[0]->Socket(), POLLIN, 0};
  EXPECT_EQ(poll(&answer, 1, 30'000), 1);
  EXPECT_EQ(refused[0]->Answer(), "NO_RESOURCES");
  EXPECT_TRUE(refused[0]->WaitUntilClosed(5s)) << "it would keep a thread for minutes";
  RawClient other(Factory());
  EXPECT_EQ(other.Call("ListMath", Wire()), "ok");
  goes_on = false;
}

TEST_F(UnreadAnswers, AProcessThatWaitsForThemEnds) {
  Offer(kMillion);
  const auto clients = Ask(4, 2);
  EXPECT_TRUE(WaitUntil([&] { return CountThreads(engine_.Pid()) > 8; }));
  engine_.Signal(SIGTERM);
  EXPECT_EQ(engine_.WaitForExit(10s), 0);
}

}  // namespace
}  // namespace Lumenar::Test
