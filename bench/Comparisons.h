// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Lumenar::Bench {

/// A piece of work and the work that it is compared with, both repeated by the benchmark library.
struct Comparison {
  std::string figure;  ///< as in Figure
  std::string unit;    ///< "us", or "ns/point"
  double scale;        ///< from seconds of one repetition to the unit
  std::function<void()> subject;
  std::function<void()> limit;  ///< empty: a peer that is not installed
  std::optional<double> target;
  bool faster = false;  ///< the target says how many times as fast the subject is to be
};

/// Runs all comparisons with Google Benchmark, whose options argv may hold: each subject and limit several times, in
/// mixed order, so that a disturbance of the machine meets both alike. Reports the medians of the processor's time as
/// figures.
void RunComparisons(int argc, char** argv, const std::vector<Comparison>& comparisons);

}  // namespace Lumenar::Bench
