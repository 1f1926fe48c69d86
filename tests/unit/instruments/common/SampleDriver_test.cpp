// SPDX-License-Identifier: Apache-2.0
#include "instruments/common/SampleDriver.h"

#include <gtest/gtest.h>

#include <vector>

#include "platform/components/ItemNamer.h"
#include "tests/support/TopicsFixture.h"

namespace Lumenar::Instruments {
namespace {

using SampleDriverTest = Lumenar::Test::TopicsFixture;

/// Who sees the number of a step finds its sample published.
TEST_F(SampleDriverTest, AStepIsStoredBehindItsSample) {
  Corvanta::ItemNamer namer("SIM/1");
  Corvanta::EngineAttribLong_var step;
  std::vector<CORBA::Long> stored;
  SampleDriver driver({namer, registration_}, "T", 0, [&] {
    stored.push_back(step->Get());
    return true;
  });
  ASSERT_EQ(registration_.Entries().size(), 1u);
  step = Corvanta::EngineAttribLong::_narrow(registration_.Entries()[0].reference);
  driver.Start();
  step->Set(100);
  step->Set(101);
  EXPECT_EQ(stored, (std::vector<CORBA::Long>{0, 0, 100}));
  EXPECT_EQ(step->Get(), 101);
}

}  // namespace
}  // namespace Lumenar::Instruments
