// SPDX-License-Identifier: Apache-2.0
// Memory of many math objects that were deleted goes back to the system.
#include "tests/support/EngineFixture.h"
#include "tests/support/ProcessFigures.h"

namespace Lumenar::Test {
namespace {

using Memory = EngineFixture;

TEST_F(Memory, OfObjectsThatWereDeletedGoesBackToTheSystem) {
  constexpr int kObjects = 400;
  TraceInput input(bench_, "INPUT", Trace(std::vector<float>(1001, 1.0f), kMilliwatt));
  const auto create = [&] {
    Corvanta::MathFactory::Math_var math = Create(Peak, Inputs(input));
    return math->GetId();
  };
  for (int i = 0; i < 10; ++i) factory_->DeleteMath(create());
  const long before_kB = ResidentMemory_kB(engine_.Pid());
  std::vector<CORBA::Long> ids;
  for (int i = 0; i < kObjects; ++i) ids.push_back(create());
  EXPECT_GT(10 * ResidentMemory_kB(engine_.Pid()), 13 * before_kB) << "else this test shows nothing";

  for (const CORBA::Long id : ids) factory_->DeleteMath(id);

  EXPECT_LT(10 * ResidentMemory_kB(engine_.Pid()), 11 * before_kB);
}

}  // namespace
}  // namespace Lumenar::Test
