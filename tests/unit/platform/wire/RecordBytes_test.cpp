// SPDX-License-Identifier: Apache-2.0
#include "platform/wire/RecordBytes.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Corvanta {
namespace {

BASIC_TRACE::BT_DATA Trace() {
  BASIC_TRACE::BT_DATA trace{};
  trace.sequence_number = 17;
  trace.header[11] = 0xfedcba98;
  trace.x_step = 0.125;
  trace.samples.length(3);
  trace.samples[0] = 1.5f;
  trace.samples[1] = -2.0f;
  trace.samples[2] = 3.0f;
  return trace;
}

TEST(RecordBytes, RoundTrip) {
  EXPECT_EQ(std::get<CORBA::Long>(RecordOfBytes(BytesOfRecord(CORBA::Long{-5}))), -5);
  EXPECT_TRUE(std::get<bool>(RecordOfBytes(BytesOfRecord(true))));
  EXPECT_FALSE(std::get<bool>(RecordOfBytes(BytesOfRecord(false))));

  VALUE_DOUBLE::VALUE value{};
  value.val = 2.5;
  EXPECT_EQ(std::get<VALUE_DOUBLE::VALUE>(RecordOfBytes(BytesOfRecord(value))).val, 2.5);

  const auto trace = std::get<BASIC_TRACE::BT_DATA>(RecordOfBytes(BytesOfRecord(Trace())));
  EXPECT_EQ(trace.sequence_number, 17u);
  EXPECT_EQ(trace.header[11], 0xfedcba98u);
  EXPECT_EQ(trace.x_step, 0.125);
  ASSERT_EQ(trace.samples.length(), 3u);
  EXPECT_EQ(trace.samples[1], -2.0f);
}

TEST(RecordBytes, ReadsTheOtherByteOrder) {
  const std::uint8_t big[] = {0, 3, 0, 0, 0xff, 0xff, 0xff, 0xfb};
  EXPECT_EQ(std::get<CORBA::Long>(RecordOfBytes(big)), -5);
}

TEST(RecordBytes, RefusesWhatIsCutOff) {
  const std::vector<std::uint8_t> whole = BytesOfRecord(Trace());
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_THROW(RecordOfBytes({whole.data(), length}), CORBA::MARSHAL) << length;
  }
}

TEST(RecordBytes, RefusesALengthThatIsNotThere) {
  std::vector<std::uint8_t> bytes = BytesOfRecord(Trace());
  for (std::size_t i = 1; i <= 4; ++i) bytes[bytes.size() - 3 * 4 - i] = 0x7f;
  EXPECT_THROW(RecordOfBytes(bytes), CORBA::MARSHAL);
}

TEST(RecordBytes, RefusesUnknownKinds) {
  EXPECT_THROW(BytesOfRecord(SampleRecord()), std::invalid_argument);
  const std::uint8_t unknown[] = {1, 5, 0, 0};
  EXPECT_THROW(RecordOfBytes(unknown), CORBA::MARSHAL);
}

}  // namespace
}  // namespace Corvanta
