// SPDX-License-Identifier: Apache-2.0
#include "judge/Operation.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <iterator>

#include "judge/Average.h"
#include "judge/Peak.h"
#include "judge/RangeSum.h"
#include "judge/Scalar.h"
#include "judge/Trace.h"
#include "judge/TwoInputs.h"
#include "judge/Units.h"

namespace Lumenar::Judge {
namespace {

using Corvanta::BASIC_TRACE::BT_DATA;
using Corvanta::VALUE_DOUBLE::VALUE;

constexpr const char* kNames[] = {"Subtract", "RelativeSubtract", "Average", "Peak", "CumulativeAdd"};

template <class V>
std::unique_ptr<Operation> CreatedOf(Type type, const std::vector<Datum>& present) {
  using Record = typename V::Record;
  const auto& first = std::get<Record>(present.at(0));
  if (type == Type::Average) return std::make_unique<Average<V>>(first);
  if (type == Type::Peak) return std::make_unique<Peak<V>>(first);
  auto operation = std::make_unique<TwoInputs<V>>(type);
  operation->Begin(first, std::get<Record>(present.at(1)));
  return operation;
}

template <class V>
std::unique_ptr<Operation> AtWorkOf(Type type, std::optional<int> size) {
  if (type == Type::Average) return std::make_unique<Average<V>>(size);
  if (type == Type::Peak) return std::make_unique<Peak<V>>();
  return std::make_unique<TwoInputs<V>>(type);
}

std::uint64_t BitsOf(double number) { return std::isnan(number) ? 1 : std::bit_cast<std::uint64_t>(number); }

std::uint64_t DigestOfUnits(std::uint64_t digest, const Corvanta::VALUE_UNITS::Units& record) {
  const Units units = FromRecord(record);
  digest = Mixed(digest, (units.is_dB ? 1u : 0u) + (std::uint64_t{static_cast<std::uint32_t>(units.base_power)} << 1));
  for (const Slot& slot : units.slots)
    digest = Mixed(
        digest, std::uint64_t{static_cast<std::uint32_t>(slot.unit)} << 32 | static_cast<std::uint32_t>(slot.exponent));
  return digest;
}

std::uint64_t DigestOfHeld(CORBA::Long number) { return Mixed(0, static_cast<std::uint32_t>(number)); }

std::uint64_t DigestOfHeld(const VALUE& value) {
  std::uint64_t digest = DigestOfUnits(2, value.units);
  for (const double number : {value.val, value.minus_err, value.plus_err}) digest = Mixed(digest, BitsOf(number));
  return digest;
}

std::uint64_t DigestOfHeld(const BT_DATA& trace) {
  std::uint64_t digest = DigestOfUnits(3, trace.units);
  digest = Mixed(digest, std::uint64_t{trace.sequence_number} << 32 | trace.flags);
  for (const CORBA::ULong word : trace.header) digest = Mixed(digest, word);
  digest = Mixed(digest, BitsOf(trace.x_step));
  for (CORBA::ULong i = 0; i < trace.samples.length(); ++i)
    digest = Mixed(digest, BitsOf(static_cast<double>(trace.samples[i])));
  return digest;
}

}  // namespace

std::optional<Type> TypeNamed(const std::string& name) {
  const auto* found = std::find(std::begin(kNames), std::end(kNames), name);
  if (found == std::end(kNames)) return std::nullopt;
  return static_cast<Type>(found - std::begin(kNames));
}

std::size_t InputsOf(Type type) {
  if (type == Type::CumulativeAdd) return 3;
  return type == Type::Average || type == Type::Peak ? 1 : 2;
}

bool Takes(Type type, const std::vector<Kind>& inputs) {
  if (type == Type::CumulativeAdd) return inputs == std::vector<Kind>{Kind::Trace, Kind::Long, Kind::Long};
  return inputs.size() == InputsOf(type) && inputs.front() != Kind::Long && inputs.front() == inputs.back();
}

std::unique_ptr<Operation> Operation::Created(Type type, const std::vector<Datum>& present) {
  if (type == Type::CumulativeAdd) {
    return std::make_unique<RangeSum>(std::get<BT_DATA>(present.at(0)), std::get<CORBA::Long>(present.at(1)),
                                      std::get<CORBA::Long>(present.at(2)));
  }
  if (KindOf(present.at(0)) == Kind::Trace) return CreatedOf<Trace>(type, present);
  return CreatedOf<Scalar>(type, present);
}

std::unique_ptr<Operation> Operation::AtWork(Type type, Kind kind, std::optional<int> size) {
  if (type == Type::CumulativeAdd) return std::make_unique<RangeSum>();
  return kind == Kind::Trace ? AtWorkOf<Trace>(type, size) : AtWorkOf<Scalar>(type, size);
}

std::uint64_t DigestOf(const Datum& datum) {
  return std::visit([](const auto& held) { return DigestOfHeld(held); }, datum);
}

/// FNV-1a, with the upper half of the product mixed into the lower one.
std::uint64_t Mixed(std::uint64_t digest, std::uint64_t number) {
  digest = (digest ^ 0xcbf29ce484222325 ^ number) * 0x100000001b3;
  return digest ^ digest >> 32;
}

}  // namespace Lumenar::Judge
