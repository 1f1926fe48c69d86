// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Lumenar::Judge {

/// Something about one result or sample that a reader of a report should know.
struct Remark {
  enum Kind {
    Unexplained,  ///< a result that no order of the samples gives
    Missing,      ///< a sample whose result is not in the recording
    Reset,        ///< a RESET that nobody recorded, without which a result is not explained
    Order,        ///< a result from a sample that came to the recorder behind another one
  };
  static constexpr int kKinds = 4;

  Kind kind = Unexplained;
  std::uint64_t number = 0;  ///< of the result, or of the sample in its reading, from 1
  std::int64_t time_ns = 0;  ///< of its arrival
  std::string text;
};

/// What was found in a stretch of results of one object. A value; copies share the remarks.
class Findings {
 public:
  /// Of each kind so many remarks are kept, and all are counted.
  static constexpr std::size_t kMostRemarks = 200;

  void CountChecked() { ++checked_; }

  /// A result that nothing can be said of; a sample that the rules refuse. Counted by reason.
  void CountUnchecked(const std::string& reason) { Count(unchecked_, reason); }
  void CountRefused(const std::string& reason) { Count(refused_, reason); }

  void Add(Remark remark);

  /// The findings of a later stretch.
  void Append(const Findings& later);

  using Reasons = std::map<std::string, std::uint64_t>;
  std::uint64_t Checked() const { return checked_; }
  std::uint64_t Unchecked() const { return SumOf(unchecked_); }
  const Reasons& UncheckedBy() const { return In(unchecked_); }
  const Reasons& RefusedBy() const { return In(refused_); }
  std::uint64_t CountOf(Remark::Kind kind) const { return counts_[kind]; }

  /// In the order in which they were made.
  std::vector<Remark> Remarks() const;

 private:
  struct Link {
    Remark remark;
    std::shared_ptr<const Link> before;
  };
  using Shared = std::shared_ptr<const Reasons>;

  static void Count(Shared& reasons, const std::string& reason, std::uint64_t times = 1);
  static const Reasons& In(const Shared& reasons);
  static std::uint64_t SumOf(const Shared& reasons);

  std::uint64_t checked_ = 0;
  Shared unchecked_;
  Shared refused_;
  std::uint64_t counts_[Remark::kKinds] = {};
  std::shared_ptr<const Link> last_;
};

}  // namespace Lumenar::Judge
