// SPDX-License-Identifier: Apache-2.0
#include "python/src/Result.h"

#include "platform/records/Records.h"
#include "platform/units/Units.h"
#include "platform/wire/record_kinds.h"

namespace Lumenar::Python {

using Corvanta::RecordKind;

const char* Result::Kind() const noexcept {
  if (AsTrace() != nullptr) return RecordKind<Trace>::kTypeName;
  if (AsScalar() != nullptr) return RecordKind<Scalar>::kTypeName;
  if (std::holds_alternative<CORBA::Long>(record_)) return RecordKind<CORBA::Long>::kTypeName;
  return std::holds_alternative<bool>(record_) ? RecordKind<bool>::kTypeName : "";
}

std::span<const float> Result::Samples() const noexcept {
  const Trace* trace = AsTrace();
  if (trace == nullptr || trace->samples.length() == 0) return {};
  return {trace->samples.get_buffer(), trace->samples.length()};
}

std::string Result::Unit() const {
  if (const Trace* trace = AsTrace()) return Value::Units_text(VALUE::UnitsFromCorba(trace->units));
  if (const Scalar* scalar = AsScalar()) return Value::Units_text(VALUE::UnitsFromCorba(scalar->units));
  return {};
}

std::string Result::AxisUnit() const {
  const Trace* trace = AsTrace();
  if (trace == nullptr || trace->header[2] > static_cast<CORBA::ULong>(Value::kLastUnit)) return {};
  return Value::Units_text(Value::Make_unit(static_cast<Value::Units_list>(trace->header[2])));
}

std::int64_t Result::Time_ns() const noexcept {
  if (const Trace* trace = AsTrace()) {
    const auto captured = static_cast<std::uint64_t>(trace->header[0]) << 32 | trace->header[1];
    if (captured != 0 && captured <= static_cast<std::uint64_t>(INT64_MAX)) return static_cast<std::int64_t>(captured);
  }
  return std::chrono::duration_cast<std::chrono::nanoseconds>(arrived_.time_since_epoch()).count();
}

std::vector<std::uint32_t> Result::Header() const {
  const Trace* trace = AsTrace();
  if (trace == nullptr) return {};
  return {std::begin(trace->header), std::end(trace->header)};
}

}  // namespace Lumenar::Python
