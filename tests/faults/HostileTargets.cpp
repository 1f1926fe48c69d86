// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/HostileTargets.h"

#include <fstream>
#include <sstream>

namespace Lumenar::Test {

std::vector<std::string> SubscriberReferences(const IsolatedPlatform& platform) {
  std::ifstream state(platform.Directory() / "subscriptions.state");
  std::vector<std::string> references;
  for (std::string line; std::getline(state, line);)
    if (const auto at = line.find("IOR:"); at != std::string::npos) references.push_back(line.substr(at));
  return references;
}

Corvanta::Test::ObjectAddress AddressOf(Testbench& bench, const std::vector<std::string>& path) {
  CORBA::Object_var object = bench.Orb().Resolve(path);
  CORBA::String_var reference = bench.Orb().Orb()->object_to_string(object);
  return Corvanta::Test::AddressOf(reference.in());
}

HostileFixture::HostileFixture(const IsolatedPlatform::Options& options)
    : EngineFixture(options),
      input_(bench_, "INPUT", ScalarOf(last_, Value::C_Watts)),
      peak_(Create(Peak, Inputs(input_))) {}

void HostileFixture::ExpectSamplesFlow() {
  Watcher<Scalar> results(ResultTopic(peak_));
  input_ = ScalarOf(++last_, Value::C_Watts);
  const std::vector<Scalar> came = results.WaitFor(1);
  ASSERT_FALSE(came.empty());
  EXPECT_EQ(came.back().val, last_);
}

}  // namespace Lumenar::Test
