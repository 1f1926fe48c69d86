// SPDX-License-Identifier: Apache-2.0
#include "instruments/sigrok/SampleCutter.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "tests/unit/instruments/sigrok/Packets.h"

namespace Lumenar::Sigrok {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Keeps what is handed on as text: "A_VOLTAGE 1.5" and "A_VOLTAGE 1 2 3 @0.5".
class Collected : public MeasurementSink {
 public:
  void TakeNumber(const Meaning& meaning, const UnitRow& units, const MeasuredNumber& number) override {
    all.push_back(fmt::format("{} {}", meaning.ReadingName(), number.value));
    last_units = units.units;
    last_count = number.count;
  }
  void TakeTrace(const Meaning& meaning, const UnitRow& units, std::span<const float> samples, double step_s) override {
    all.push_back(fmt::format("{} {} @{}", meaning.ReadingName(), fmt::join(samples, " "), step_s));
    last_units = units.units;
  }

  std::vector<std::string> all;
  Value::Units last_units;
  std::optional<double> last_count;
};

struct Rig {
  explicit Rig(std::optional<std::size_t> points = std::nullopt) : cutter(sink, points), send(cutter) {}
  Collected sink;
  SampleCutter cutter;
  Packets send;
};

TEST(Streams, AreCutIntoTracesWhateverThePacketsAre) {
  Rig rig(3);
  rig.cutter.SetSampleRate(2);
  rig.send.Analog({"A"}, {1});
  rig.send.Analog({"A"}, {2, 3, 4, 5});
  rig.send.Analog({"A"}, {6, 7});
  EXPECT_THAT(rig.sink.all, ElementsAre("A_VOLTAGE 1 2 3 @0.5", "A_VOLTAGE 4 5 6 @0.5"));
}

TEST(Streams, OfAMeterAreNumbers) {
  Rig rig;
  rig.send.Analog({"P1"}, {1.5f});
  EXPECT_THAT(rig.sink.all, ElementsAre("P1_VOLTAGE 1.5"));
  EXPECT_EQ(rig.sink.last_count, 0.001);
}

TEST(Streams, WithASampleRateAreTracesOfTheUsualLength) {
  Rig rig;
  rig.cutter.SetSampleRate(1000);
  rig.send.Analog({"A"}, std::vector<float>(SampleCutter::kUsualPoints - 1));
  EXPECT_THAT(rig.sink.all, IsEmpty());
  rig.send.Analog({"A"}, {0});
  EXPECT_EQ(rig.sink.all.size(), 1u);
}

TEST(Streams, OneOfTwoChannelsMayComeFirst) {
  Rig rig(2);
  rig.send.Analog({"B"}, {10, 20, 30});
  rig.send.Analog({"A"}, {1, 2});
  rig.send.Analog({"A"}, {3, 4});
  rig.send.Analog({"B"}, {40});
  EXPECT_THAT(rig.sink.all,
              ElementsAre("B_VOLTAGE 10 20 @0", "A_VOLTAGE 1 2 @0", "A_VOLTAGE 3 4 @0", "B_VOLTAGE 30 40 @0"));
}

TEST(Streams, ChannelsOfOnePacketStandPointByPoint) {
  Rig rig(2);
  rig.send.Analog({"A", "B"}, {1, 10, 2, 20});
  EXPECT_THAT(rig.sink.all, ElementsAre("A_VOLTAGE 1 2 @0", "B_VOLTAGE 10 20 @0"));
}

TEST(Streams, APartIsDroppedWhenTheKnobIsTurned) {
  Rig rig(2);
  rig.send.Analog({"A"}, {1});
  rig.send.quantity = SR_MQ_CURRENT;
  rig.send.unit = SR_UNIT_AMPERE;
  rig.send.Analog({"A"}, {2, 3});
  rig.send.quantity = SR_MQ_VOLTAGE;
  rig.send.unit = SR_UNIT_VOLT;
  rig.send.Analog({"A"}, {4});
  EXPECT_THAT(rig.sink.all, ElementsAre("A_CURRENT 2 3 @0"));
  rig.send.Analog({"A"}, {5});
  EXPECT_THAT(rig.sink.all.back(), "A_VOLTAGE 4 5 @0") << "1 V was measured before the current";
}

TEST(Streams, AnotherUnitOfTheSameQuantityBeginsAnew) {
  Rig rig(2);
  rig.send.quantity = SR_MQ_POWER;
  rig.send.unit = SR_UNIT_WATT;
  rig.send.Analog({"A"}, {1});
  rig.send.unit = SR_UNIT_DECIBEL_MW;
  rig.send.Analog({"A"}, {30, 31});
  EXPECT_THAT(rig.sink.all, ElementsAre("A_POWER 30 31 @0"));
  EXPECT_EQ(rig.sink.last_units, Value::Units_from_text("dBm"));
}

TEST(Streams, TheRestAtTheEndIsDropped) {
  Rig rig(2);
  rig.send.Analog({"A"}, {1});
  rig.send.Send(SR_DF_END);
  rig.send.Analog({"A"}, {2});
  EXPECT_THAT(rig.sink.all, IsEmpty());
}

TEST(Frames, OfSeveralSamplesAreTracesWhateverThePoints) {
  Rig rig(2);
  rig.send.Send(SR_DF_FRAME_BEGIN);
  rig.send.Analog({"A"}, {1, 2});
  rig.send.Analog({"B"}, {7, 8, 9});
  rig.send.Analog({"A"}, {3});
  EXPECT_THAT(rig.sink.all, IsEmpty());
  rig.send.Send(SR_DF_FRAME_END);
  EXPECT_THAT(rig.sink.all, ElementsAre("A_VOLTAGE 1 2 3 @0", "B_VOLTAGE 7 8 9 @0"));
}

TEST(Frames, OfOneSampleAreBracketsAboutNumbers) {
  Rig rig(100);
  rig.send.Send(SR_DF_FRAME_BEGIN);
  rig.send.Analog({"1"}, {5});
  rig.send.quantity = SR_MQ_CURRENT;
  rig.send.unit = SR_UNIT_AMPERE;
  rig.send.Analog({"1"}, {0.25f});
  rig.send.Send(SR_DF_FRAME_END);
  EXPECT_THAT(rig.sink.all, ElementsAre("1_VOLTAGE 5", "1_CURRENT 0.25"));
}

TEST(Frames, ShortOnesAreDropped) {
  Rig rig;
  rig.send.Frame("A", {1, 2, 3});
  rig.send.Frame("A", {1, 2});
  rig.send.Frame("A", {});
  rig.send.Frame("A", {4, 5, 6});
  EXPECT_THAT(rig.sink.all, ElementsAre("A_VOLTAGE 1 2 3 @0", "A_VOLTAGE 4 5 6 @0"));
}

TEST(Frames, ASecondOneAsShortIsTheNewLength) {
  Rig rig;
  rig.send.Frame("A", {1, 2, 3});
  rig.send.Frame("A", {4, 5});
  rig.send.Frame("A", {6, 7});
  EXPECT_THAT(rig.sink.all, ElementsAre("A_VOLTAGE 1 2 3 @0", "A_VOLTAGE 6 7 @0"));
}

TEST(Frames, OneThatIsCutOffByTheEndIsDropped) {
  Rig rig;
  rig.send.Send(SR_DF_FRAME_BEGIN);
  rig.send.Analog({"A"}, {1, 2});
  rig.send.Send(SR_DF_END);
  rig.send.Send(SR_DF_FRAME_END);
  EXPECT_THAT(rig.sink.all, IsEmpty());
}

TEST(Frames, OneWhoseUnitChangesIsDropped) {
  Rig rig;
  rig.send.Send(SR_DF_FRAME_BEGIN);
  rig.send.Analog({"A"}, {1, 2});
  rig.send.unit = SR_UNIT_DECIBEL_VOLT;
  rig.send.Analog({"A"}, {3, 4});
  rig.send.Send(SR_DF_FRAME_END);
  EXPECT_THAT(rig.sink.all, IsEmpty());
  rig.send.Frame("A", {5, 6});
  EXPECT_THAT(rig.sink.all, ElementsAre("A_VOLTAGE 5 6 @0"));
}

TEST(Flags, HoldAndReferenceAreNotPublished) {
  Rig rig;
  for (const int flag : {SR_MQFLAG_HOLD, SR_MQFLAG_REFERENCE}) {
    rig.send.flags = flag | SR_MQFLAG_DC;
    rig.send.Analog({"P1"}, {1});
  }
  EXPECT_THAT(rig.sink.all, IsEmpty());
}

TEST(Flags, MakeReadingsOfTheirOwn) {
  Rig rig;
  rig.send.flags = SR_MQFLAG_DC | SR_MQFLAG_AUTORANGE;
  rig.send.Analog({"P1"}, {1});
  rig.send.flags = SR_MQFLAG_AC | SR_MQFLAG_RMS | SR_MQFLAG_MAX;
  rig.send.Analog({"P1"}, {2});
  EXPECT_THAT(rig.sink.all, ElementsAre("P1_VOLTAGE_DC 1", "P1_VOLTAGE_AC_RMS_MAX 2"));
}

TEST(Numbers, AnOverloadIsInfinite) {
  Rig rig;
  rig.send.Analog({"P1"}, {std::numeric_limits<float>::infinity()});
  EXPECT_THAT(rig.sink.all, ElementsAre("P1_VOLTAGE inf"));
}

TEST(Numbers, FactorAndOffsetAreThoseOfTheUnit) {
  Rig rig;
  rig.send.quantity = SR_MQ_MASS;
  rig.send.unit = SR_UNIT_CARAT;
  rig.send.digits = 1;
  rig.send.Analog({"P1"}, {2.5f});
  EXPECT_THAT(rig.sink.all, ElementsAre("P1_MASS 0.5"));
  EXPECT_DOUBLE_EQ(*rig.sink.last_count, 0.02) << "a tenth of a carat in grams";
}

TEST(Numbers, AUnitThatIsNotKnownIsRefused) {
  Rig rig;
  rig.send.unit = SR_UNIT_TAEL;
  EXPECT_THROW(rig.send.Analog({"P1"}, {1}), std::invalid_argument);
}

TEST(Rates, WhatCameAtAnotherIsDropped) {
  Rig rig(2);
  rig.cutter.SetSampleRate(1);
  rig.send.Analog({"A"}, {1});
  rig.cutter.SetSampleRate(2);
  rig.send.Analog({"A"}, {2, 3});
  EXPECT_THAT(rig.sink.all, ElementsAre("A_VOLTAGE 2 3 @0.5"));
}

TEST(Rates, APacketMayTellAnother) {
  Rig rig(2);
  sr_config rate{SR_CONF_SAMPLERATE, g_variant_ref_sink(g_variant_new_uint64(50))};
  GSList* list = g_slist_append(nullptr, &rate);
  const sr_datafeed_meta meta{list};
  rig.send.Send(SR_DF_META, &meta);
  g_slist_free(list);
  g_variant_unref(rate.data);
  rig.send.Analog({"A"}, {1, 2});
  EXPECT_THAT(rig.sink.all, ElementsAre("A_VOLTAGE 1 2 @0.02"));
}

}  // namespace
}  // namespace Lumenar::Sigrok
