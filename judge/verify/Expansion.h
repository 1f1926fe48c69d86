// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "judge/verify/Arrivals.h"
#include "judge/verify/Deviation.h"
#include "judge/verify/Path.h"

namespace Lumenar::Judge {

/// Where a stretch of a recording begins, as far as it matters for its first results.
struct Beginning {
  std::int64_t time_ns = 0;
  std::uint64_t first_result = 0;             ///< place of the first result
  std::uint64_t result_number = 0;            ///< and its number
  std::vector<std::uint64_t> sample_numbers;  ///< those of the first sample of each input
  std::optional<std::uint64_t> inputs_began;  ///< place behind which every input has had a sample
};

/// The ways on from a path to one result: which of the samples that came gives it, bit for bit.
class Expansion {
 public:
  Expansion(const ObjectFacts& facts, const SearchLimits& limits, const std::vector<Arrivals>& streams,
            const Beginning& beginning, const Arrival& result, bool is_telling);

  // `is_telling`: the result is another one than the one before it.

  /// Adds to Found the ways on from this path, by one arrival after the other, those that give no result included.
  void From(const Path& path);

  /// From now on nothing is found but ways by which the result comes out bit for bit.
  void DemandProof() { demands_proof_ = true; }

  /// As From, where the RESET that explains it was not recorded.
  void FromWithReset(const Path& path);

  /// The path behind one more arrival of each stream whose result is not in the recording: it was computed and lost,
  /// or the object never had the sample.
  std::vector<Path> Skipping(const Path& path) const;

  /// The ways on from this path although nothing explains the result: the object has had one more arrival and its
  /// result was what the rules give, or what was recorded; or the result is nobody's.
  std::vector<Path> Unexplained(const Path& path) const;

  std::vector<Path>& Found() { return found_; }

  /// Some sample gave a result, though another one.
  bool HasNearest() const { return nearest_.has_value(); }

  /// There were more ways than SearchLimits::steps: some were not looked at.
  bool WasCut() const { return was_cut_; }

  /// The path behind an arrival of which no result came in a long time.
  static void PassOver(Path& path, const ObjectFacts& facts, std::size_t stream, const Arrival& arrival);

 private:
  void CutShort();
  const Arrival* InWindow(const Path& path, std::size_t stream) const;
  static Outcome Apply(Path& path, std::size_t stream, const Arrival& arrival);
  void Try(const Path& path, std::size_t stream);
  void CountAhead(Path& path, std::size_t stream, const Arrival& arrival) const;
  void Compare(Path path, std::size_t stream, const Arrival& arrival);
  void TakeUnknown(Path path, const std::string& reason);
  void TakeFromBefore(const Path& path);
  bool LeavesMany(const Path& path) const;
  void Wait(Path path);
  void FindAt(Path path);
  void NoteOrder(Path& path, std::size_t stream, const Arrival& arrival) const;
  void Consider(const Path& path, std::size_t stream, const Arrival& arrival);
  bool IsTooLateForSetting(const Path& path, std::size_t stream, const Arrival& arrival) const;
  bool IsNear(const Path& path, std::size_t stream, const Arrival& arrival) const;
  bool MayPassAtStart(const Path& path, std::size_t stream, const Arrival& arrival) const;
  static std::string NameOf(const ObjectFacts& facts, std::size_t stream);
  static Remark MissingAt(const ObjectFacts& facts, std::size_t stream, const Arrival& arrival);

  const ObjectFacts& facts_;
  const SearchLimits& limits_;
  const std::vector<Arrivals>& streams_;
  const Beginning& beginning_;
  const Arrival& result_;
  const bool is_telling_;
  bool demands_proof_ = false;
  std::size_t steps_ = 0;
  bool was_cut_ = false;
  std::vector<Path> found_;
  std::vector<Path> waiting_;
  std::set<std::uint64_t> seen_;
  std::optional<Deviation> nearest_;  ///< of the results that were tried
  std::string nearest_from_;
};

}  // namespace Lumenar::Judge
