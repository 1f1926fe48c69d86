// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "tests/support/RecordedObject.h"

namespace Lumenar::Judge {

/// Numbers as they are measured.
class Numbers {
 public:
  double Next() { return std::uniform_real_distribution<double>(-60, 20)(engine_); }

  Datum Scalar(const Units& units) { return ScalarOf(Next(), units, -std::abs(Next()) / 100, std::abs(Next()) / 100); }

  Datum Trace(const Units& units, std::size_t points = 7) {
    std::vector<float> samples(points);
    for (float& sample : samples) sample = static_cast<float>(Next());
    return TraceOf(samples, units, ++number_);
  }

 private:
  std::mt19937 engine_{42};
  std::uint32_t number_ = 0;
};

inline std::uint64_t CountOf(const ObjectReport& report, Remark::Kind kind) { return report.findings.CountOf(kind); }

inline std::string TextsOf(const ObjectReport& report, Remark::Kind kind) {
  std::string texts;
  for (const Remark& remark : report.findings.Remarks()) {
    if (remark.kind == kind) texts += std::to_string(remark.number) + ": " + remark.text + "\n";
  }
  return texts;
}

/// Recordings of one object, of such numbers.
class JudgeSearch : public testing::Test {
 protected:
  Numbers numbers_;
};

}  // namespace Lumenar::Judge
