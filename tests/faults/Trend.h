// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace Lumenar::Test {

/// What a process takes of the machine.
struct Figures {
  long memory_kB = 0;  ///< resident
  long descriptors = 0;
  long threads = 0;
};
Figures FiguresOf(pid_t process);

/// How the figures of one process develop over a run.
class Trend {
 public:
  void Add(double time_s, const Figures& figures);

  /// Growth of the memory: the median of the slopes between samples that are at least a third of the time apart
  /// (Theil and Sen), so that single jumps do not count. 0 for fewer than three samples.
  double MemorySlope_kB_per_h() const;

  /// By how much the median of the last third of the samples is above that of the first third.
  long MemoryGrowth_kB() const { return Growth(&Figures::memory_kB); }
  long DescriptorGrowth() const { return Growth(&Figures::descriptors); }
  long ThreadGrowth() const { return Growth(&Figures::threads); }

  /// Whether the run is long enough for its slope to mean something.
  bool SaysSomethingOfAnHour() const { return Length_s() >= 850; }

  double Length_s() const { return samples_.empty() ? 0 : samples_.back().time_s - samples_.front().time_s; }

  /// "memory 20000 kB (+12 kB, +3 kB/h), descriptors 33 (+0), threads 21 (+0)"; the slope of long runs only.
  std::string Text() const;

 private:
  struct Sample {
    double time_s;
    Figures figures;
  };

  long Growth(long Figures::*figure) const;

  std::vector<Sample> samples_;
};

}  // namespace Lumenar::Test
