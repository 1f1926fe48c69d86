// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <map>

namespace Corvanta {

/// Follows the sequence numbers of publishers and tells new samples from those that came before, and how many are
/// missing. It knows the publishers heard last, up to a limit.
/// Threads   one.
class SequenceWatch {
 public:
  using Publisher = std::array<std::uint8_t, 16>;
  static constexpr std::size_t kMaxPublishers = 256;

  struct Verdict {
    bool is_new;
    std::uint64_t missing;  ///< between the sample before and this one
  };

  /// A publisher heard for the first time may be at any number.
  Verdict Heard(const Publisher& publisher, std::uint64_t sequence);

 private:
  struct State {
    std::uint64_t last;
    std::uint64_t heard_at;
  };

  void ForgetTheQuietest();

  std::map<Publisher, State> publishers_;
  std::uint64_t heard_ = 0;
};

}  // namespace Corvanta
