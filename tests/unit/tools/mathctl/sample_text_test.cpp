// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/sample_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "platform/records/Records.h"
#include "platform/units/Units.h"

namespace Lumenar::Mathctl {
namespace {

using Corvanta::SampleRecord;
using Corvanta::BASIC_TRACE::BT_DATA;
using Corvanta::VALUE_DOUBLE::VALUE;
using Value::Make_unit;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr Value::Units kDecibelMilliwatts = Make_unit(Value::U_Watt, 1, -3, true);

SampleRecord Trace(const std::vector<float>& samples, const Value::Units& units) {
  BT_DATA trace = DefaultRecord<BT_DATA>();
  trace.sequence_number = 12;
  trace.header[0] = 1;
  trace.header[1] = 2;
  trace.x_step = 0.5;
  trace.units = ::VALUE::UnitsToCorba(units);
  trace.samples.length(static_cast<CORBA::ULong>(samples.size()));
  for (CORBA::ULong i = 0; i < trace.samples.length(); ++i) trace.samples[i] = samples[i];
  return trace;
}

SampleRecord Scalar(double value, double minus_err, double plus_err, const Value::Units& units) {
  return VALUE{::VALUE::UnitsToCorba(units), minus_err, plus_err, value};
}

TEST(Summarise, LeavesOutWhatIsNotANumber) {
  const float samples[] = {1, kNaN, -3, 8};
  const TraceSummary summary = Summarise(samples, 4);
  EXPECT_EQ(summary.points, 4u);
  EXPECT_EQ(summary.not_numbers, 1u);
  EXPECT_EQ(summary.min, -3);
  EXPECT_EQ(summary.max, 8);
  EXPECT_EQ(summary.mean, 2);
}

TEST(Summarise, HasNothingToSayOfNoNumbers) {
  for (const auto& [samples, count] : {std::pair{static_cast<const float*>(nullptr), 0}, std::pair{&kNaN, 1}}) {
    const TraceSummary summary = Summarise(samples, static_cast<std::size_t>(count));
    EXPECT_TRUE(std::isnan(summary.min) && std::isnan(summary.max) && std::isnan(summary.mean)) << count;
  }
}

TEST(TextOf, Table) {
  struct Row {
    SampleRecord record;
    const char* text;
  };
  const Row kRows[] = {
      {Trace({1, 2.5, 4}, kDecibelMilliwatts), "3 points  min 1 dBm  max 4 dBm  mean 2.5 dBm"},
      {Trace({1, kNaN}, Value::C_Watts), "2 points  min 1 W  max 1 W  mean 1 W  1 not a number"},
      {Trace({-kInfinity, 0}, Value::C_Watts), "2 points  min -inf W  max 0 W  mean -inf W"},
      {Trace({}, Value::C_Empty), "0 points  min nan (no unit)  max nan (no unit)  mean nan (no unit)"},
      {Scalar(2.5, -0.1, 0.2, Make_unit(Value::U_Second, 1, -3)), "2.5 ms  -0.1 +0.2 ms"},
      {Scalar(7, 0, 0, Value::C_Empty), "7 (no unit)  +0 +0 (no unit)"},
      {SampleRecord(std::in_place_type<CORBA::Long>, -3), "-3"},
      {SampleRecord(std::in_place_type<bool>, true), "true"},
      {SampleRecord(std::in_place_type<bool>, false), "false"},
      {SampleRecord(), "a record of unknown kind"},
  };
  for (const Row& row : kRows) EXPECT_EQ(TextOf(row.record), row.text);
}

TEST(JsonOf, Table) {
  struct Row {
    SampleRecord record;
    bool samples;
    const char* json;
  };
  const Row kRows[] = {
      {Trace({1, 4}, kDecibelMilliwatts), false,
       R"({"kind":"BasicTrace","units":"dBm","sequence_number":12,"captured":"1970-01-01T00:00:04.294967298Z","x_step":0.5,"points":2,)"
       R"("not_numbers":0,"min":1.0,"max":4.0,"mean":2.5})"},
      {Trace({kNaN, kInfinity}, Value::C_Empty), true,
       R"({"kind":"BasicTrace","units":"","sequence_number":12,"captured":"1970-01-01T00:00:04.294967298Z","x_step":0.5,"points":2,)"
       R"("not_numbers":1,"min":"Infinity","max":"Infinity","mean":"Infinity","samples":["NaN","Infinity"]})"},
      {Scalar(2.5, -kInfinity, 0.25, Value::C_Watts), true,
       R"({"kind":"ValueDouble","units":"W","value":2.5,"minus_err":"-Infinity","plus_err":0.25})"},
      {SampleRecord(std::in_place_type<CORBA::Long>, 5), false, R"({"kind":"long","value":5})"},
      {SampleRecord(std::in_place_type<bool>, true), false, R"({"kind":"boolean","value":true})"},
      {SampleRecord(), false, R"({"kind":"unknown"})"},
  };
  for (const Row& row : kRows) EXPECT_EQ(OneLine(JsonOf(row.record, row.samples)), row.json);
}

TEST(OneLine, IsValidWhateverIsInIt) { EXPECT_EQ(OneLine({{"text", "a\nb\xff"}}), "{\"text\":\"a\\nb\xef\xbf\xbd\"}"); }

TEST(UtcText, KeepsMicrosecondsAlsoBeforeTheEpoch) {
  using std::chrono::microseconds;
  EXPECT_EQ(UtcText(std::chrono::system_clock::time_point(microseconds(1715000000000042))),
            "2024-05-06T12:53:20.000042Z");
  EXPECT_EQ(UtcText(std::chrono::system_clock::time_point(microseconds(-1))), "1969-12-31T23:59:59.999999Z");
}

}  // namespace
}  // namespace Lumenar::Mathctl
