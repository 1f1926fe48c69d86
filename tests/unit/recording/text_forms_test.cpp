// SPDX-License-Identifier: Apache-2.0
#include "recording/text_forms.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <stdexcept>

#include "platform/records/Records.h"
#include "recording/Digest.h"

namespace Lumenar::Recording {
namespace {

using nlohmann::json;

TEST(TimeText, IsReadBackToTheNanosecond) {
  EXPECT_EQ(TimeText(1'714'979'289'123'456'789), "2024-05-06T07:08:09.123456789Z");
  for (const std::int64_t time_ns : {std::int64_t{0}, std::int64_t{1}, std::int64_t{1'714'979'289'123'456'789},
                                     std::int64_t{951'782'399'999'999'999}, std::int64_t{9'000'000'000'000'000'000}})
    EXPECT_EQ(TimeFromText(TimeText(time_ns)), time_ns);
}

TEST(TimeText, RefusesWhatIsNoTime) {
  for (const char* text :
       {"", "2024-05-06", "2024-05-06T07:08:09Z", "2024-02-30T07:08:09.123456789Z", "2024-05-06T24:08:09.123456789Z",
        "2024-05-06T07:08:60.123456789Z", "1969-12-31T23:59:59.999999999Z", "9999-05-06T07:08:09.123456789Z",
        "2024-05-06T07:08:-9.123456789Z", "2024-05-06T07:08:09.123456789Zx", "2024-00-06T07:08:09.123456789Z"})
    EXPECT_THROW(TimeFromText(text), std::invalid_argument) << text;
}

TEST(NumberJson, KeepsEveryBit) {
  const double numbers[] = {0.0,
                            -0.0,
                            0.1,
                            1.0 / 3,
                            5,
                            1e300,
                            std::numeric_limits<double>::denorm_min(),
                            std::numeric_limits<double>::max(),
                            std::numeric_limits<double>::infinity(),
                            -std::numeric_limits<double>::infinity(),
                            std::bit_cast<double>(0x7FF8000000000001u),
                            std::bit_cast<double>(0xFFF0000000000001u)};
  for (const double number : numbers) {
    const double back = NumberFromJson(json::parse(NumberJson(number).dump()));
    EXPECT_EQ(std::bit_cast<std::uint64_t>(back), std::bit_cast<std::uint64_t>(number)) << number;
  }
  EXPECT_EQ(NumberJson(std::bit_cast<double>(0x7FF8000000000000u)), "NaN:7ff8000000000000");
}

TEST(NumberJson, RefusesOtherTexts) {
  for (const char* text : {"\"\"", "\"NaN\"", "\"NaN:\"", "\"NaN:7ff0000000000000\"", "\"NaN:3ff0000000000000\"",
                           "\"Infinity:7ff00000000000000\"", "true", "null", "[1]", "\"1\""})
    EXPECT_THROW(NumberFromJson(json::parse(text)), std::invalid_argument) << text;
}

TEST(SamplesText, IsBase64OfTheLowestByteFirst) {
  const float samples[] = {1.0f, -2.5f};
  EXPECT_EQ(SamplesText(samples, 2), "AACAPwAAIMA=");
  EXPECT_EQ(SamplesText(nullptr, 0), "");
  EXPECT_EQ(SamplesFromText("AACAPwAAIMA="), (std::vector<float>{1.0f, -2.5f}));
}

TEST(SamplesText, RefusesWhatIsNone) {
  for (const char* text : {"A", "AACAPw", "AACA", "====", "AACAPw=A", "AA*APwAAIMA=", "AACAPwAAIMA==="})
    EXPECT_THROW(SamplesFromText(text), std::invalid_argument) << text;
}

TEST(UnitsFields, StandWhereTheTextDoesNotTellAll) {
  const auto dBm = VALUE::UnitsToCorba(Value::Make_unit(Value::U_Watt, 1, -3, true));
  EXPECT_TRUE(UnitsFields(dBm).is_null());
  EXPECT_EQ(VALUE::UnitsFromCorba(UnitsFromText(UnitsText(dBm))), VALUE::UnitsFromCorba(dBm));
  Value::Units gap;
  gap.slots[2] = {Value::U_Volt, 1};
  const auto fields = UnitsFields(VALUE::UnitsToCorba(gap));
  ASSERT_FALSE(fields.is_null());
  EXPECT_EQ(VALUE::UnitsFromCorba(UnitsFromFields(json::parse(fields.dump()))), gap);
}

TEST(Digest, IsThatOfOtherPrograms) {
  Digest digest;
  digest.Add("a");
  digest.Add("bc");
  EXPECT_EQ(digest.Text(), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(CrcText("123456789"), "cbf43926");
}

}  // namespace
}  // namespace Lumenar::Recording
