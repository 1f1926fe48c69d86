// SPDX-License-Identifier: Apache-2.0
// Values of options: from text, from numbers, as numbers, and their limits.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "instruments/sigrok/DeviceSettings.h"

namespace Lumenar::Sigrok {
namespace {

VariantPtr Parsed(const char* text) { return VariantPtr(g_variant_ref_sink(g_variant_new_parsed(text))); }

std::string TextOf(const VariantPtr& value) {
  const std::unique_ptr<char, void (*)(void*)> text(g_variant_print(value.get(), FALSE), g_free);
  return text.get();
}

TEST(OptionValues, FromText) {
  struct {
    const char* key;
    const char* text;
    const char* value;
  } const rows[] = {
      {"samplerate", "20k", "20000"},     {"samplerate", "1 MHz", "1000000"}, {"conn", "/dev/ttyS0", "'/dev/ttyS0'"},
      {"averaging", "on", "true"},        {"averaging", "0", "false"},        {"voltage_target", "2.5", "2.5"},
      {"timebase", "10ms", "(10, 1000)"},
  };
  for (const auto& row : rows) EXPECT_EQ(TextOf(ValueFromText(OptionInfo(row.key), row.text)), row.value) << row.text;
}

TEST(OptionValues, WhatIsNoneIsRefused) {
  struct {
    const char* key;
    const char* text;
  } const rows[] = {{"samplerate", ""},        {"samplerate", "fast"}, {"averaging", "perhaps"},
                    {"voltage_target", "2 V"}, {"timebase", "long"},   {"voltage_target", ""}};
  for (const auto& row : rows) EXPECT_THROW(ValueFromText(OptionInfo(row.key), row.text), DeviceError) << row.text;
  EXPECT_THROW(OptionInfo("nothing_of_the_kind"), DeviceError);
}

TEST(OptionValues, AsNumbers) {
  EXPECT_EQ(NumberFrom(Parsed("uint64 5").get()), 5);
  EXPECT_EQ(NumberFrom(Parsed("2.5").get()), 2.5);
  EXPECT_EQ(NumberFrom(Parsed("-3").get()), -3);
  EXPECT_EQ(NumberFrom(Parsed("true").get()), 1);
  EXPECT_EQ(NumberFrom(Parsed("'text'").get()), std::nullopt);
  EXPECT_EQ(NumberFrom(nullptr), std::nullopt);
}

TEST(OptionValues, FromNumbers) {
  EXPECT_EQ(TextOf(ValueFromNumber(OptionInfo("samplerate"), 20000.4)), "20000");
  EXPECT_EQ(TextOf(ValueFromNumber(OptionInfo("averaging"), 1)), "true");
  EXPECT_EQ(TextOf(ValueFromNumber(OptionInfo("voltage_target"), 0.5)), "0.5");
  for (const double number : {-1.0, 1e30, std::numeric_limits<double>::quiet_NaN()})
    EXPECT_EQ(ValueFromNumber(OptionInfo("samplerate"), number), nullptr) << number;
  EXPECT_EQ(ValueFromNumber(OptionInfo("averaging"), 0.5), nullptr);
  EXPECT_EQ(ValueFromNumber(OptionInfo("conn"), 1), nullptr);
}

TEST(OptionLimits, OfRangesAndLists) {
  struct {
    const char* list;
    double least;
    double greatest;
  } const rows[] = {
      {"(0.0, 30.0, 0.01)", 0, 30},
      {"[uint64 100, 10, 1000]", 10, 1000},
      {"{'samplerate-steps': <[uint64 1, 1000000000, 1]>}", 1, 1e9},
      {"{'samplerates': <[uint64 20, 10]>}", 10, 20},
  };
  for (const auto& row : rows) {
    const auto limits = LimitsFrom(Parsed(row.list).get());
    ASSERT_TRUE(limits) << row.list;
    EXPECT_EQ(limits->least, row.least) << row.list;
    EXPECT_EQ(limits->greatest, row.greatest) << row.list;
  }
  for (const char* none : {"['sine', 'square']", "5.0", "(1.0,)", "@ad []", "{'other': <1>}"})
    EXPECT_FALSE(LimitsFrom(Parsed(none).get())) << none;
  EXPECT_FALSE(LimitsFrom(nullptr));
}

TEST(OptionUnits, OfVoltsAndHertz) {
  EXPECT_EQ(UnitsOfOption(SR_CONF_SAMPLERATE), Value::Make_unit(Value::U_Hertz));
  EXPECT_EQ(UnitsOfOption(SR_CONF_VOLTAGE_TARGET), Value::Make_unit(Value::U_Volt));
  EXPECT_EQ(UnitsOfOption(SR_CONF_AVERAGING), Value::Units());
}

}  // namespace
}  // namespace Lumenar::Sigrok
