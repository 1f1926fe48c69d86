// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/Stream.h"

#include <gmock/gmock.h>

#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>

#include "platform/records/Records.h"

namespace Lumenar::Web {
namespace {

using Corvanta::BASIC_TRACE::BT_DATA;
using nlohmann::json;

/// Keeps what is sent.
class KeptOutlet : public Outlet {
 public:
  void Send(Message message) override { sent.push_back(std::move(message)); }
  bool IsIdle() const override { return true; }
  void Close(unsigned short, const std::string&) override {}

  std::uint32_t HeadNumber(std::size_t message, std::size_t place) const {
    std::uint32_t number = 0;
    std::memcpy(&number, sent.at(message).head->data() + place, sizeof number);
    return number;
  }
  json Text(std::size_t message) const { return json::parse(*sent.at(message).text); }

  std::vector<Message> sent;
};

Newest TraceSample(std::uint64_t number, const char* units = "dBm", std::size_t points = 10) {
  BT_DATA trace = DefaultRecord<BT_DATA>();
  trace.units = VALUE::UnitsToCorba(Value::Units_from_text(units));
  trace.samples.length(static_cast<CORBA::ULong>(points));
  for (CORBA::ULong i = 0; i < points; ++i) trace.samples[i] = static_cast<float>(number);
  Corvanta::SampleRecord record(std::in_place_type<BT_DATA>, trace);
  return {std::make_shared<const Sample>(SampleFrom(std::move(record), std::chrono::system_clock::now())), number};
}

Newest ScalarSample(std::uint64_t number, double value) {
  Corvanta::VALUE_DOUBLE::VALUE scalar = DefaultRecord<Corvanta::VALUE_DOUBLE::VALUE>();
  scalar.val = value;
  Corvanta::SampleRecord record(std::in_place_type<Corvanta::VALUE_DOUBLE::VALUE>, scalar);
  return {std::make_shared<const Sample>(SampleFrom(std::move(record), std::chrono::system_clock::now())), number};
}

class Streams : public testing::Test {
 protected:
  Streams() { stream_.Show({100, {}, {}, Scale::AsIs}); }

  KeptOutlet outlet_;
  StreamTotals totals_;
  std::shared_ptr<Channel> channel_ = std::make_shared<Channel>("SIM/1/LEVEL", nullptr);
  Stream stream_{7, "LEVEL", outlet_, totals_};
};

TEST_F(Streams, OneFrameIsUnderWayAndTheNewestFollows) {
  stream_.Attach(channel_);
  EXPECT_TRUE(outlet_.sent.empty());
  for (std::uint64_t number = 1; number <= 5; ++number) channel_->Take(TraceSample(number));
  ASSERT_EQ(outlet_.sent.size(), 1u) << "the first one, until it is drawn";
  stream_.Ready();
  ASSERT_EQ(outlet_.sent.size(), 2u);
  EXPECT_EQ(outlet_.sent[1].numbers->front(), 5);
  EXPECT_EQ(outlet_.HeadNumber(0, 4), 7u);
  EXPECT_EQ(outlet_.HeadNumber(0, 16), 0u);
  EXPECT_EQ(outlet_.HeadNumber(1, 16), 3u) << "2, 3 and 4 were skipped";
  EXPECT_EQ(totals_.skipped, 3u);
}

TEST_F(Streams, NothingIsSentTwice) {
  stream_.Attach(channel_);
  channel_->Take(TraceSample(1));
  stream_.Ready();
  stream_.Ready();
  EXPECT_EQ(outlet_.sent.size(), 1u);
  channel_->Take(TraceSample(2));
  EXPECT_EQ(outlet_.sent.size(), 2u);
}

TEST_F(Streams, WhoComesLaterSeesTheNewestAtOnce) {
  channel_->Take(TraceSample(41));
  stream_.Attach(channel_);
  ASSERT_EQ(outlet_.sent.size(), 1u);
  EXPECT_EQ(outlet_.HeadNumber(0, 16), 0u) << "what came before it is not skipped";
}

TEST_F(Streams, AnotherViewIsShownAtOnce) {
  stream_.Attach(channel_);
  channel_->Take(TraceSample(1, "dBm", 1000));
  stream_.Show({10, {}, {}, Scale::Linear});
  ASSERT_EQ(outlet_.sent.size(), 2u);
  EXPECT_EQ(outlet_.HeadNumber(0, 12), 100u);
  EXPECT_EQ(outlet_.HeadNumber(1, 12), 10u);
  EXPECT_EQ(outlet_.sent[1].numbers->size(), 20u);
}

TEST_F(Streams, ClientsWithTheSameViewShareAPicture) {
  Stream second(8, "LEVEL", outlet_, totals_);
  second.Show({100, {}, {}, Scale::AsIs});
  stream_.Attach(channel_);
  second.Attach(channel_);
  channel_->Take(TraceSample(1));
  ASSERT_EQ(outlet_.sent.size(), 2u);
  EXPECT_EQ(outlet_.sent[0].numbers, outlet_.sent[1].numbers);
}

TEST_F(Streams, NumbersFollowWhenTheSystemHasTakenTheLast) {
  stream_.Attach(channel_);
  channel_->Take(ScalarSample(1, 0.5));
  channel_->Take(ScalarSample(2, 1.5));
  ASSERT_EQ(outlet_.sent.size(), 1u);
  stream_.NoteSent();
  ASSERT_EQ(outlet_.sent.size(), 2u);
  EXPECT_EQ(outlet_.Text(1)["value"], 1.5);
  EXPECT_EQ(outlet_.Text(1)["type"], "scalar");
  EXPECT_EQ(outlet_.Text(1)["stream"], 7);
}

TEST_F(Streams, WhatIsNotFiniteIsNullAndSaysSo) {
  stream_.Attach(channel_);
  channel_->Take(ScalarSample(1, -std::numeric_limits<double>::infinity()));
  EXPECT_TRUE(outlet_.Text(0)["value"].is_null());
  EXPECT_EQ(outlet_.Text(0)["not_finite"], "-inf");
}

TEST_F(Streams, UnitsWithoutRoomComeBeforeTheirFrameOnce) {
  stream_.Attach(channel_);
  const char* kLong = "V^2*A^3*ohm^4*s^5";
  channel_->Take(TraceSample(1, kLong));
  stream_.Ready();
  channel_->Take(TraceSample(2, kLong));
  ASSERT_EQ(outlet_.sent.size(), 3u);
  EXPECT_EQ(outlet_.Text(0)["type"], "units");
  EXPECT_GT(outlet_.Text(0)["y"].get<std::string>().size(), kUnitRoom);
  EXPECT_TRUE(outlet_.sent[1].head && outlet_.sent[2].head);
}

TEST_F(Streams, AnEndIsToldWithItsReason) {
  stream_.Attach(channel_);
  channel_->End("math:3 is no more");
  EXPECT_EQ(outlet_.Text(0)["type"], "ended");
  EXPECT_EQ(outlet_.Text(0)["reason"], "math:3 is no more");
  EXPECT_TRUE(channel_->IsEmpty());
  EXPECT_FALSE(stream_.IsAttached());
}

TEST_F(Streams, AnOlderSampleIsPassedOver) {
  stream_.Attach(channel_);
  channel_->Take(TraceSample(5));
  stream_.Ready();
  channel_->Take(TraceSample(4));
  EXPECT_EQ(outlet_.sent.size(), 1u);
}

}  // namespace
}  // namespace Lumenar::Web
