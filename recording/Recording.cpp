// SPDX-License-Identifier: Apache-2.0
#include "recording/Recording.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>

#include "platform/records/Records.h"

namespace Lumenar::Recording {
namespace {

using Corvanta::BASIC_TRACE::BT_DATA;
using Scalar = Corvanta::VALUE_DOUBLE::VALUE;

bool SameNumber(double a, double b) { return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b); }

bool SameUnits(const Corvanta::VALUE_UNITS::Units& a, const Corvanta::VALUE_UNITS::Units& b) {
  return VALUE::UnitsFromCorba(a) == VALUE::UnitsFromCorba(b);
}

bool SameSamples(const CORBA::FloatSeq& a, const CORBA::FloatSeq& b) {
  const std::size_t bytes = a.length() * sizeof(float);
  return a.length() == b.length() && (bytes == 0 || std::memcmp(a.get_buffer(), b.get_buffer(), bytes) == 0);
}

bool SameHeld(std::monostate, std::monostate) { return true; }
bool SameHeld(CORBA::Long a, CORBA::Long b) { return a == b; }
bool SameHeld(bool a, bool b) { return a == b; }

bool SameHeld(const Scalar& a, const Scalar& b) {
  return SameNumber(a.val, b.val) && SameNumber(a.minus_err, b.minus_err) && SameNumber(a.plus_err, b.plus_err) &&
         SameUnits(a.units, b.units);
}

bool SameHeld(const BT_DATA& a, const BT_DATA& b) {
  return a.sequence_number == b.sequence_number && a.flags == b.flags &&
         std::equal(std::begin(a.header), std::end(a.header), std::begin(b.header)) && SameUnits(a.units, b.units) &&
         SameNumber(a.x_step, b.x_step) && SameSamples(a.samples, b.samples);
}

}  // namespace

bool SameBits(const Corvanta::SampleRecord& a, const Corvanta::SampleRecord& b) {
  if (a.index() != b.index()) return false;
  return std::visit([&b]<class T>(const T& held) { return SameHeld(held, std::get<T>(b)); }, a);
}

}  // namespace Lumenar::Recording
