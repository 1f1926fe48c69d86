// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "judge/Operation.h"
#include "judge/Trace.h"

namespace Lumenar::Judge {

/// CumulativeAdd: the sum of a trace's samples from START to STOP, linear; in decibels when the trace was.
///
/// Inputs are the trace (0), START (1) and STOP (2). A sample of either index is the new START: STOP keeps the value
/// that it had when the object was created.
class RangeSum final : public Operation {
 public:
  /// An object that was at work before.
  RangeSum() = default;

  /// An object that was at work before; each computation has taken the trace out of decibels and back.
  /// Errors   Refused.
  RangeSum(const std::optional<Trace::Record>& trace, std::optional<int> start, std::optional<int> stop,
           int computations);

  /// A new one. Errors   Refused.
  RangeSum(const Trace::Record& trace, int start, int stop);

  std::unique_ptr<Operation> Copy() const override { return std::make_unique<RangeSum>(*this); }
  Outcome Take(std::size_t input, const Datum& sample) override;
  std::vector<std::unique_ptr<Operation>> Guesses(const Datum& result, std::size_t most) const override;
  std::string Guessed() const override { return guessed_; }
  std::uint64_t StateDigest() const override;

 private:
  Outcome Compute();
  std::unique_ptr<RangeSum> Guess(int start, int stop, const Datum& result) const;

  std::optional<Trace> trace_;
  std::optional<Trace> linear_;  ///< as it was for the last sum, while START or STOP is unknown
  std::optional<int> start_;
  std::optional<int> stop_;
  std::string guessed_;
};

}  // namespace Lumenar::Judge
