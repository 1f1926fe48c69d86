// SPDX-License-Identifier: Apache-2.0
#include "instruments/sim/SimConfig.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Lumenar::Sim {
namespace {

TEST(SimConfig, AnItemOfEachKind) {
  const auto items = ParseItems(
      "trace:T:points=8:rate=1000:units=dBm:wave=noise:amplitude=2:offset=-1:seed=7:xstep=0.5;"
      "value:V : error=0.5 : units=V\n# a comment\n\n  "
      "long:L:rate=0:wave=count:period=5;setting:S:value=3:lower=-1:upper=9;");
  ASSERT_EQ(items.size(), 4u);
  EXPECT_EQ(items[0].kind, Kind::Trace);
  EXPECT_EQ(items[0].name, "T");
  EXPECT_EQ(items[0].points, 8u);
  EXPECT_EQ(items[0].rate_Hz, 1000);
  EXPECT_EQ(Value::Units_text(items[0].units), "dBm");
  EXPECT_EQ(items[0].form.wave, Wave::Noise);
  EXPECT_EQ(items[0].form.amplitude, 2);
  EXPECT_EQ(items[0].form.offset, -1);
  EXPECT_EQ(items[0].form.seed, 7u);
  EXPECT_EQ(items[0].form.period, 8u) << "as many as points";
  EXPECT_EQ(items[0].x_step, 0.5);
  EXPECT_EQ(items[1].kind, Kind::Value);
  EXPECT_EQ(items[1].error, 0.5);
  EXPECT_EQ(items[1].form.period, 100u);
  EXPECT_EQ(items[2].kind, Kind::Long);
  EXPECT_EQ(items[2].rate_Hz, 0);
  EXPECT_EQ(items[2].form.period, 5u);
  EXPECT_EQ(items[3].kind, Kind::Setting);
  EXPECT_EQ(items[3].initial, 3);
  EXPECT_EQ(items[3].lower, -1);
  EXPECT_EQ(items[3].upper, 9);
}

TEST(SimConfig, Defaults) {
  const auto items = ParseItems("trace:T");
  EXPECT_EQ(items[0].points, 1001u);
  EXPECT_EQ(items[0].rate_Hz, 10);
  EXPECT_EQ(items[0].form.wave, Wave::Sine);
  EXPECT_EQ(items[0].form.period, 1001u);
  EXPECT_EQ(items[0].units, Value::C_Empty);
}

TEST(SimConfig, BadItemsAreNamed) {
  struct {
    const char* text;
    const char* reason;
  } const cases[] = {
      {"tarce:T", "item \"tarce:T\": expected trace, value, long or setting in front"},
      {"trace", "item \"trace\": expected a name of letters, digits and \"_\""},
      {"trace:A/B", "item \"trace:A/B\": expected a name of letters, digits and \"_\""},
      {"trace:T:point=3", "item \"trace:T:point=3\": a trace has no key \"point\""},
      {"trace:T:error=3", "item \"trace:T:error=3\": a trace has no key \"error\""},
      {"setting:S:rate=3", "item \"setting:S:rate=3\": a setting has no key \"rate\""},
      {"trace:T:points", "item \"trace:T:points\": expected points=VALUE"},
      {"trace:T:points=0", "item \"trace:T:points=0\": points: expected a number from 1 to 16777216"},
      {"trace:T:points=-1", "item \"trace:T:points=-1\": points: expected a number from 1 to 16777216"},
      {"trace:T:rate=nan", "item \"trace:T:rate=nan\": rate: expected a number from 0 to 10000"},
      {"trace:T:wave=saw", "item \"trace:T:wave=saw\": wave: expected constant, count, ramp, sine, square or noise"},
      {"setting:S:lower=2:upper=1", "item \"setting:S:lower=2:upper=1\": lower is greater than upper"},
  };
  for (const auto& test : cases) {
    try {
      ParseItems(test.text);
      ADD_FAILURE() << test.text;
    } catch (const std::invalid_argument& error) {
      EXPECT_STREQ(error.what(), test.reason);
    }
  }
  EXPECT_THROW(ParseItems("trace:T:units=Smoot"), std::invalid_argument);
}

TEST(SimConfig, SomethingMustBeNamed) {
  EXPECT_THROW(ReadSimConfig({}), std::invalid_argument);
  EXPECT_THROW(ReadSimConfig({{"SIM_CONFIG", "/nowhere"}}), std::invalid_argument);
  EXPECT_EQ(ReadSimConfig({{"SIM_READINGS", "long:L"}}).size(), 1u);
}

}  // namespace
}  // namespace Lumenar::Sim
