// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <map>
#include <string>

#include "tests/faults/WireAttacks.h"

namespace Lumenar::Test {

/// Tries one attack on one object very often: on connections of its own if the attack ends them, else many on each.
class Volley {
 public:
  Volley(const Corvanta::Test::ObjectAddress& target, const WireAttack& attack) : target_(target), attack_(attack) {}

  /// Stops early at the first outcome that is not as it should be, or when nobody takes connections any more.
  void Fire(long tries);

  long Tries() const { return tries_; }
  const std::map<std::string, long>& Answers() const {
    return answers_;
  }                                                    ///< "closed", "ok" or the exception: how often
  const std::string& Wrong() const { return wrong_; }  ///< empty when every outcome was as it should be

 private:
  using Client = Corvanta::Test::RawClient;

  void FireEnding(long count);
  void FireOnOne(long count);
  void Note(const std::string& answer);
  void Expect(const std::string& answer, const std::string& wanted);

  const Corvanta::Test::ObjectAddress target_;
  const WireAttack attack_;
  long tries_ = 0;
  std::map<std::string, long> answers_;
  std::string wrong_;
};

}  // namespace Lumenar::Test
