// SPDX-License-Identifier: Apache-2.0
#include "instruments/common/Settings.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>

namespace Lumenar::Instruments {
namespace {

TEST(Settings, AreTheVariablesWithThePrefix) {
  setenv("INSTRUMENTTEST_A", "1=2", 1);
  setenv("OTHERTEST_A", "3", 1);
  EXPECT_EQ(SettingsFromEnvironment("INSTRUMENTTEST_"), (Settings{{"INSTRUMENTTEST_A", "1=2"}}));
}

TEST(Settings, ANumberIsReadWholeAndWithinItsLimits) {
  EXPECT_EQ(NumberSetting({}, "RATE", 20, 1, 100), 20);
  EXPECT_EQ(NumberSetting({{"RATE", ""}}, "RATE", 20, 1, 100), 20);
  EXPECT_EQ(NumberSetting({{"RATE", "2.5"}}, "RATE", 20, 1, 100), 2.5);
  for (const char* text : {"2x", "x", " 2", "0.5", "101", "nan", "1e999", "-"}) {
    try {
      NumberSetting({{"RATE", text}}, "RATE", 20, 1, 100);
      ADD_FAILURE() << text;
    } catch (const std::invalid_argument& error) {
      EXPECT_EQ(error.what(), std::string("RATE=") + text + ": expected a number from 1 to 100");
    }
  }
}

}  // namespace
}  // namespace Lumenar::Instruments
