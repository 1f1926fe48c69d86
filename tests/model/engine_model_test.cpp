// SPDX-License-Identifier: Apache-2.0
// The running engine beside a simple model of it, both given the same random commands.
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cstdlib>
#include <string>

#include "tests/model/commands.h"

namespace Lumenar::Model {
namespace {

/// The same cases in every run. LUMENAR_MODEL_RUNS asks for that many cases from a seed of their own, RC_PARAMS for
/// anything.
void SetParameters() {
  const char* runs = std::getenv("LUMENAR_MODEL_RUNS");
  const std::string parameters =
      runs == nullptr ? "seed=20260101 max_success=100 max_size=150" : "max_size=200 max_success=" + std::string(runs);
  ::setenv("RC_PARAMS", parameters.c_str(), 0);
}

TEST(EngineModel, EveryResultIsThatOfTheModelWhateverIsDone) {
  SetParameters();
  EngineUnderTest engine;
  EXPECT_TRUE(rc::check("the engine does what the model does", [&] {
    engine.Begin();
    rc::state::check(MathModel(EngineUnderTest::StartValues()), engine, NextCommand);
  }));
}

}  // namespace
}  // namespace Lumenar::Model
