// SPDX-License-Identifier: Apache-2.0
// The whole system with real processes: the way of a sample through the engine beside the same hops without one, one
// hop beside a peer's event channel, the bare ORB and the bare socket, and the steadiness of large traces.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <sstream>
#include <stdexcept>

#include "bench/Figures.h"
#include "bench/system/RawChannels.h"
#include "bench/system/SystemRig.h"

namespace {

using namespace Lumenar::Bench;
using Lumenar::Test::BT_DATA;
using Lumenar::Test::Process;

struct Plan {
  int share = 1;  ///< rounds are divided by it
  int turns = 5;  ///< with the peer
  int steady_seconds = 60;

  std::vector<std::string> parts = {};  ///< those to run; all when empty

  bool Has(const std::string& part) const {
    return parts.empty() || std::find(parts.begin(), parts.end(), part) != parts.end();
  }
  int Rounds(std::size_t points) const { return (points > 50000 ? 400 : points > 5000 ? 1500 : 3000) / share + 10; }
};

constexpr int kWarmUp = 30;

/// Runs two roads in turn and gives the times of both.
std::pair<Times, Times> InTurn(Road& one, Road& other, const BT_DATA& trace, int rounds) {
  std::pair<Times, Times> times;
  for (int i = -kWarmUp; i < rounds; ++i) {
    const double first = one.Once(trace);
    const double second = other.Once(trace);
    if (i < 0) continue;
    times.first.push_back(first);
    times.second.push_back(second);
  }
  return times;
}

void ThroughTheEngine(SystemRig& rig, const Plan& plan, std::vector<Figure>& figures) {
  struct Row {
    std::size_t points;
    bool in_dB;
    std::optional<double> target;
  };
  for (const Row& row : {Row{1001, false, 1.15}, Row{10001, false, 1.15}, Row{100001, false, 1.25}, Row{1001, true, {}},
                         Row{10001, true, 1.3}, Row{100001, true, {}}}) {
    const BT_DATA trace = BenchTrace(row.points, row.in_dB);
    const auto engine = rig.SubtractRoad(trace);
    const auto relay = rig.RelayRoad(trace);
    const auto [through_engine, through_relay] = InTurn(*engine, *relay, trace, plan.Rounds(row.points));
    const std::string name = fmt::format("sample to RESULT, Subtract{}, {} points, to a bare relay",
                                         row.in_dB ? " of levels in dB" : "", row.points);
    figures.push_back(AtMost(name + ": p50", Median(through_engine), "us", Median(through_relay), row.target));
    figures.push_back(AtMost(name + ": p90", Quantile(through_engine, 0.9), "us", Quantile(through_relay, 0.9), {}));
    figures.push_back(AtMost(name + ": p99", Quantile(through_engine, 0.99), "us", Quantile(through_relay, 0.99), {}));
    rig.Clear();
  }
}

void BareOnes(SystemRig& rig, const Plan& plan, std::vector<Figure>& figures) {
  RawChannels raw(rig.Bench(), rig.Platform());
  for (const std::size_t points : {std::size_t(1001), std::size_t(10001), std::size_t(100001)}) {
    const BT_DATA trace = BenchTrace(points, false);
    CORBA::Any any;
    any <<= trace;
    Times orb, record, plain;
    for (int i = -kWarmUp; i < plan.Rounds(points); ++i) {
      const double one = raw.OrbCall(any), two = raw.RecordCall(trace), three = raw.SocketRound(points * sizeof(float));
      if (i < 0) continue;
      orb.push_back(one);
      record.push_back(two);
      plain.push_back(three);
    }
    figures.push_back(AtMost(fmt::format("call with a trace in the ORB's any, {} points, to the bare socket", points),
                             Median(orb), "us", Median(plain), {}));
    figures.push_back(AtMost(fmt::format("call with a trace as we send it, {} points, to the bare socket", points),
                             Median(record), "us", Median(plain), {}));
  }
}

#ifdef LUMENAR_PEER_CHANNEL
/// Errors   std::runtime_error with what the peer wrote.
std::pair<double, double> RunPeer(SystemRig& rig, std::size_t points, int rounds, int burst) {
  const std::string port = rig.FreePort();
  auto server = rig.Platform().Start("peer_channel_server", {"bench", "-nodb", "-dlist", "bench/channel/1",
                                                             "-ORBendPoint", "giop:tcp:127.0.0.1:" + port});
  if (!server->WaitForLine("ready"))
    throw std::runtime_error("the peer's server did not start: " + server->Error() + server->Out());
  auto client = rig.Platform().Start("peer_channel_client",
                                     {port, std::to_string(points), std::to_string(rounds), std::to_string(burst)});
  if (client->WaitForExit(std::chrono::seconds(60)) != 0)
    throw std::runtime_error("the peer's client failed: " + client->Error() + client->Out());
  std::istringstream words(client->Out());
  std::string way_word, burst_word;
  double way = 0, in_burst = 0;
  words >> way_word >> way >> burst_word >> in_burst;
  return {way, in_burst};
}
#endif

/// The peer's numbers for one size: the way of a single event and the time for one of a burst. Nothing where it is not
/// installed, or where it failed, which is noted and costs no other row.
std::optional<std::pair<double, double>> PeerTimes([[maybe_unused]] SystemRig& rig, [[maybe_unused]] std::size_t points,
                                                   [[maybe_unused]] int rounds, [[maybe_unused]] int burst) {
#ifdef LUMENAR_PEER_CHANNEL
  try {
    return RunPeer(rig, points, rounds, burst);
  } catch (const std::runtime_error& error) {
    std::fprintf(stderr, "system_benchmark: %s\n", error.what());
  }
#endif
  return {};
}

void OneHop(SystemRig& rig, const std::string& over, const Plan& plan, std::vector<Figure>& figures) {
  for (const std::size_t points : {std::size_t(1001), std::size_t(10001), std::size_t(100001)}) {
    const int rounds = plan.Rounds(points);
    const int burst = points > 50000 ? 50 : 200;
    const BT_DATA trace = BenchTrace(points, false);
    const auto hop = rig.OneHop(trace);
    Times way, in_bursts, peer_way, peer_bursts;
    for (int turn = 0; turn < plan.turns;
         ++turn) {  // with the peer, which has new processes, and luck with their places, in each
      for (int i = -kWarmUp; i < rounds / plan.turns; ++i) {
        const double once = hop->Once(trace);
        if (i >= 0) way.push_back(once);
      }
      for (int i = 0; i < 3; ++i) in_bursts.push_back(hop->Burst(trace, burst));
      if (const auto peer = PeerTimes(rig, points, rounds / plan.turns + 1, burst)) {
        peer_way.push_back(peer->first);
        peer_bursts.push_back(peer->second);
      }
    }
    const auto median_or_none = [](const Times& times) {
      return times.empty() ? std::optional<double>() : Median(times);
    };
    figures.push_back(AtMost(fmt::format("one hop{}, {} points, to the peer's event channel", over, points),
                             Median(way), "us", median_or_none(peer_way), 1));
    figures.push_back(
        AtMost(fmt::format("one hop{} in bursts of {}, {} points, to the peer's event channel", over, burst, points),
               Median(in_bursts), "us", median_or_none(peer_bursts), 1));
    rig.Clear();
  }
}

void Steadiness(SystemRig& rig, const Plan& plan, std::vector<Figure>& figures) {
  const BT_DATA trace = BenchTrace(100001, false);
  const auto road = rig.SubtractRoad(trace);
  Times times;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(plan.steady_seconds);
  while (std::chrono::steady_clock::now() < end) times.push_back(road->Once(trace));
  figures.push_back(AtMost(fmt::format("steadiness of {} samples of 100001 points: p99 to p50", times.size()),
                           Quantile(times, 0.99), "us", Median(times), 2));
  rig.Clear();
}

/// A row that is missing its time or its limit would look like a good one.
void RequirePositive(const std::vector<Figure>& figures) {
  for (const Figure& row : figures)
    if (!(row.value && *row.value > 0) || (row.limit && !(*row.limit > 0)))
      throw std::runtime_error("no time came out of: " + row.figure);
}

void Run(const Plan& plan) {
  std::vector<Figure> figures;
  if (plan.Has("engine") || plan.Has("hop") || plan.Has("bare") || plan.Has("steady")) {
    SystemRig rig;
    if (plan.Has("engine")) ThroughTheEngine(rig, plan, figures);
    if (plan.Has("hop")) OneHop(rig, "", plan, figures);
    if (plan.Has("bare")) BareOnes(rig, plan, figures);
    if (plan.Has("steady")) Steadiness(rig, plan, figures);
  }
  if (plan.Has("unix")) {
    SystemRig rig(SystemRig::Sockets::Unix);  // one ORB at a time
    OneHop(rig, " over Unix-domain sockets", plan, figures);
  }
  RequirePositive(figures);  // before the report: what is written has been checked
  Report(figures);
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("The way of a sample through real processes, beside what bounds it.");
  bool quick = false;
  Plan plan;
  app.add_flag("--quick", quick, "A hundredth of the rounds, to see that it works");
  app.add_option("--steady-seconds", plan.steady_seconds, "Length of the run for steadiness")->capture_default_str();
  app.add_option("--only", plan.parts, "The parts to run: engine, hop, bare, steady, unix")
      ->delimiter(',')
      ->check(CLI::IsMember({"engine", "hop", "bare", "steady", "unix"}));
  CLI11_PARSE(app, argc, argv);
  if (quick) {
    plan.share = 100;
    plan.turns = 2;
    plan.steady_seconds = 1;
  }
  try {
    Run(plan);
    return 0;
  } catch (const CORBA::Exception& error) {
    std::fprintf(stderr, "system_benchmark: %s\n", error._name());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "system_benchmark: %s\n", error.what());
  }
  return 1;
}
