// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/Trend.h"

#include <fmt/format.h>

#include <algorithm>

#include "tests/support/ProcessFigures.h"

namespace Lumenar::Test {
namespace {

template <class Number>
Number Median(std::vector<Number> numbers) {
  if (numbers.empty()) return {};
  const auto middle = numbers.begin() + static_cast<std::ptrdiff_t>(numbers.size() / 2);
  std::nth_element(numbers.begin(), middle, numbers.end());
  return *middle;
}

}  // namespace

Figures FiguresOf(pid_t process) {
  return {ResidentMemory_kB(process), CountDescriptors(process), CountThreads(process)};
}

void Trend::Add(double time_s, const Figures& figures) { samples_.push_back({time_s, figures}); }

double Trend::MemorySlope_kB_per_h() const {
  std::vector<double> slopes;
  for (std::size_t i = 0; i < samples_.size(); ++i) {
    for (std::size_t j = i + 1; j < samples_.size(); ++j) {
      const double time_s = samples_[j].time_s - samples_[i].time_s;
      if (time_s < Length_s() / 3) continue;
      const long growth_kB = samples_[j].figures.memory_kB - samples_[i].figures.memory_kB;
      slopes.push_back(3600 * static_cast<double>(growth_kB) / time_s);
    }
  }
  return samples_.size() < 3 ? 0 : Median(slopes);
}

long Trend::Growth(long Figures::*figure) const {
  const std::size_t third = samples_.size() / 3;
  std::vector<long> first, last;
  for (std::size_t i = 0; i < third; ++i) {
    first.push_back(samples_[i].figures.*figure);
    last.push_back(samples_[samples_.size() - 1 - i].figures.*figure);
  }
  return Median(last) - Median(first);
}

std::string Trend::Text() const {
  if (samples_.empty()) return "no figures";
  const Figures& now = samples_.back().figures;
  const std::string slope = SaysSomethingOfAnHour() ? fmt::format(", {:+.0f} kB/h", MemorySlope_kB_per_h()) : "";
  return fmt::format("memory {} kB ({:+} kB{}), descriptors {} ({:+}), threads {} ({:+})", now.memory_kB,
                     MemoryGrowth_kB(), slope, now.descriptors, DescriptorGrowth(), now.threads, ThreadGrowth());
}

}  // namespace Lumenar::Test
