// SPDX-License-Identifier: Apache-2.0
// Many math objects: what one costs for each sample when there are few and when there are many, what it costs to create
// and delete one, and how much memory it takes. All with traces of 1001 points, in real processes.
//
// Method. CPU time of engine and topic manager together, from the clocks of the processes: waking up, the calls and the
// computation, whatever the number of processors. What a sample costs without any object is measured first and taken
// off.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <map>
#include <numeric>
#include <string>
#include <vector>

#include "bench/Figures.h"
#include "bench/objects/ObjectsRig.h"
#include "platform/wire/sample_wire.h"
#include "tests/support/CommandLineFigures.h"

namespace {

using namespace Lumenar::Bench;
using Lumenar::Test::MathType;

constexpr double kTraceBytes = ObjectsRig::kPoints * sizeof(float);
constexpr int kWarmUp = 3;

/// Seconds of CPU time for each sample.
double CostOfSample(ObjectsRig& rig, int deliveries) {
  constexpr int kBurst = 100;  // few enough for every queue
  const int objects = std::max<int>(1, static_cast<int>(rig.Objects()));
  const int samples = std::max(3, deliveries / objects);
  rig.Publish(kWarmUp);
  const double before = rig.CpuSeconds();
  for (int left = samples; left > 0; left -= kBurst) rig.Publish(std::min(left, kBurst));
  return (rig.CpuSeconds() - before) / samples;
}

/// For 1, 10, 100 and 1000 objects, on the way up and on the way down again.
void CostPerObject(std::vector<Figure>& figures, int most) {
  constexpr int kDeliveries = 3000;
  ObjectsRig rig;
  const double idle = CostOfSample(rig, kDeliveries);
  std::map<std::size_t, std::vector<double>> costs;
  const auto measure = [&] {
    costs[rig.Objects()].push_back((CostOfSample(rig, kDeliveries) - idle) / static_cast<double>(rig.Objects()) * 1e6);
  };
  for (std::size_t objects = 1; objects <= static_cast<std::size_t>(most); objects *= 10) {
    while (rig.Objects() < objects) rig.Create(MathType::Peak);
    measure();
  }
  while (rig.Objects() > 1) {
    const std::size_t fewer = rig.Objects() / 10;
    while (rig.Objects() > fewer) rig.DeleteNewest();
    measure();
  }
  const auto mean = [&](std::size_t objects) {
    const std::vector<double>& all = costs[objects];
    return std::accumulate(all.begin(), all.end(), 0.0) / static_cast<double>(all.size());
  };
  for (const auto& [objects, unused] : costs) {
    figures.push_back(
        AtMost(fmt::format("CPU time per object and sample, {} objects on one topic, to 1 object", objects),
               mean(objects), "us", mean(1), 1.2));
  }
}

constexpr int kBlocks = 200;

/// The CPU time of one in each block, in microseconds.
using Costs = std::vector<double>;

/// Does `one` so many times in all, in blocks.
template <class Action>
Costs CostsInBlocks(ObjectsRig& rig, int times, Action one) {
  const int block = std::max(1, times / kBlocks);
  Costs costs;
  for (int i = 0; i < kBlocks; ++i) {
    const double before = rig.CpuSeconds();
    for (int k = 0; k < block; ++k) one();
    costs.push_back((rig.CpuSeconds() - before) / block * 1e6);
  }
  return costs;
}

/// The first or the last of some equal parts.
Costs First(const Costs& costs, int parts) { return {costs.begin(), costs.begin() + kBlocks / parts}; }
Costs Last(const Costs& costs, int parts) { return {costs.end() - kBlocks / parts, costs.end()}; }

void Append(Costs& all, const Costs& more) { all.insert(all.end(), more.begin(), more.end()); }

/// Of blocks: other work on the machine adds to some, and where the threads happen to run takes from a few.
double Typical(const Costs& costs) { return Quantile(costs, 0.25); }

/// Objects that come and go: as fast at the end as at the beginning, and no memory left behind.
void ComeAndGo(std::vector<Figure>& figures, int objects) {
  ObjectsRig rig;
  const auto one = [&] {
    rig.Create(MathType::Subtract);
    rig.DeleteNewest();
  };
  CostsInBlocks(rig, objects / 10, one);
  const double memory = rig.EngineBytes();
  const Costs costs = CostsInBlocks(rig, objects, one);
  figures.push_back(
      AtMost(fmt::format("CPU time to create and delete an object, the last third of {} to the first", objects),
             Typical(Last(costs, 3)), "us", Typical(First(costs, 3)), 1.2));
  figures.push_back(
      AtMost(fmt::format("resident memory of the engine after {} objects came and went, to before", objects),
             rig.EngineBytes() / 1e6, "MB", memory / 1e6, 1.05));
}

/// Objects that stay: the last as fast to create and to delete as the first. In rounds, since other work on the machine
/// can slow down a whole one.
void ManyAtOnce(std::vector<Figure>& figures, int objects) {
  constexpr int kRounds = 5;
  ObjectsRig rig;
  rig.Create(MathType::Peak);
  const double memory = rig.EngineBytes();
  Costs first_created, last_created, first_deleted, last_deleted;
  for (int round = 0; round < kRounds; ++round) {
    const auto created = CostsInBlocks(rig, objects, [&] { rig.Create(MathType::Peak); });
    const auto deleted = CostsInBlocks(rig, static_cast<int>(rig.Objects()) - 1, [&] { rig.DeleteNewest(); });
    Append(first_created, First(created, 10));
    Append(last_created, Last(created, 10));
    Append(first_deleted, First(deleted, 10));
    Append(last_deleted, Last(deleted, 10));
  }
  figures.push_back(
      AtMost(fmt::format("CPU time to create an object, the last tenth of {} at once to the first", objects),
             Typical(last_created), "us", Typical(first_created), 1.2));
  figures.push_back(
      AtMost(fmt::format("CPU time to delete an object, the first tenth of {} at once to the last", objects),
             Typical(first_deleted), "us", Typical(last_deleted), 1.2));
  figures.push_back(AtMost(fmt::format("resident memory of the engine after {} objects at once, to before", objects),
                           rig.EngineBytes() / 1e6, "MB", memory / 1e6, 1.05));
}

/// What people wait for who look at very many objects.
void CommandLine(std::vector<Figure>& figures, ObjectsRig& rig) {
  figures.push_back(Plain(fmt::format("mathctl list of {} objects, from start to end", rig.Objects()),
                          Lumenar::Test::SecondsToList(rig.Platform()), "s", 0.5));
  const std::string newest = fmt::format("math:{}", rig.NewestId());
  const std::vector<std::vector<std::string>> commands{
      {"graph"}, {"doctor", "--count", "0.05"}, {"explain", newest, "--count", "0.05"}, {"show", newest}};
  for (const auto& words : commands) {
    figures.push_back(Plain(fmt::format("mathctl {} with {} objects, from start to end", words.front(), rig.Objects()),
                            Lumenar::Test::SecondsOf(rig.Platform(), words), "s", 1));
  }
  figures.push_back(Plain(fmt::format("processor time of mathctl top for a redraw, {} objects", rig.Objects()),
                          Lumenar::Test::ProcessorSecondsToRedraw(rig.Platform()) * 1e3, "ms", 50));
}

/// Objects of two inputs that nothing is published on, more and more of them: the last as fast to create and to delete
/// as the first thousand, and all of them listed in one call.
void Growing(std::vector<Figure>& figures, int most) {
  constexpr int kFirst = 1000;
  ObjectsRig rig;
  const auto create = [&] { rig.CreateOnScalar(MathType::Subtract); };
  const auto remove = [&] { rig.DeleteNewest(); };
  CostsInBlocks(rig, kFirst, create);
  CostsInBlocks(rig, kFirst, remove);
  const double engine = rig.EngineBytes();
  const double manager = rig.TopicManagerBytes();
  const double first_created = Typical(CostsInBlocks(rig, kFirst, create));
  for (const int objects : {10 * kFirst, 30 * kFirst, 100 * kFirst}) {
    if (objects > most) break;
    while (rig.Objects() < static_cast<std::size_t>(objects - kFirst)) create();
    const double created = Typical(CostsInBlocks(rig, kFirst, create));
    figures.push_back(AtMost(
        fmt::format("CPU time to create an object of two inputs, of {} that live, to the first {}", objects, kFirst),
        created, "us", first_created, 1.2));
    figures.push_back(Plain(fmt::format("one call that lists {} objects", objects), rig.List(), "s"));
    if (objects == 10 * kFirst) CommandLine(figures, rig);
  }
  const auto objects = static_cast<double>(rig.Objects());
  figures.push_back(
      Plain("memory of the engine for an object of two scalars", (rig.EngineBytes() - engine) / objects, "B"));
  figures.push_back(Plain("memory of the topic manager for it", (rig.TopicManagerBytes() - manager) / objects, "B"));
  const double last_deleted = Typical(CostsInBlocks(rig, kFirst, remove));
  while (rig.Objects() > kFirst) remove();
  figures.push_back(AtMost(fmt::format("CPU time to delete one of {} such objects, to one of {}", objects, kFirst),
                           last_deleted, "us", Typical(CostsInBlocks(rig, kFirst, remove)), 1.2));
}

/// What it takes to read a sample off the wire, once it is in memory: what one decoded any for all objects of a process
/// would save.
void Decoding(std::vector<Figure>& figures) {
  constexpr int kRounds = 10000;
  const Lumenar::Test::BT_DATA trace =
      Lumenar::Test::Trace(std::vector<float>(ObjectsRig::kPoints, 1.0f), Lumenar::Test::kMilliwatt);
  cdrMemoryStream stream;
  Corvanta::WriteSample(Corvanta::ViewOf(trace), stream);
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < kRounds; ++i) {
    stream.rewindInputPtr();
    Corvanta::SampleRecord record;
    Corvanta::ReadSample(stream, record);
  }
  const std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now() - begin;
  figures.push_back(Plain("decoding of a sample of 1001 points", time.count() / kRounds, "us"));
}

/// What one more object takes, once it has had samples.
void MemoryOf(std::vector<Figure>& figures, MathType type, const char* name, int size) {
  constexpr int kObjects = 200;
  ObjectsRig rig;
  const auto create = [&] {
    rig.Create(type);
    if (size > 0) rig.SetSize(size);
  };
  for (int i = 0; i < kObjects / 10; ++i) create();
  rig.Publish(size + kWarmUp);
  const double before = rig.EngineBytes();
  for (int i = 0; i < kObjects; ++i) create();
  rig.Publish(size + kWarmUp);
  const double bytes = (rig.EngineBytes() - before) / kObjects;
  figures.push_back(Plain(fmt::format("memory of a {} on a trace of 1001 points", name), bytes, "B",
                          (6 + size) * kTraceBytes + 16384));
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Cost of many math objects, in real processes.");
  int come_and_go = 10000;
  int at_once = 1000;
  int growing = 10000;
  bool growing_alone = false;
  app.add_option("--come-and-go", come_and_go, "Objects created and deleted one after another")->capture_default_str();
  app.add_option("--at-once", at_once, "Objects that exist together")->capture_default_str();
  app.add_option("--growing", growing, "Objects of two scalars that exist together")->capture_default_str();
  app.add_flag("--growing-alone", growing_alone, "Only these");
  CLI11_PARSE(app, argc, argv);
  try {
    std::vector<Figure> figures;
    Growing(figures, growing);
    if (growing_alone) {
      Report(figures);
      return 0;
    }
    CostPerObject(figures, at_once);
    Decoding(figures);
    MemoryOf(figures, MathType::Subtract, "Subtract", 0);
    MemoryOf(figures, MathType::Peak, "Peak", 0);
    MemoryOf(figures, MathType::Average, "Average of SIZE 10", 10);
    ManyAtOnce(figures, at_once);
    ComeAndGo(figures, come_and_go);
    Report(figures);
    return 0;
  } catch (const CORBA::Exception& error) {
    std::fprintf(stderr, "objects_benchmark: %s\n", error._name());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "objects_benchmark: %s\n", error.what());
  }
  return 1;
}
