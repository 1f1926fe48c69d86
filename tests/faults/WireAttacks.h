// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/RawClient.h"

namespace Lumenar::Test {

/// Messages, or parts of them, that no ORB sends to an object, or that one sends seldom.
struct WireAttack {
  /// What becomes of one try.
  enum Outcome {
    Closed,    ///< the connection is closed by whoever was attacked
    Ends,      ///< it ends with the attacker's, which may send more: until then it is kept for a while
    Answered,  ///< each try gets an answer
    Dropped,   ///< no answer; the next request on the connection gets one
  };

  std::string name;
  Outcome outcome;
  std::string answer;                                            ///< if Answered
  std::function<std::string(Corvanta::Test::RawClient&)> bytes;  ///< of one try

  friend void PrintTo(const WireAttack& attack, std::ostream* stream) { *stream << attack.name; }
};

/// Attacks that any process with any object is open to.
std::vector<WireAttack> WireAttacks();

/// The first part of a call of this operation, with all of its arguments, which says that more is to come.
std::string Unended(Corvanta::Test::RawClient& client, const std::string& operation,
                    const Corvanta::Test::Wire& arguments);

/// The whole of it.
WireAttack LyingFragments(const std::string& name, const std::string& operation, const Corvanta::Test::Wire& arguments);

/// Arguments of CreateMath and of Subscribe whose references claim 79 million profiles, and as many references.
Corvanta::Test::Wire ReferenceOfManyProfiles();
Corvanta::Test::Wire ManyReferences();
Corvanta::Test::Wire SubscriberOfManyProfiles();

}  // namespace Lumenar::Test
