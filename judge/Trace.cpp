// SPDX-License-Identifier: Apache-2.0
#include "judge/Trace.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <ostream>

#include "judge/Refused.h"

namespace Lumenar::Judge {
namespace {

constexpr const char* kPath = "Common_Math/src/MathValueBasicTrace:";

CORBA::ULong Index(std::size_t i) { return static_cast<CORBA::ULong>(i); }

/// A sample in the unit of a record, without errors; its value is set by whoever needs many.
/// Errors   Refused NotValid.
Trace::Sample SampleIn(const Corvanta::VALUE_UNITS::Units& units) { return {0, FromRecord(units), 0, 0}; }

/// What stands in decibels is made linear before it is converted, unless it stands in the target already.
Trace::Sample InUnits(const Trace::Sample& sample, const Units& target) {
  if (!sample.units.is_dB) return Converted(sample, target);
  if (SameInEveryRespect(sample.units, target)) return sample;
  return Converted(Normalized(sample), target);
}

float ExactFloat(int number) {
  const double magnitude = std::abs(static_cast<double>(number));
  if (static_cast<double>(static_cast<float>(magnitude)) != magnitude) throw Refused(Why::NotExact);
  return static_cast<float>(number);
}

}  // namespace

Trace& Trace::operator=(const Record& source) {
  if (&source == &record) return *this;
  record = source;
  refresh_needed = true;
  return *this;
}

void Trace::UpdateValues() const {
  if (!refresh_needed) return;
  list.resize(Length());
  if (!list.empty()) list.assign(Length(), SampleIn(record.units));  // refused, they stay as they are
  for (std::size_t i = 0; i < list.size(); ++i) list[i].value = record.samples[Index(i)];
  refresh_needed = false;
}

void Trace::Combine(const Trace& other, PairRule rule) {
  if (IsEmpty("DoValueEqualOp") || LengthDiffers("DoValueEqualOp", other.Length())) return;
  UpdateValues();
  const Units reference = list[0].units;
  Sample theirs = SampleIn(other.record.units);
  for (std::size_t i = 0; i < list.size(); ++i) {
    theirs.value = other.record.samples[Index(i)];
    list[i] = rule(list[i], theirs);
    list[i] = InUnits(list[i], reference);  // one that has no way into the units stays as it came out of the rule
    WriteBack(i);
  }
}

void Trace::SubtractLevels(const Trace& other) {
  if (IsEmpty("RelativeSubEqual") || LengthDiffers("RelativeSubEqual", other.Length())) return;
  UpdateValues();
  Sample theirs = SampleIn(other.record.units);
  for (std::size_t i = 0; i < list.size(); ++i) {
    theirs.value = other.record.samples[Index(i)];
    list[i] = LevelDifference(list[i], theirs);
    WriteBack(i);
  }
  record.units = Judge::ToRecord(list[0].units);
}

void Trace::Scale(int number, NumberRule rule) {
  const float factor = ExactFloat(number);
  if (IsEmpty("DoValueEqualOp")) return;
  UpdateValues();
  for (std::size_t i = 0; i < list.size(); ++i) {
    list[i] = rule(list[i], factor);
    WriteBack(i);
  }
  record.units = Judge::ToRecord(list[0].units);
}

Number<double> Trace::SumOf(int start, int stop) const {
  if (IsEmpty("CumulativeAdd")) return {};
  const int first = std::max(start, 0);
  const int listed = static_cast<int>(list.size());
  const int last = stop < listed ? stop : listed - 1;
  if (last < first) {
    if (lines_ != nullptr) *lines_ << kPath << "CumulativeAdd Warning: start[" << first << "] > stop[" << last << "]\n";
    return {};
  }
  UpdateValues();
  if (static_cast<std::size_t>(last) >= list.size()) throw Refused(Why::OutsideTrace);
  Sample sum = list[static_cast<std::size_t>(first)];
  for (int i = first + 1; i <= last; ++i) sum = Sum(sum, list[static_cast<std::size_t>(i)]);
  // One sample stays as it is: even a conversion into its own unit may round.
  if (first != last || sum.units != list[0].units) sum = InUnits(sum, list[0].units);
  return {static_cast<double>(sum.value), sum.units, 0, 0};
}

void Trace::AddDecibels() {
  if (IsEmpty("Add_dB")) return;
  UpdateValues();
  const Units target = DecibelForm(list[0].units);
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (list[i].value <= 0) list[i].value = std::numeric_limits<float>::min();
    list[i] = Converted(list[i], target);
    WriteBack(i);
  }
  record.units = Judge::ToRecord(target);
}

bool Trace::RemoveDecibels() {
  if (IsEmpty("Remove_dB")) return false;
  const Units units = FromRecord(record.units);
  if (!units.is_dB) return false;
  UpdateValues();
  for (std::size_t i = 0; i < list.size(); ++i) {
    list[i] = InUnits(list[i], LinearForm(units));
    WriteBack(i);
  }
  record.units = Judge::ToRecord(LinearForm(units));
  return true;
}

void Trace::KeepLarger(const Trace& other) {
  if (IsEmpty("DoPeak")) return;
  other.UpdateValues();
  if (LengthDiffers("DoPeak", other.list.size())) throw Refused(Why::Lengths);
  UpdateValues();
  const Units reference = list[0].units;
  for (std::size_t i = 0; i < list.size(); ++i) {
    const Sample theirs = other.list[i];
    const bool same_unit = SameInEveryRespect(theirs.units, list[i].units);
    const float held = same_unit ? list[i].value : InUnits(list[i], theirs.units).value;
    if (!(held < theirs.value)) continue;
    list[i] = theirs;
    record.samples[Index(i)] = InUnits(theirs, reference).value;
  }
}

void Trace::WriteBack(std::size_t i) { record.samples[Index(i)] = list[i].value; }

bool Trace::IsEmpty(const char* function) const {
  if (Length() == 0 && lines_ != nullptr) *lines_ << kPath << function << " Warning: Trace size is 0, aborting\n";
  return Length() == 0;
}

bool Trace::LengthDiffers(const char* function, std::size_t other) const {
  if (other == Length()) return false;
  if (lines_ != nullptr)
    *lines_ << kPath << function << " Error: traces are different sizes! " << other << ", " << Length() << "\n";
  return true;
}

}  // namespace Lumenar::Judge
