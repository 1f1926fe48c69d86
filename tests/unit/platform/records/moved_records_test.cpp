// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "platform/records/SampleRecord.h"

namespace Lumenar {
namespace {

using Corvanta::SampleRecord;
using Corvanta::BASIC_TRACE::BT_DATA;

BT_DATA TraceOf(CORBA::ULong points, float sample) {
  BT_DATA trace{};
  trace.sequence_number = points;
  trace.flags = 3;
  for (CORBA::ULong i = 0; i < 12; ++i) trace.header[i] = i + 1;
  trace.units.is_dB = true;
  trace.x_step = 0.5;
  trace.samples.length(points);
  for (CORBA::ULong i = 0; i < points; ++i) trace.samples[i] = sample;
  return trace;
}

const CORBA::Float* BufferOf(const BT_DATA& trace) { return trace.samples.get_buffer(); }

void ExpectFixedFieldsOf(const BT_DATA& trace, const BT_DATA& source) {
  EXPECT_EQ(trace.sequence_number, source.sequence_number);
  EXPECT_EQ(trace.flags, source.flags);
  EXPECT_TRUE(std::equal(std::begin(trace.header), std::end(trace.header), std::begin(source.header)));
  EXPECT_EQ(trace.units.is_dB, source.units.is_dB);
  EXPECT_EQ(trace.x_step, source.x_step);
}

TEST(MovedRecords, ATraceTakenBringsItsBuffer) {
  BT_DATA from = TraceOf(1001, 2.5f);
  const CORBA::Float* buffer = BufferOf(from);
  BT_DATA to{};

  TakeRecord(to, from);

  EXPECT_EQ(BufferOf(to), buffer);
  EXPECT_EQ(to.samples.length(), 1001U);
  EXPECT_EQ(from.samples.length(), 0U);
  ExpectFixedFieldsOf(to, from);
}

TEST(MovedRecords, AnExchangeGivesTheFormerBufferBack) {
  BT_DATA from = TraceOf(1001, 2.5f);
  BT_DATA to = TraceOf(7, -1.0f);
  const CORBA::Float* buffer = BufferOf(from);
  const CORBA::Float* former = BufferOf(to);

  ExchangeRecord(to, from);

  EXPECT_EQ(BufferOf(to), buffer);
  EXPECT_EQ(to.samples.length(), 1001U);
  EXPECT_EQ(to.samples[1000], 2.5f);
  EXPECT_EQ(BufferOf(from), former);
  EXPECT_EQ(from.samples.length(), 7U);
  ExpectFixedFieldsOf(to, from);
  EXPECT_EQ(from.sequence_number, 1001U) << "the other fields stay";
}

TEST(MovedRecords, AnEmptyTraceCanBeExchangedEitherWay) {
  BT_DATA full = TraceOf(3, 1.0f);
  BT_DATA empty{};
  ExchangeRecord(full, empty);
  EXPECT_EQ(full.samples.length(), 0U);
  EXPECT_EQ(empty.samples.length(), 3U);
  ExchangeRecord(full, empty);
  EXPECT_EQ(full.samples.length(), 3U);
  EXPECT_EQ(full.samples[2], 1.0f);
}

/// A buffer on loan belongs to somebody else.
TEST(MovedRecords, SamplesOnLoanAreCopied) {
  CORBA::Float loan[3] = {1.0f, 2.0f, 3.0f};
  BT_DATA from{};
  from.samples.replace(3, 3, loan, false);
  using HandOn = void (*)(BT_DATA&, BT_DATA&);
  for (const HandOn hand_on : {HandOn{&TakeRecord}, HandOn{&ExchangeRecord}}) {
    BT_DATA to = TraceOf(5, 0.0f);
    hand_on(to, from);
    ASSERT_EQ(to.samples.length(), 3U);
    EXPECT_EQ(to.samples[2], 3.0f);
    EXPECT_NE(BufferOf(to), loan);
    EXPECT_EQ(BufferOf(from), loan);
  }
}

TEST(MovedRecords, ARecordOntoItselfStays) {
  BT_DATA trace = TraceOf(3, 1.0f);
  const CORBA::Float* buffer = BufferOf(trace);
  CopyRecord(trace, trace);
  TakeRecord(trace, trace);
  ExchangeRecord(trace, trace);
  EXPECT_EQ(BufferOf(trace), buffer);
  EXPECT_EQ(trace.samples.length(), 3U);
}

TEST(SampleRecord, AMoveMovesTheSamples) {
  SampleRecord first = TraceOf(1001, 2.5f);
  const CORBA::Float* buffer = BufferOf(std::get<BT_DATA>(first));

  SampleRecord second(std::move(first));
  EXPECT_EQ(BufferOf(std::get<BT_DATA>(second)), buffer);

  SampleRecord third = true;
  third = std::move(second);
  EXPECT_EQ(BufferOf(std::get<BT_DATA>(third)), buffer);
  EXPECT_EQ(std::get<BT_DATA>(third).samples.length(), 1001U);
}

TEST(SampleRecord, ACopyIsDeep) {
  const SampleRecord first = TraceOf(3, 2.5f);
  const SampleRecord second = first;
  EXPECT_NE(BufferOf(std::get<BT_DATA>(second)), BufferOf(std::get<BT_DATA>(first)));
  EXPECT_EQ(std::get<BT_DATA>(second).samples[2], 2.5f);
}

TEST(SampleRecord, EachKindSurvivesAMove) {
  SampleRecord number(std::in_place_type<CORBA::Long>, -3);
  EXPECT_EQ(std::get<CORBA::Long>(SampleRecord(std::move(number))), -3);
  SampleRecord truth(std::in_place_type<bool>, true);
  EXPECT_TRUE(std::get<bool>(SampleRecord(std::move(truth))));
  Corvanta::VALUE_DOUBLE::VALUE value{};
  value.val = 1.5;
  SampleRecord scalar = value;
  EXPECT_EQ(std::get<Corvanta::VALUE_DOUBLE::VALUE>(SampleRecord(std::move(scalar))).val, 1.5);
  SampleRecord none;
  EXPECT_TRUE(std::holds_alternative<std::monostate>(SampleRecord(std::move(none))));
}

}  // namespace
}  // namespace Lumenar
