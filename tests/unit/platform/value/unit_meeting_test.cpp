// SPDX-License-Identifier: Apache-2.0
#include "platform/value/unit_meeting.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/units/exceptions.h"

namespace Lumenar::Value {
namespace {

/// The meeting, or what was thrown.
std::string How(const Units& first, const Units& second, Combination combination) {
  try {
    switch (How_units_meet(first, second, combination)) {
      case Meeting::AsTheyAre: return "as they are";
      case Meeting::Converted: return "converted";
      case Meeting::LinearBoth: return "linear both";
    }
  } catch (const Value_exception& refusal) {
    return refusal.what();
  }
  return "";
}

struct MeetingCase {
  const char* what;
  Units first, second;
  const char* sum;
  const char* level_difference;
};

TEST(UnitMeeting, IsOneRuleForSumsAndOneForDifferencesOfLevels) {
  constexpr Units watt = C_Watts;
  constexpr Units milliwatt = Make_unit(U_Watt, 1, -3);
  constexpr Units level_W = Make_unit(U_Watt, 1, 0, true);
  constexpr Units level_mW = Make_unit(U_Watt, 1, -3, true);
  constexpr Units volt = Make_unit(U_Volt);
  constexpr Units level_V = Make_unit(U_Volt, 1, 0, true);
  constexpr Units bare_dB{true};
  constexpr Units none{};
  const MeetingCase cases[] = {
      {"one unit", watt, watt, "as they are", "OperationNotValid"},
      {"no units", none, none, "as they are", "OperationNotValid"},
      {"another prefix", watt, milliwatt, "converted", "OperationNotValid"},
      {"another dimension", watt, volt, "converted", "OperationNotValid"},
      {"a number without unit", watt, none, "UnitDimensionNotProper", "OperationNotValid"},
      {"two levels", level_W, level_W, "as they are", "as they are"},
      {"two levels of different prefix", level_W, level_mW, "as they are", "as they are"},
      {"two levels of different dimension", level_W, level_V, "converted", "converted"},
      {"a gain on a level", level_W, bare_dB, "as they are", "as they are"},
      {"a level on a gain", bare_dB, level_W, "UnitDimensionNotProper", "MissingUnitInFirstParameter"},
      {"a level and a linear number", level_W, watt, "linear both", "as they are"},
      {"a linear number and a level", watt, level_mW, "linear both", "as they are"},
      {"a level and a number without unit", level_W, none, "UnitDimensionNotProper", "as they are"},
      {"a gain and a number without unit", bare_dB, none, "linear both", "MissingUnitInFirstParameter"},
  };
  for (const MeetingCase& test : cases) {
    EXPECT_EQ(How(test.first, test.second, Combination::Sum), test.sum) << test.what;
    EXPECT_EQ(How(test.first, test.second, Combination::LevelDifference), test.level_difference) << test.what;
  }
}

}  // namespace
}  // namespace Lumenar::Value
