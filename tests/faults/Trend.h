#pragma once

#include <string>
#include <vector>

#include "tests/faults/Traffic.h"

namespace Lumenar::Test {

/// How the figures of one process develop over a run.
class Trend {
 public:
  void Add(double time_s, const ProcessFigures& figures);

  /// Growth of the memory: the median of the slopes between samples that are at least a third of the time apart
  /// (Theil and Sen), so that single jumps do not count. 0 for fewer than three samples.
  double MemorySlope_kB_per_h() const;

  /// By how much the median of the last third of the samples is above that of the first third.
  long MemoryGrowth_kB() const { return Growth(&ProcessFigures::memory_kB); }
  long DescriptorGrowth() const { return Growth(&ProcessFigures::descriptors); }
  long ThreadGrowth() const { return Growth(&ProcessFigures::threads); }

  /// Whether the run is long enough for its slope to mean something.
  bool SaysSomethingOfAnHour() const { return Length_s() >= 900; }

  double Length_s() const { return samples_.empty() ? 0 : samples_.back().time_s - samples_.front().time_s; }

  /// "memory 20000 kB (+12 kB, +3 kB/h), descriptors 33 (+0), threads 21 (+0)"; the slope of long runs only.
  std::string Text() const;

 private:
  struct Sample {
    double time_s;
    ProcessFigures figures;
  };

  long Growth(long ProcessFigures::*figure) const;

  std::vector<Sample> samples_;
};

}  // namespace Lumenar::Test
