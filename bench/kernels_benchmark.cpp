#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "Value/decibel_paths.h"

// The decibel kernels on a trace of 10,001 points, beside the loop over the C library's function that they replace. Each
// benchmark also reports the time for one point; at the end stand the ratios of the run.

namespace {

using namespace Lumenar::Value;
using Detail::Kernel_path;

constexpr std::size_t kPoints = 10001;

/// Levels as a spectrum has them.
const std::vector<float>& Decibels() {
  static const std::vector<float> numbers = [] {
    std::mt19937 generator(1);
    std::uniform_real_distribution<float> level(-120.0f, 30.0f);
    std::vector<float> levels(kPoints);
    for (float& number : levels) number = level(generator);
    return levels;
  }();
  return numbers;
}

const std::vector<float>& Linear_numbers() {
  static const std::vector<float> numbers = [] {
    std::vector<float> linear(kPoints);
    Detail::Decibel_to_linear(Kernel_path::baseline, Decibels().data(), linear.data(), kPoints, 1);
    return linear;
  }();
  return numbers;
}

/// Runs `convert` on `in` and reports the time for a point.
template <class Convert>
void Measure(benchmark::State& state, const std::vector<float>& in, Convert convert) {
  std::vector<float> out(in.size());
  for (auto _ : state) {
    convert(in.data(), out.data());
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.counters["a_point"] = benchmark::Counter(static_cast<double>(in.size()), benchmark::Counter::kIsIterationInvariantRate |
                                                                                   benchmark::Counter::kInvert);
}

void To_decibel_by_library(benchmark::State& state) {
  Measure(state, Linear_numbers(), [](const float* in, float* out) {
    for (std::size_t i = 0; i < kPoints; ++i) out[i] = static_cast<float>(10.0 * static_cast<double>(std::log10(in[i])));
  });
}

void To_linear_by_library(benchmark::State& state) {
  Measure(state, Decibels(), [](const float* in, float* out) {
    for (std::size_t i = 0; i < kPoints; ++i) {
      out[i] = static_cast<float>(std::pow(10.0, static_cast<double>(in[i] / 10.0f)));
    }
  });
}

void To_decibel(benchmark::State& state, Kernel_path path) {
  Measure(state, Linear_numbers(),
          [path](const float* in, float* out) { Detail::Linear_to_decibel(path, in, out, kPoints, 1); });
}

void To_linear(benchmark::State& state, Kernel_path path) {
  Measure(state, Decibels(),
          [path](const float* in, float* out) { Detail::Decibel_to_linear(path, in, out, kPoints, 1); });
}

/// The console's lines, and the times kept for the ratios.
class Ratio_reporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) times_[run.benchmark_name()] = run.GetAdjustedCPUTime();
    ConsoleReporter::ReportRuns(runs);
  }

  void Print_ratios() const {
    for (const auto& [name, time] : times_) {
      const auto library = times_.find(name.substr(0, name.find('/')) + "/library");
      if (library == times_.end() || library->first == name) continue;
      std::printf("%-20s %5.1f x as fast as the C library\n", name.c_str(), library->second / time);
    }
  }

 private:
  std::map<std::string, double> times_;
};

void Register() {
  struct Path {
    Kernel_path path;
    const char* name;
  };
  benchmark::RegisterBenchmark("to_decibel/library", To_decibel_by_library);
  benchmark::RegisterBenchmark("to_linear/library", To_linear_by_library);
  for (const auto& [path, name] : {Path{Kernel_path::baseline, "baseline"}, Path{Kernel_path::avx2, "avx2"},
                                   Path{Kernel_path::avx512, "avx512"}}) {
    if (!Detail::Is_available(path)) continue;
    benchmark::RegisterBenchmark((std::string("to_decibel/") + name).c_str(), To_decibel, path);
    benchmark::RegisterBenchmark((std::string("to_linear/") + name).c_str(), To_linear, path);
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  Register();
  Ratio_reporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.Print_ratios();
}
