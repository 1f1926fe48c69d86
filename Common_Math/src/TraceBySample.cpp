// SPDX-License-Identifier: Apache-2.0
#include "Common_Math/src/TraceBySample.h"

#include <limits>
#include <vector>

#include "Common_Math/src/TraceConversion.h"

namespace Lumenar {

using Value::Units;
using Value::Units_library;

SampleList::Sample RaisedToPositive(const SampleList::Sample& entry) {
  return entry.Get_value() <= 0.0f ? InFormOf(entry, std::numeric_limits<float>::min()) : entry;
}

/// Calls step(entry, i) for each entry of the list, and stores the entry's number as the sample.
template <class Step>
void TraceBySample::ForEach(Step step) {
  std::vector<Sample>& entries = list_.Objects(samples_);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    step(entries[i], i);
    samples_[i] = entries[i].Get_value();
  }
}

void TraceBySample::Apply(ValueOperator op, const Operand& operand) {
  const Units reference = list_.At(0, samples_).Get_unit();
  ForEach([&](Sample& entry, std::size_t i) {
    (entry.*op)(Sample(operand.samples[i], operand.units, 0.0f, 0.0f));
    entry = InUnits(entry, reference);
  });
}

void TraceBySample::Apply(NumberOperator op, float number) {
  ForEach([&](Sample& entry, std::size_t) { (entry.*op)(number); });
}

void TraceBySample::SubtractRelatively(const Operand& operand) {
  ForEach([&](Sample& entry, std::size_t i) {
    entry = Value::Relative_sub(entry, Sample(operand.samples[i], operand.units, 0.0f, 0.0f));
  });
}

void TraceBySample::AddDecibels(const Units& target) {
  ForEach([&](Sample& entry, std::size_t) {
    entry = RaisedToPositive(entry);
    entry = entry.Convert_to(target);
  });
}

void TraceBySample::RemoveDecibels(const Units& target) {
  ForEach([&](Sample& entry, std::size_t) { entry = InUnits(entry, target); });
}

/// Not by ForEach: the sample of an entry that stays is not written, and one that is replaced is converted first.
void TraceBySample::HoldPeak(const SampleList& other, const float* other_samples) {
  const Units reference = list_.At(0, samples_).Get_unit();
  const std::vector<Sample> candidates = other.Copies(other_samples);
  std::vector<Sample>& entries = list_.Objects(samples_);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const Units unit = candidates[i].Get_unit();
    const bool same_unit = Units_library::Compare_units_DB(unit, entries[i].Get_unit(), true);
    const float held = (same_unit ? entries[i] : InUnits(entries[i], unit)).Get_value();
    if (held < candidates[i].Get_value()) {
      entries[i] = candidates[i];
      samples_[i] = InUnits(candidates[i], reference).Get_value();
    }
  }
}

SampleList::Sample TraceBySample::Sum(const SampleList& list, const float* samples, std::size_t first,
                                      std::size_t last) {
  Sample sum = list.At(first, samples);
  for (std::size_t i = first + 1; i <= last; ++i) sum += list.At(i, samples);
  return sum;
}

}  // namespace Lumenar
