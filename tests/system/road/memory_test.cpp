// SPDX-License-Identifier: Apache-2.0
// Memory of many math objects that were deleted goes back to the system.
#include <unistd.h>

#include <fstream>

#include "tests/system/EngineFixture.h"

namespace Lumenar::Test {
namespace {

double ResidentBytes(pid_t process) {
  std::ifstream statm("/proc/" + std::to_string(process) + "/statm");
  double size = 0;
  double resident = 0;
  statm >> size >> resident;
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE));
}

using Memory = EngineFixture;

TEST_F(Memory, OfObjectsThatWereDeletedGoesBackToTheSystem) {
  constexpr int kObjects = 400;
  TraceInput input(bench_, "INPUT", Trace(std::vector<float>(1001, 1.0f), kMilliwatt));
  const auto create = [&] {
    Corvanta::MathFactory::Math_var math = Create(Peak, Inputs(input));
    return math->GetId();
  };
  for (int i = 0; i < 10; ++i) factory_->DeleteMath(create());
  const double before = ResidentBytes(engine_.Pid());
  std::vector<CORBA::Long> ids;
  for (int i = 0; i < kObjects; ++i) ids.push_back(create());
  EXPECT_GT(ResidentBytes(engine_.Pid()), 1.3 * before) << "else this test shows nothing";

  for (const CORBA::Long id : ids) factory_->DeleteMath(id);

  EXPECT_LT(ResidentBytes(engine_.Pid()), 1.1 * before);
}

}  // namespace
}  // namespace Lumenar::Test
