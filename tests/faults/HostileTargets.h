// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "tests/support/EngineFixture.h"
#include "tests/support/RawClient.h"

namespace Lumenar::Test {

/// The stringified references of all subscribers that the topic manager knows.
std::vector<std::string> SubscriberReferences(const IsolatedPlatform& platform);

/// The address of an object of the platform by its name.
Corvanta::Test::ObjectAddress AddressOf(Testbench& bench, const std::vector<std::string>& path);

/// A platform with math objects over each input kind, and clients that listen: whatever takes samples is there.
class HostileFixture : public EngineFixture {
 protected:
  explicit HostileFixture(const IsolatedPlatform::Options& options = {});

  /// Samples go the whole road still: from an input through the engine to a subscriber.
  void ExpectSamplesFlow();

  Corvanta::Test::ObjectAddress Factory() { return AddressOf(bench_, {"Lumenar", "local", "MATHFACTORY", "1"}); }
  Corvanta::Test::ObjectAddress Manager() { return AddressOf(bench_, {"Lumenar", "local", "DDS_MANAGER", "1"}); }

  double last_ = 1;  // before input_, which begins with it
  ScalarInput input_;
  Corvanta::MathFactory::Math_var peak_;
};

}  // namespace Lumenar::Test
