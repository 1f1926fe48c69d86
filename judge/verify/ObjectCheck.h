// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "judge/Operation.h"
#include "judge/verify/Arrivals.h"
#include "judge/verify/Findings.h"
#include "judge/verify/Path.h"
#include "judge/verify/Search.h"

namespace Lumenar::Judge {

/// What came of the check of one object.
struct ObjectReport {
  std::string name;
  std::string type;
  std::vector<std::string> inputs;
  std::uint64_t results = 0;               ///< that the recording has
  std::uint64_t samples = 0;               ///< of its inputs
  std::string problem;                     ///< why nothing could be checked; else empty
  std::string guessed;                     ///< numbers that were found out from a result
  std::vector<std::string> interruptions;  ///< where the check had to begin anew, the first ones
  std::uint64_t interrupted = 0;           ///< how often it had to
  Findings findings;
  std::uint64_t bounded = 0;  ///< results at which more orders were possible than the search follows

  /// Every result that could be checked came out bit for bit, at least one could be, and no sample lacks its result.
  bool IsExplained() const {
    return problem.empty() && findings.Checked() > 0 && findings.CountOf(Remark::Unexplained) == 0 &&
           findings.CountOf(Remark::Missing) == 0;
  }

  /// There is a result that the rules do not give, or one is missing.
  bool Differs() const { return findings.CountOf(Remark::Unexplained) > 0 || findings.CountOf(Remark::Missing) > 0; }
};

/// One math object of a recording, computed again. It was at work when the recording began, so its first results may
/// depend on what nobody recorded.
/// Threads   one at a time.
class ObjectCheck {
 public:
  /// `size`: SIZE of an Average when the recording began, if it tells. `sharing`: how many objects, this one included,
  /// share the memory that the limits allow.
  ObjectCheck(ObjectFacts facts, std::optional<int> size, const SearchLimits& limits,
              std::shared_ptr<const std::size_t> sharing);

  const ObjectFacts& Facts() const { return facts_; }

  /// Nothing can be checked, for this reason.
  void GiveUp(const std::string& problem);

  // In the order of the recording. A value of another kind than the object takes or gives interrupts.

  /// The value of an input, or of the result, when the recording began.
  void TakePresentInput(std::size_t input, const Datum& value);
  void TakePresentResult(const Datum& value);

  void TakeSample(std::size_t input, const Arrival& sample);
  void TakeResult(const Arrival& result);
  void TakeChange(const Arrival& change);

  /// Time has come to this point.
  void Advance(std::int64_t now_ns);

  /// Something is missing here, or the object is another one from here on; up to `since_ns` nothing is.
  void Interrupt(std::int64_t since_ns, const std::string& reason);

  ObjectReport End(std::int64_t now_ns);

 private:
  Search& Stretch(std::int64_t time_ns);
  void TakeFindings(const Findings& findings);
  bool IsOfKind(const Datum& value, Kind kind, std::int64_t now_ns);
  Kind InputKind(std::size_t input) const;

  const ObjectFacts facts_;
  const SearchLimits limits_;  // of all objects together
  const std::shared_ptr<const std::size_t> sharing_;
  std::optional<int> size_;
  Operation::Present present_;
  std::unique_ptr<Search> search_;  // of the present stretch; null before its first arrival
  ObjectReport report_;
};

}  // namespace Lumenar::Judge
