// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <random>
#include <string>
#include <vector>

#include "tests/support/RawClient.h"

namespace Lumenar::Test {

/// Requests as they should be, to be damaged: the first four for the factory, then three for the topic manager, then
/// two for a subscriber. None of them holds an address, so that no damage makes one.
std::vector<std::string> WholeRequests(const Corvanta::Test::ObjectAddress& factory,
                                       const Corvanta::Test::ObjectAddress& manager,
                                       const Corvanta::Test::ObjectAddress& subscriber);

/// Random bytes and damage, always the same for a seed.
class Noise {
 public:
  static constexpr unsigned kSeed = 4711;
  explicit Noise(unsigned seed = kSeed) : random_(seed) {}

  std::size_t Below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_); }
  std::string Bytes(std::size_t count);

  /// A request with some bytes changed, left out, doubled, or cut off.
  std::string Damaged(std::string request);

  /// A request with some bytes changed behind its header: a message of the protocol still.
  std::string DamagedWithin(std::string request);

 private:
  std::mt19937 random_;
};

}  // namespace Lumenar::Test
