// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

#include "Common_Math/src/SampleList.h"

namespace Lumenar {

/// The rules of a trace as they stand, one sample after the other: for lists of several units, for operators without a
/// kernel, and for failures in mid-trace, after which the samples before the failing one keep their new values.
///
/// Every way changes an entry of the list and writes its number back to the record's sample.
/// Errors   those of the operators and conversions.      Threads   the caller owns list and samples.
class TraceBySample {
 public:
  using Sample = SampleList::Sample;
  using ValueOperator = Sample& (Sample::*)(const Sample&);
  using NumberOperator = Sample& (Sample::*)(const float&);

  /// The samples of another trace, as many as the list has entries, all in one unit.
  struct Operand {
    const float* samples;
    const Value::Units& units;
  };

  /// `samples` are those of the record, as many as the list has entries. Neither is copied.
  TraceBySample(SampleList& list, float* samples) : list_(list), samples_(samples) {}

  /// `op` with the operand's sample, then back into the unit of the first entry.
  void Apply(ValueOperator op, const Operand& operand);

  /// `op` with a number; no conversion.
  void Apply(NumberOperator op, float number);

  /// Relative_sub of the entry and the operand's sample.
  void SubtractRelatively(const Operand& operand);

  /// Into `target`, which is in dB; zero and negative numbers as the smallest normal float.
  void AddDecibels(const Value::Units& target);

  /// Into `target`, which is not in dB.
  void RemoveDecibels(const Value::Units& target);

  /// The larger of the entry and the other list's, compared in the other's unit; equal ones stay. An entry that is
  /// replaced is the other's; its sample stands in the unit of the first entry.
  void HoldPeak(const SampleList& other, const float* other_samples);

  /// The sum of the entries from first to last inclusive, in their order.
  static Sample Sum(const SampleList& list, const float* samples, std::size_t first, std::size_t last);

 private:
  template <class Step>
  void ForEach(Step step);

  SampleList& list_;
  float* const samples_;
};

/// An entry that has a logarithm: one that is zero or negative becomes the smallest normal float.
SampleList::Sample RaisedToPositive(const SampleList::Sample& entry);

}  // namespace Lumenar
