// SPDX-License-Identifier: Apache-2.0
#include "bench/Comparisons.h"

#include <benchmark/benchmark.h>

#include <map>
#include <stdexcept>

#include "bench/Figures.h"

namespace Lumenar::Bench {
namespace {

constexpr int kRepetitions = 15;
constexpr double kTimeOfOne_s = 0.02;

/// The times of one repetition of each benchmark, in seconds.
class Times : public benchmark::ConsoleReporter {
 public:
  bool ReportContext(const Context&) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      times_[run.run_name.function_name].push_back(run.cpu_accumulated_time / static_cast<double>(run.iterations));
    }
  }

  /// Errors   std::out_of_range when the benchmark did not run.
  double Median(const std::string& name) const { return Bench::Median(times_.at(name)); }
  bool Has(const std::string& name) const { return times_.count(name) > 0; }

 private:
  std::map<std::string, std::vector<double>> times_;
};

void Register(const std::string& name, const std::function<void()>& work) {
  benchmark::RegisterBenchmark(name.c_str(),
                               [&work](benchmark::State& state) {
                                 for (auto _ : state) {
                                   work();
                                   benchmark::ClobberMemory();
                                 }
                               })
      ->Repetitions(kRepetitions)
      ->MinTime(kTimeOfOne_s);
}

Figure FigureOf(const Comparison& comparison, const Times& times) {
  const double value = times.Median(comparison.figure) * comparison.scale;
  std::optional<double> limit;
  if (comparison.limit) limit = times.Median(comparison.figure + "/limit") * comparison.scale;
  const auto make = comparison.faster ? FasterThan : AtMost;
  return make(comparison.figure, value, comparison.unit, limit, comparison.target);
}

}  // namespace

void RunComparisons(int argc, char** argv, const std::vector<Comparison>& comparisons) {
  static std::string mix = "--benchmark_enable_random_interleaving=true";
  std::vector<char*> arguments(argv, argv + argc);
  arguments.insert(arguments.begin() + 1, mix.data());
  int count = static_cast<int>(arguments.size());
  arguments.push_back(nullptr);
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) throw std::runtime_error("see --help");
  for (const Comparison& comparison : comparisons) {
    Register(comparison.figure, comparison.subject);
    if (comparison.limit) Register(comparison.figure + "/limit", comparison.limit);
  }
  Times times;
  benchmark::RunSpecifiedBenchmarks(&times);
  std::vector<Figure> figures;
  for (const Comparison& comparison : comparisons) {
    if (times.Has(comparison.figure)) figures.push_back(FigureOf(comparison, times));
  }
  Report(figures);
}

}  // namespace Lumenar::Bench
