// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "judge/verify/Arrivals.h"
#include "judge/verify/Expansion.h"
#include "judge/verify/Findings.h"
#include "judge/verify/Path.h"

namespace Lumenar::Judge {

/// Looks for an order of the samples of one object that explains each of its results, bit for bit, in a stretch of a
/// recording in which nothing is missing.
///
/// The samples of one input are taken in their order; between inputs any order is possible, since a recorder cannot
/// know in which one the engine had them. Each result must be that of one of the samples which came since the one
/// before it was explained. All ways that do are followed, at most SearchLimits::paths of them, those nearest to the
/// order of arrival first.
///
/// Where samples from before are in a result, any numbers may have been there, so a way by which they are unknown fits
/// whatever was recorded. It ends when they have left and the numbers tell it apart. Other ways that fit so far do not
/// end it: the means of numbers that rise by equal steps rise so too, whichever samples they are of.
///
/// Memory    the arrivals of some seconds, and the state of each way. Threads   one at a time.
class Search {
 public:
  /// What the object may be at the beginning. `knows_inputs`: values of its inputs were recorded then.
  Search(const ObjectFacts& facts, const SearchLimits& limits, std::vector<std::unique_ptr<Operation>> possibilities,
         std::int64_t begin_ns, bool knows_inputs);

  /// In the order of the recording. `input` is the place of the operand.
  void AddSample(std::size_t input, Arrival sample);
  void AddChange(Arrival change);
  void AddResult(Arrival result);

  /// Works on the results for which all has come that can have come; `now_ns` is the time of the last arrival.
  void Advance(std::int64_t now_ns);

  /// The stretch ends. What was found by the best of the ways. The sample of a last result, which came to the recorder
  /// behind it, may be missing: such a result counts as not checked.
  Findings End(std::int64_t end_ns);

  /// The same, where something is missing behind: nothing is up to `since_ns`. Results that came shortly before and are
  /// not explained by what there is may be those of samples that are missing: they count as not checked.
  Findings EndAtGap(std::int64_t since_ns);

  /// Results at which more ways were possible than are followed, or looked at.
  std::uint64_t Bounded() const { return bounded_; }

  /// What was found out about numbers that nobody recorded, in words.
  const std::string& Guessed() const { return guessed_; }

 private:
  void ExplainDue(std::int64_t now_ns);
  bool ExplainAsItIs(const Arrival& result);
  Findings Found(std::int64_t end_ns);
  bool IsDue(const Arrival& result, std::int64_t now_ns) const;
  void Explain(const Arrival& result);
  bool MayLackItsSample(const Arrival& result, const Expansion& expansion) const;
  void LeaveUnchecked();
  std::vector<Path> WaysTo(const Arrival& result, bool is_telling);
  std::vector<Path> FoundBy(Expansion& expansion);
  std::size_t MostWays() const;
  bool TheSureDecide() const;
  bool Keep(std::vector<Path> ways, std::size_t most);
  void LimitWaysTo(std::size_t bytes);
  void PassBefore(std::int64_t time_ns);
  void Pass(Path& path, std::int64_t time_ns) const;
  std::int64_t MiddleOfPending_ns() const;
  void DropWhatAllHad();
  std::size_t PendingBytes() const;

  const ObjectFacts facts_;
  const bool knows_inputs_;
  SearchLimits limits_;  // as the size of the samples allows
  Beginning beginning_;
  std::vector<Arrivals> streams_;  // of the inputs, and of the changes
  Arrivals results_;
  std::size_t next_result_ = 0;
  std::int64_t last_ns_ = 0;  // of the last sample or result
  std::int64_t end_ns_ = std::numeric_limits<std::int64_t>::max();
  std::uint64_t bounded_ = 0;
  bool was_cut_ = false;  // of the ways to the present result
  std::vector<Path> paths_;
  std::shared_ptr<const Datum> last_result_;
  std::string guessed_;
};

}  // namespace Lumenar::Judge
