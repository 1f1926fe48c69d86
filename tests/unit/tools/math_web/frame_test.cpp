// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/frame.h"

#include <gmock/gmock.h>

#include <cstring>

namespace Lumenar::Web {
namespace {

template <class T>
T At(const FrameHead& head, std::size_t place) {
  T number;
  std::memcpy(&number, head.data() + place, sizeof number);
  return number;
}

std::string TextAt(const FrameHead& head, std::size_t place) {
  return std::string(reinterpret_cast<const char*>(head.data()) + place, kUnitRoom);
}

TEST(Frame, HeadHasEveryNumberInItsPlace) {
  const FrameFacts facts{7, false, 1400, 12, 10001, 1.5e9, 88e6, 1e4, 87.5e6, 1400, "dBm", "Hz"};
  const FrameHead head = HeadOf(facts);
  EXPECT_EQ(std::memcmp(head.data(), "LUM1", 4), 0);
  EXPECT_EQ(At<std::uint32_t>(head, 4), 7u);
  EXPECT_EQ(At<std::uint32_t>(head, 8), 2u);
  EXPECT_EQ(At<std::uint32_t>(head, 12), 1400u);
  EXPECT_EQ(At<std::uint32_t>(head, 16), 12u);
  EXPECT_EQ(At<std::uint32_t>(head, 20), 10001u);
  EXPECT_EQ(At<double>(head, 24), 1.5e9);
  EXPECT_EQ(At<double>(head, 32), 88e6);
  EXPECT_EQ(At<double>(head, 40), 1e4);
  EXPECT_EQ(At<double>(head, 48), 87.5e6);
  EXPECT_EQ(At<double>(head, 56), 1400);
  EXPECT_EQ(TextAt(head, 64), std::string("dBm") + std::string(13, '\0'));
  EXPECT_EQ(TextAt(head, 80), std::string("Hz") + std::string(14, '\0'));
}

TEST(Frame, WholePointsHaveAKindOfTheirOwn) { EXPECT_EQ(At<std::uint32_t>(HeadOf({}), 8), 1u); }

TEST(Frame, AUnitWithoutRoomIsLeftOut) {
  FrameFacts facts;
  facts.y_unit = std::string(kUnitRoom, 'y');
  facts.x_unit = std::string(kUnitRoom + 1, 'x');
  const FrameHead head = HeadOf(facts);
  EXPECT_EQ(TextAt(head, 64), facts.y_unit);
  EXPECT_EQ(TextAt(head, 80), std::string(kUnitRoom, '\0'));
}

}  // namespace
}  // namespace Lumenar::Web
