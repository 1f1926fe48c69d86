// SPDX-License-Identifier: Apache-2.0
// The two tables of units, the engine's and the judge's, agree on every pair of them.
#include <gtest/gtest.h>

#include <optional>

#include "judge/Refused.h"
#include "judge/Units.h"
#include "judge/unit_rows.h"
#include "platform/units/Units.h"
#include "platform/units/exceptions.h"

namespace Lumenar::Test {
namespace {

std::optional<double> OfTheEngine(std::int32_t to, std::int32_t from) {
  try {
    return Value::Units_library::Get_conversion_factor(Value::Make_unit(static_cast<Value::Units_list>(to)),
                                                       Value::Make_unit(static_cast<Value::Units_list>(from)));
  } catch (const Value::UnitDimensionNotSame&) {
    return std::nullopt;
  }
}

std::optional<double> OfTheJudge(std::int32_t to, std::int32_t from) {
  Judge::Slots to_slots{}, from_slots{};
  to_slots[0] = {to, 1};
  from_slots[0] = {from, 1};
  try {
    return Judge::ConversionFactor(to_slots, from_slots);
  } catch (const Judge::Refused&) {
    return std::nullopt;
  }
}

TEST(JudgeUnits, AreThoseOfTheEngine) {
  ASSERT_EQ(Judge::LastUnit(), Value::kLastUnit);
  for (std::int32_t to = 1; to <= Judge::LastUnit(); ++to) {
    for (std::int32_t from = 1; from <= Judge::LastUnit(); ++from)
      EXPECT_EQ(OfTheJudge(to, from), OfTheEngine(to, from)) << "from unit " << from << " to unit " << to;
  }
}

}  // namespace
}  // namespace Lumenar::Test
