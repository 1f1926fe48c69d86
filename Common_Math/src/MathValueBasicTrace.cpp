// SPDX-License-Identifier: Apache-2.0
#include "Common_Math/src/MathValueBasicTrace.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <optional>
#include <stdexcept>
#include <utility>

#include "Common_Math/src/RefusedSamples.h"
#include "Common_Math/src/TraceConversion.h"
#include "Common_Math/src/trace_kernels.h"
#include "MathFactory.hh"
#include "platform/base/Diagnostic.h"
#include "platform/records/Records.h"
#include "platform/records/SampleRecord.h"
#include "platform/value/unit_meeting.h"

namespace Lumenar {
namespace {

using Corvanta::MathFactory::MathFactoryException;
using Value::Combination;
using Value::Units;
using Value::Units_library;

constexpr const char* kTracePath = "Common_Math/src/MathValueBasicTrace";

using TraceKernel = void (*)(float* values, const float* operand, std::size_t count) noexcept;

bool MeetAsTheyAre(const Units& unit, const MathTrace::Sample& operand, Combination combination) {
  return Value::How_units_meet(unit, operand.Get_unit(), combination) == Value::Meeting::AsTheyAre;
}

/// To the bit: zeros of different sign differ.
bool SameErrors(const MathTrace::Sample& a, const MathTrace::Sample& b) {
  const auto bits = [](float number) { return std::bit_cast<std::uint32_t>(number); };
  return bits(a.Get_minus_err()) == bits(b.Get_minus_err()) && bits(a.Get_plus_err()) == bits(b.Get_plus_err());
}

/// Errors   MathFactoryException unless a 32-bit float represents the integer exactly.
float ExactFloat(int number) {
  const std::uint64_t magnitude = static_cast<std::uint64_t>(std::llabs(number));
  const std::uint64_t significant = magnitude == 0 ? 0 : magnitude >> std::countr_zero(magnitude);
  if (significant >= std::uint64_t{1} << std::numeric_limits<float>::digits) {
    throw MathFactoryException("conversion limited by bits in dest type representation ");
  }
  return static_cast<float>(number);
}

}  // namespace

MathTrace::MathValue(const Corvanta::EngineReadingBase_ptr& reading) {
  const Corvanta::EngineBasicTrace_var trace = Corvanta::EngineBasicTrace::_narrow(reading);
  if (CORBA::is_nil(trace)) {
    Diagnose(kTracePath, "MathValue", " Error: could not narrow attrib to BasicTrace type!");
    throw MathFactoryException("Invalid Corvanta::BASIC_TRACE::BT_DATA Attrib type");
  }
  Corvanta::BASIC_TRACE::BT_DATA_var present = trace->Get();
  TakeRecord(record, present.inout());
}

MathTrace::MathValue(const Record& source) { CopyRecord(record, source); }

MathTrace::MathValue(Record&& source) { TakeRecord(record, source); }

MathTrace::MathValue(const MathValue& other) { CopyRecord(record, other.record); }

MathTrace::MathValue(MathValue&& other) { TakeRecord(record, other.record); }

MathTrace& MathTrace::operator=(const MathValue& other) { return *this = other.record; }

MathTrace& MathTrace::operator=(const Record& source) {
  if (&source == &record) return *this;
  CopyRecord(record, source);
  refresh_needed_ = true;
  return *this;
}

MathTrace& MathTrace::operator=(Record&& source) {
  if (&source == &record) return *this;
  TakeRecord(record, source);
  refresh_needed_ = true;
  return *this;
}

void MathTrace::UpdateValues() const {
  if (!refresh_needed_) return;
  list_.Refresh(Length(), VALUE::UnitsFromCorba(record.units));
  refresh_needed_ = false;
}

std::vector<MathTrace::Sample> MathTrace::SampleValues() const {
  UpdateValues();
  return list_.Copies(Samples());
}

MathTrace::Sample MathTrace::First() const { return list_.At(0, Samples()); }

bool MathTrace::IsEmpty(const char* function) const {
  if (Length() > 0) return false;
  Diagnose(kTracePath, function, " Warning: Trace size is 0, aborting");
  RefusedSamples::NoteFixedLine("a trace without samples");
  return true;
}

bool MathTrace::SizesDiffer(const char* function, std::size_t other_size) const {
  if (other_size == Length()) return false;
  Diagnose(kTracePath, function, " Error: traces are different sizes! ", other_size, ", ", Length());
  std::array<char, 64> lengths;
  const char* end = fmt::format_to_n(lengths.data(), lengths.size(), " ({} and {})", Length(), other_size).out;
  RefusedSamples::NoteFixedLine("traces of different lengths", {lengths.data(), end});
  return true;
}

TraceBySample MathTrace::BySample() { return TraceBySample(list_, Samples()); }

MathTrace& MathTrace::DoValueEqualOp(const MathValue& other, ValueOperator op) {
  if (IsEmpty("DoValueEqualOp") || SizesDiffer("DoValueEqualOp", other.Length())) return *this;
  UpdateValues();
  BySample().Apply(op, {other.Samples(), VALUE::UnitsFromCorba(other.record.units)});
  return *this;
}

MathTrace& MathTrace::DoValueEqualOp(const float& number, NumberOperator op) {
  if (IsEmpty("DoValueEqualOp")) return *this;
  UpdateValues();
  BySample().Apply(op, number);
  record.units = VALUE::UnitsToCorba(First().Get_unit());
  return *this;
}

/// As DoValueEqualOp with the operator of the step, and faster where all samples go the same way.
MathTrace& MathTrace::Combine(const MathValue& other, CombineStep step) {
  if (IsEmpty("DoValueEqualOp") || SizesDiffer("DoValueEqualOp", other.Length())) return *this;
  UpdateValues();
  const Units other_units = VALUE::UnitsFromCorba(other.record.units);
  if (list_.IsUniform() && list_.Form().Get_unit().is_dB == other_units.is_dB) {
    CombineUniform(other, other_units, step);
  } else {
    BySample().Apply(OperatorOf(step), {other.Samples(), other_units});
  }
  return *this;
}

MathTrace::ValueOperator MathTrace::OperatorOf(CombineStep step) {
  if (step == CombineStep::Add) return &Sample::operator+=;
  return &Sample::operator-=;
}

/// The first sample goes by the rule for one value: it throws what the units make it throw before anything has
/// changed, and tells the errors of all.
void MathTrace::CombineUniform(const MathValue& other, const Units& other_units, CombineStep step) {
  const Units reference = list_.Form().Get_unit();
  const Sample operand_first(other.Samples()[0], other_units, 0.0f, 0.0f);
  Sample first = First();
  (first.*OperatorOf(step))(operand_first);
  first = InUnits(first, reference);

  const TraceKernel combine = step == CombineStep::Add ? Kernels::Add : Kernels::Subtract;
  const bool directly = MeetAsTheyAre(reference, operand_first, Combination::Sum);
  const TraceConversion back = TraceConversion::Between(reference, reference);
  if (directly && back.IsIdentity()) {
    combine(Samples(), other.Samples(), Length());
  } else {
    const TraceConversion operand_in = directly ? TraceConversion() : TraceConversion::Between(other_units, reference);
    Kernels::InBlocks(Length(), [&](std::size_t begin, std::size_t count) {
      float operand[Kernels::kBlock];
      float* values = Samples() + begin;
      operand_in.Apply(other.Samples() + begin, operand, count);
      combine(values, operand, count);
      back.Apply(values, values, count);
    });
  }
  list_.SetForm(first);
}

MathTrace& MathTrace::operator+=(const MathValue& other) { return Combine(other, CombineStep::Add); }

MathTrace& MathTrace::operator-=(const MathValue& other) { return Combine(other, CombineStep::Subtract); }

bool MathTrace::IsLinear() const { return list_.IsUniform() && !list_.Form().Get_unit().is_dB; }

/// As DoValueEqualOp with the operator of the step. Where a quotient is not finite, the samples before it keep
/// their quotients, so they are divided one after the other.
MathTrace& MathTrace::Scale(float number, ScaleStep step) {
  if (IsEmpty("DoValueEqualOp")) return *this;
  UpdateValues();
  const bool multiply = step == ScaleStep::Multiply;
  if (IsLinear() && (multiply || Kernels::QuotientsAreFinite(Samples(), number, Length()))) {
    Sample first = First();
    multiply ? first *= number : first /= number;
    (multiply ? Kernels::Multiply : Kernels::Divide)(Samples(), number, Length());
    list_.SetForm(first);
  } else {
    BySample().Apply(multiply ? &Sample::operator*= : &Sample::operator/=, number);
  }
  record.units = VALUE::UnitsToCorba(First().Get_unit());
  return *this;
}

MathTrace& MathTrace::operator*=(const int& factor) { return Scale(ExactFloat(factor), ScaleStep::Multiply); }

MathTrace& MathTrace::operator/=(const int& divisor) { return Scale(ExactFloat(divisor), ScaleStep::Divide); }

bool MathTrace::CombinesPlainlyWith(const MathValue& other) const {
  if (Length() == 0 || other.Length() != Length()) return false;
  UpdateValues();
  const Units reference = list_.Form().Get_unit();
  return list_.IsUniform() && !reference.is_dB && VALUE::UnitsFromCorba(other.record.units) == reference &&
         TraceConversion::Between(reference, reference).IsIdentity();
}

void MathTrace::NextMean(int count_before, const MathValue& newest, const MathValue* oldest, int count_after) {
  const Units units = list_.Form().Get_unit();
  const auto first_of = [&](const MathValue& trace) { return Sample(trace.Samples()[0], units, 0.0f, 0.0f); };
  Sample first = First();
  first *= static_cast<float>(count_before);
  first += first_of(newest);
  if (oldest != nullptr) first -= first_of(*oldest);
  first /= static_cast<float>(count_after);

  const Kernels::MeanStep step{static_cast<float>(count_before), newest.Samples(), static_cast<float>(count_after)};
  const bool finite = oldest == nullptr ? Kernels::NextMean(Samples(), step, Length())
                                        : Kernels::NextMeanWithout(Samples(), step, oldest->Samples(), Length());
  if (!finite) throw std::out_of_range("Value is out of range");
  list_.SetForm(first);
  record.units = VALUE::UnitsToCorba(units);
}

MathTrace& MathTrace::RelativeSubEqual(const MathValue& other) {
  if (IsEmpty("RelativeSubEqual") || SizesDiffer("RelativeSubEqual", other.Length())) return *this;
  UpdateValues();
  const Units other_units = VALUE::UnitsFromCorba(other.record.units);
  const float* operand = other.Samples();
  if (list_.IsUniform()) {
    const Units reference = list_.Form().Get_unit();
    const Sample operand_first(operand[0], other_units, 0.0f, 0.0f);
    const Sample first = Value::Relative_sub(First(), operand_first);
    if (MeetAsTheyAre(reference, operand_first, Combination::LevelDifference)) {
      Kernels::Subtract(Samples(), operand, Length());
    } else {
      const TraceConversion operand_in = TraceConversion::Between(other_units, reference);
      Kernels::InBlocks(Length(), [&](std::size_t begin, std::size_t count) {
        float converted[Kernels::kBlock];
        operand_in.Apply(operand + begin, converted, count);
        Kernels::Subtract(Samples() + begin, converted, count);
      });
    }
    list_.SetForm(first);
  } else {
    BySample().SubtractRelatively({operand, other_units});
  }
  record.units = VALUE::UnitsToCorba(First().Get_unit());
  return *this;
}

Value::Value_object<double> MathTrace::CumulativeAdd(int start, int stop) const {
  if (IsEmpty("CumulativeAdd")) return {};
  const int first = std::max(start, 0);
  // The list as it is now, before the refresh: an operand that was replaced since clamps by its former length.
  const int listed = static_cast<int>(list_.Size());
  const int last = stop < listed ? stop : listed - 1;
  if (last < first) {
    Diagnose(kTracePath, "CumulativeAdd", " Warning: start[", first, "] > stop[", last, "]");
    RefusedSamples::NoteFixedLine("a range without samples");
    return {};
  }
  UpdateValues();
  if (static_cast<std::size_t>(last) >= list_.Size()) throw CORBA::BAD_PARAM();
  const Units reference = First().Get_unit();
  Sample sum = SumOf(first, last);
  // One sample stays as it is: even a conversion into its own unit may round.
  if (first != last || sum.Get_unit() != reference) sum = InUnits(sum, reference);
  return Value::Value_object<double>(sum.Get_value(), sum.Get_unit(), 0.0, 0.0);
}

MathTrace::Sample MathTrace::SumOf(std::size_t first, std::size_t last) const {
  if (!list_.IsUniform()) return TraceBySample::Sum(list_, Samples(), first, last);
  return InFormOf(list_.Form(), Kernels::SumInOrder(Samples()[first], Samples() + first + 1, last - first));
}

void MathTrace::Add_dB() {
  if (IsEmpty("Add_dB")) return;
  UpdateValues();
  Units target = First().Get_unit();
  target.is_dB = true;
  if (list_.IsUniform()) {
    const Sample first = RaisedToPositive(First()).Convert_to(target);
    const TraceConversion conversion = TraceConversion::OfLinear(list_.Form().Get_unit(), target);
    Kernels::InBlocks(Length(), [&](std::size_t begin, std::size_t count) {
      float* values = Samples() + begin;
      Kernels::RaiseToPositive(values, count);
      conversion.Apply(values, values, count);
    });
    list_.SetForm(first);
  } else {
    BySample().AddDecibels(target);
  }
  record.units = VALUE::UnitsToCorba(target);
}

bool MathTrace::Remove_dB() {
  if (IsEmpty("Remove_dB")) return false;
  Units target = VALUE::UnitsFromCorba(record.units);
  if (!target.is_dB) return false;
  UpdateValues();
  target.is_dB = false;
  if (list_.IsUniform()) {
    const Sample first = InUnits(First(), target);
    TraceConversion::Between(list_.Form().Get_unit(), target).Apply(Samples(), Samples(), Length());
    list_.SetForm(first);
  } else {
    BySample().RemoveDecibels(target);
  }
  record.units = VALUE::UnitsToCorba(target);
  return true;
}

bool MathTrace::GoThroughDecibels() {
  std::vector<float> samples;
  try {
    samples.assign(Samples(), Samples() + Length());
  } catch (const std::bad_alloc&) {  // whether something changed stays unknown then
  }
  const Units units = VALUE::UnitsFromCorba(record.units);
  const bool was_uniform = list_.IsUniform();
  const Sample form = list_.Form();
  Add_dB();
  Remove_dB();
  const bool same_form = form.Get_unit() == list_.Form().Get_unit() && SameErrors(form, list_.Form());
  return was_uniform && list_.IsUniform() && same_form && VALUE::UnitsFromCorba(record.units) == units &&
         samples.size() == Length() && std::memcmp(samples.data(), Samples(), samples.size() * sizeof(float)) == 0;
}

void MathTrace::DoPeak(const MathValue& other) {
  if (IsEmpty("DoPeak")) return;
  other.UpdateValues();
  if (SizesDiffer("DoPeak", other.list_.Size())) {
    throw MathFactoryException("Doing Peak search: traces are different sizes! ");
  }
  UpdateValues();
  if (list_.IsUniform() && other.list_.IsUniform() && HoldUniformPeak(other)) return;
  BySample().HoldPeak(other.list_, other.Samples());
}

bool MathTrace::HoldUniformPeak(const MathValue& other) {
  const Sample& theirs = other.list_.Form();
  const Units reference = list_.Form().Get_unit();
  const bool same_unit = Units_library::Compare_units_DB(theirs.Get_unit(), reference, true);
  const auto to_theirs =
      same_unit ? std::optional(TraceConversion()) : TraceConversion::IfPossible(reference, theirs.Get_unit());
  const auto to_reference = TraceConversion::IfPossible(theirs.Get_unit(), reference);
  if (!to_theirs || !to_reference) return false;
  if (same_unit && SameErrors(theirs, list_.Form()) && to_reference->IsIdentity()) {
    Kernels::HoldPeak(Samples(), other.Samples(), Length());
    return true;
  }
  std::vector<float> values(Samples(), Samples() + Length());
  std::vector<unsigned char> replaced(Length());
  Kernels::InBlocks(Length(), [&](std::size_t begin, std::size_t count) {
    const float* candidates = other.Samples() + begin;
    float converted[Kernels::kBlock];
    to_theirs->Apply(Samples() + begin, converted, count);
    Kernels::MarkSmaller(converted, candidates, &replaced[begin], count);
    Kernels::Replace(&values[begin], candidates, &replaced[begin], count);
    to_reference->Apply(candidates, converted, count);
    Kernels::Replace(Samples() + begin, converted, &replaced[begin], count);
  });
  list_.SetPeakHeld(std::move(values), std::move(replaced), theirs);
  return true;
}

template <>
MathTrace operator-(const MathTrace& a, const MathTrace& b) {
  MathTrace difference(a);
  difference -= b;
  return difference;
}

template <>
MathTrace RelativeSub(const MathTrace& a, const MathTrace& b) {
  MathTrace distance(a);
  distance.RelativeSubEqual(b);
  return distance;
}

}  // namespace Lumenar
