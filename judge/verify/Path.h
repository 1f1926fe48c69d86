// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "judge/Operation.h"
#include "judge/verify/Findings.h"

namespace Lumenar::Judge {

/// What a check knows of an object.
struct ObjectFacts {
  std::string name;                 ///< "math:3"
  std::string type_name;            ///< as recorded
  std::vector<std::string> inputs;  ///< names of readings
  Type type = Type::Subtract;
  Kind kind = Kind::Scalar;  ///< of the result; of a CumulativeAdd always Scalar
};

/// One way in which an object may have come to its results so far: the object by the rules, and which arrivals it has
/// had. The last of the streams are the changes of its settings.
struct Path {
  Path(std::unique_ptr<Operation> start, std::size_t streams) : operation(std::move(start)), next(streams, 0) {}

  OperationValue operation;
  std::vector<std::size_t> next;  ///< of each stream, the number of the first arrival that it has not had
  std::uint64_t ahead = 0;        ///< samples that came to the recorder behind a setting which it has not had
  bool started = false;           ///< a result was one of its samples'
  bool settled = false;           ///< a result came out of it bit for bit
  bool from_before = false;       ///< a result was of a sample from before the recording
  std::uint64_t evidence = 0;     ///< results that came out of it and were others than those before them
  std::uint64_t detours = 0;      ///< results that came from samples in another order than that of arrival
  Findings findings;

  /// The better of two ways is the one with the smaller rank.
  auto Rank() const {
    return std::tuple(findings.CountOf(Remark::Unexplained), findings.CountOf(Remark::Missing),
                      findings.CountOf(Remark::Reset), detours, findings.Unchecked());
  }

  /// Of two ways with the same key one is enough: they go on alike.
  std::uint64_t Key() const {
    std::uint64_t key = operation->StateDigest();
    for (const std::size_t index : next) key = Mixed(key, index);
    return Mixed(Mixed(key, ahead), (started ? 1u : 0u) + (settled ? 2u : 0u) + (from_before && !started ? 4u : 0u));
  }
};

/// How far a check looks.
struct SearchLimits {
  std::int64_t lead_ns = 5'000'000'000;       ///< a sample may come to the recorder so much later than its result
  std::int64_t patience_ns = 30'000'000'000;  ///< a sample that gave no result for so long has none
  std::int64_t tail_ns = 5'000'000'000;       ///< samples so near to the end may have theirs behind it
  std::int64_t gap_ns = 1'000'000'000;        ///< results so near to a gap may be those of samples that are missing
  std::int64_t disorder_ns = 50'000'000;      ///< so near to each other, arrivals may come in any order
  std::size_t paths = 64;                     ///< ways that are followed at once
  std::size_t paths_of_sums = 1024;           ///< the same at the first results of a sum whose range nobody told
  std::size_t steps = 65536;                  ///< ways that are looked at for one result
  std::size_t paths_lost = 12;                ///< the same after a result that none of them explains
  std::size_t missing = 4;                    ///< results in a row that may be missing before the next one
  std::size_t guesses = 16;                   ///< possibilities of numbers that nobody recorded
  bool assume_resets = true;                  ///< whether a RESET that nobody recorded may explain a result

  /// Beyond this a result is worked on although more could still come: memory has an end.
  std::size_t pending_bytes = std::size_t{256} << 20;
  /// The states of all ways together; where traces are long, fewer ways are followed.
  std::size_t state_bytes = std::size_t{256} << 20;
};

}  // namespace Lumenar::Judge
