// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <atomic>
#include <bit>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

#include "judge/decibels.h"
#include "platform/value/decibel_kernels.h"
#include "platform/value/decibel_paths.h"

// Every float there is, through every path of the decibel kernels and through the scalar functions, against independent
// judges. Ends with 1 when one bit differs.

namespace {

using namespace Lumenar::Value;
using Detail::Kernel_path;

constexpr std::size_t kChunk = std::size_t{1} << 16;
constexpr std::uint64_t kAll_floats = std::uint64_t{1} << 32;

/// One direction: its array kernel on a path, its scalar function, and its judge.
struct Direction {
  const char* name;
  void (*convert)(Kernel_path, const float*, float*, std::size_t, double) noexcept;
  float (*scalar)(float, double) noexcept;
  void (*judge)(std::span<const float>, std::span<float>, double, Lumenar::Judge::Tally&);
};

constexpr Direction kDirections[] = {
    {"linear to dB", Detail::Linear_to_decibel, Linear_to_decibel, Lumenar::Judge::Linear_to_decibel},
    {"dB to linear", Detail::Decibel_to_linear, Decibel_to_linear, Lumenar::Judge::Decibel_to_linear},
};

struct Path_name {
  Kernel_path path;
  const char* name;
};
constexpr Path_name kPaths[] = {
    {Kernel_path::baseline, "baseline"}, {Kernel_path::avx2, "avx2"}, {Kernel_path::avx512, "avx512"}};

struct Outcome {
  std::uint64_t inputs = 0;
  std::uint64_t wrong[4] = {};  // one for each of kPaths, then the scalar function
  Lumenar::Judge::Tally tally;

  void Merge(const Outcome& other) {
    inputs += other.inputs;
    std::transform(std::begin(wrong), std::end(wrong), std::begin(other.wrong), std::begin(wrong), std::plus<>());
    tally.Merge(other.tally);
  }
};

std::uint64_t Differences(std::span<const float> a, std::span<const float> b) {
  std::uint64_t count = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    count += std::bit_cast<std::uint32_t>(a[i]) != std::bit_cast<std::uint32_t>(b[i]) ? 1 : 0;
  }
  return count;
}

/// One chunk at a time: of the floats with the bits first, first + stride, and so on, as many as a chunk holds or there
/// are.
class Checker {
 public:
  Checker(const Direction& direction, double k)
      : direction_(direction), k_(k), in_(kChunk), out_(kChunk), right_(kChunk) {}

  void Check(std::uint64_t first, std::uint64_t stride, Outcome& outcome) {
    const std::size_t count = std::min(std::uint64_t{kChunk}, (kAll_floats - first + stride - 1) / stride);
    const std::span in = std::span(in_).first(count);
    const std::span out = std::span(out_).first(count);
    const std::span right = std::span(right_).first(count);
    for (std::size_t i = 0; i < count; ++i)
      in[i] = std::bit_cast<float>(static_cast<std::uint32_t>(first + i * stride));
    direction_.judge(in, right, k_, outcome.tally);
    outcome.inputs += count;
    for (std::size_t i = 0; i < std::size(kPaths); ++i) {
      if (!Detail::Is_available(kPaths[i].path)) continue;
      direction_.convert(kPaths[i].path, in.data(), out.data(), count, k_);
      outcome.wrong[i] += Differences(out, right);
    }
    for (std::size_t i = 0; i < count; ++i) out[i] = direction_.scalar(in[i], k_);
    outcome.wrong[std::size(kPaths)] += Differences(out, right);
  }

 private:
  const Direction& direction_;
  double k_;
  std::vector<float> in_;
  std::vector<float> out_;
  std::vector<float> right_;
};

Outcome Check_all(const Direction& direction, double k, std::uint64_t stride, unsigned threads) {
  std::atomic<std::uint64_t> next{0};
  std::mutex mutex;
  Outcome total;
  const auto work = [&] {
    Checker checker(direction, k);
    Outcome outcome;
    for (;;) {
      const std::uint64_t first = next.fetch_add(kChunk * stride);
      if (first >= kAll_floats) break;
      checker.Check(first, stride, outcome);
    }
    const std::lock_guard lock(mutex);
    total.Merge(outcome);
  };
  std::vector<std::jthread> workers;
  for (unsigned i = 0; i < threads; ++i) workers.emplace_back(work);
  workers.clear();
  return total;
}

/// Returns whether all was right.
bool Report(const Direction& direction, double k, const Outcome& outcome, double seconds) {
  fmt::print("{}, k = {}: {} inputs in {:.0f} s, {} decided by MPFR, closest to a boundary 2^{:.1f}\n", direction.name,
             k, outcome.inputs, seconds, outcome.tally.by_mpfr, outcome.tally.closest);
  std::uint64_t all = outcome.wrong[std::size(kPaths)];
  for (std::size_t i = 0; i < std::size(kPaths); ++i) {
    const bool available = Detail::Is_available(kPaths[i].path);
    fmt::print("  {:<9}{}\n", kPaths[i].name, available ? fmt::format("{} wrong", outcome.wrong[i]) : "not available");
    all += outcome.wrong[i];
  }
  fmt::print("  {:<9}{} wrong\n", "scalar", outcome.wrong[std::size(kPaths)]);
  std::fflush(stdout);
  return all == 0;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Checks the decibel kernels for every float");
  std::vector<double> factors{1};
  std::uint64_t stride = 1;
  unsigned threads = std::max(1u, std::thread::hardware_concurrency());
  app.add_option("--k", factors, "Decibel factors")->capture_default_str();
  app.add_option("--stride", stride, "Check one float in so many; an odd number reaches every low bit")
      ->capture_default_str();
  app.add_option("--threads", threads, "Threads")->capture_default_str();
  CLI11_PARSE(app, argc, argv);

  bool right = true;
  for (const double k : factors) {
    for (const Direction& direction : kDirections) {
      const auto start = std::chrono::steady_clock::now();
      const Outcome outcome = Check_all(direction, k, stride, threads);
      const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
      right = Report(direction, k, outcome, seconds.count()) && right;
    }
  }
  return right ? 0 : 1;
}
