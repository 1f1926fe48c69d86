// SPDX-License-Identifier: Apache-2.0
#include "platform/units/Units.h"
#include "platform/units/exceptions.h"
#include "platform/units/unit_table.h"

#include <gtest/gtest.h>
#include <udunits2.h>

#include <memory>
#include <string>

namespace Lumenar::Value {
namespace {

/// The independent judge: the same unit in the language of UDUNITS. The ones it lacks have no name here.
const char* Judge_name(Units_list unit) {
  switch (unit) {
    case U_PartsPerMillion: return "1e-6";
    case U_PartsPerBillion: return "1e-9";
    case U_DegreeC: return "celsius";
    case U_DegreeF: return "fahrenheit";
    case U_Degree: return "arc_degree";
    case U_Kilogram: return "kg";
    case U_Bit: return "bit";
    case U_Byte: return "byte";
    case U_Sample: return nullptr;
    case U_RevolutionPerMinute: return nullptr;       // there a revolution is an angle, here it is counted
    case U_Neper: return nullptr;                     // there the unit of a logarithm
    case U_ElectronVolt: return "1.602176634e-19 J";  // exact since 2019; the judge has the measured one of before
    case U_VoltAmpere: return "V A";
    case U_Var: return "W";
    default: return Find_unit(unit)->stem.data();
  }
}

class UdunitsTest : public testing::Test {
 protected:
  UdunitsTest() {
    ut_set_error_message_handler(ut_ignore);
    system_.reset(ut_read_xml(nullptr));
  }

  using Unit = std::unique_ptr<ut_unit, decltype(&ut_free)>;
  Unit Parse(const char* name) { return {name ? ut_parse(system_.get(), name, UT_UTF8) : nullptr, &ut_free}; }

  std::unique_ptr<ut_system, decltype(&ut_free_system)> system_{nullptr, &ut_free_system};
};

TEST_F(UdunitsTest, FactorsAgreeWhereBothKnowTheUnits) {
  ASSERT_TRUE(system_);
  int compared = 0;
  for (const Unit_row& from : Unit_table()) {
    const Unit judge_from = Parse(Judge_name(from.unit));
    for (const Unit_row& to : Unit_table()) {
      const Unit judge_to = Parse(Judge_name(to.unit));
      double factor = 0.0;
      try {
        factor = Units_library::Get_conversion_factor(Make_unit(to.unit), Make_unit(from.unit));
      } catch (const UnitDimensionNotSame&) {
        continue;
      }
      if (!judge_from || !judge_to) {
        continue;
      }
      const std::unique_ptr<cv_converter, decltype(&cv_free)> judge(ut_get_converter(judge_from.get(), judge_to.get()),
                                                                    &cv_free);
      ASSERT_TRUE(judge) << from.stem << " to " << to.stem;
      // The difference of two points, so that temperatures are compared without their zero.
      const double expected = cv_convert_double(judge.get(), 1.0) - cv_convert_double(judge.get(), 0.0);
      EXPECT_NEAR(factor / expected, 1.0, 1e-12) << from.stem << " to " << to.stem;
      ++compared;
    }
  }
  EXPECT_GE(compared, 45) << "nearly every pair of one dimension is known to both";
}

TEST_F(UdunitsTest, DimensionsAgree) {
  for (const Unit_row& row : Unit_table()) {
    const Dimension& d = row.dimension;
    const std::string base = "m" + std::to_string(d.m) + " kg" + std::to_string(d.kg) + " s" + std::to_string(d.s) +
                             " A" + std::to_string(d.A) + " K" + std::to_string(d.K) + " cd" + std::to_string(d.cd) +
                             " rad" + std::to_string(d.rad) + " mol" + std::to_string(d.mol);
    const Unit judge = Parse(Judge_name(row.unit));
    if (judge && d.bit == 0) {
      EXPECT_TRUE(ut_are_convertible(judge.get(), Parse(base.c_str()).get())) << row.stem << " against " << base;
    }
  }
}

}  // namespace
}  // namespace Lumenar::Value
