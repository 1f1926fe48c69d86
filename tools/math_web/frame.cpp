// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/frame.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace Lumenar::Web {
namespace {

static_assert(std::endian::native == std::endian::little, "frames carry numbers as they are in memory");

constexpr std::uint32_t kMagic = 0x314D554C;  // "LUM1"
constexpr std::uint32_t kWholePoints = 1, kMinMaxColumns = 2;

template <class T>
void Put(FrameHead& head, std::size_t place, T number) {
  std::memcpy(head.data() + place, &number, sizeof number);
}

void PutUnit(FrameHead& head, std::size_t place, const std::string& unit) {
  if (unit.size() <= kUnitRoom) std::copy(unit.begin(), unit.end(), head.begin() + static_cast<std::ptrdiff_t>(place));
}

}  // namespace

FrameHead HeadOf(const FrameFacts& facts) {
  FrameHead head{};
  Put(head, 0, kMagic);
  Put(head, 4, facts.stream);
  Put(head, 8, facts.whole ? kWholePoints : kMinMaxColumns);
  Put(head, 12, facts.count);
  Put(head, 16, facts.skipped);
  Put(head, 20, facts.points);
  Put(head, 24, facts.time_s);
  Put(head, 32, facts.x);
  Put(head, 40, facts.x_step);
  Put(head, 48, facts.trace_x);
  Put(head, 56, facts.trace_step);
  PutUnit(head, 64, facts.y_unit);
  PutUnit(head, 80, facts.x_unit);
  return head;
}

}  // namespace Lumenar::Web
