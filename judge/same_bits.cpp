// SPDX-License-Identifier: Apache-2.0
#include "judge/same_bits.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <iterator>

#include "judge/Units.h"

namespace Lumenar::Judge {
namespace {

using Corvanta::BASIC_TRACE::BT_DATA;
using Corvanta::VALUE_DOUBLE::VALUE;

bool SameFields(CORBA::Long a, CORBA::Long b) { return a == b; }

bool SameFields(const VALUE& a, const VALUE& b) {
  return SameBits(a.val, b.val) && SameBits(a.minus_err, b.minus_err) && SameBits(a.plus_err, b.plus_err) &&
         FromRecord(a.units) == FromRecord(b.units);
}

bool SameFields(const BT_DATA& a, const BT_DATA& b) {
  if (a.samples.length() != b.samples.length() || a.sequence_number != b.sequence_number || a.flags != b.flags) {
    return false;
  }
  if (!std::equal(std::begin(a.header), std::end(a.header), std::begin(b.header))) return false;
  if (!SameBits(a.x_step, b.x_step) || FromRecord(a.units) != FromRecord(b.units)) return false;
  for (CORBA::ULong i = 0; i < a.samples.length(); ++i) {
    if (!SameBits(a.samples[i], b.samples[i])) return false;
  }
  return true;
}

}  // namespace

bool SameBits(float a, float b) {
  return (std::isnan(a) && std::isnan(b)) || std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

bool SameBits(double a, double b) {
  return (std::isnan(a) && std::isnan(b)) || std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

bool SameBits(const Datum& a, const Datum& b) {
  if (a.index() != b.index()) return false;
  return std::visit([&b]<class T>(const T& value) { return SameFields(value, std::get<T>(b)); }, a);
}

}  // namespace Lumenar::Judge
