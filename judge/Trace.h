// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <iosfwd>
#include <vector>

#include "BASIC_TRACE.hh"
#include "judge/Number.h"

namespace Lumenar::Judge {

/// A trace by the rules: its record, and a number with unit and errors for each of its samples. Every rule changes the
/// numbers one after the other, and writes each to its sample at once, so that those before a refused one stay changed.
///
/// The numbers follow the record lazily: a record that is replaced leaves them as they are until UpdateValues. The line
/// that an engine prints for a trace goes to `lines`, if there is such a stream.
/// Threads   one at a time, also for reading.
class Trace {
 public:
  using Record = Corvanta::BASIC_TRACE::BT_DATA;
  using Sample = Number<float>;
  using PairRule = Sample (*)(const Sample&, const Sample&);
  using NumberRule = Sample (*)(const Sample&, float);

  explicit Trace(const Record& source, std::ostream* lines = nullptr) : record(source), lines_(lines) {}
  /// The record alone.
  Trace(const Trace& other) : record(other.record), lines_(other.lines_) {}
  ~Trace() = default;

  Trace& operator=(const Trace& other) { return *this = other.record; }
  Trace& operator=(const Record& source);

  /// The numbers as the record says: each sample in the record's unit, without errors.
  /// Errors   Refused NotValid for malformed units of a trace that has samples.
  void UpdateValues() const;

  /// Lets go of the numbers, which take much memory, until they are needed again. Errors do not come back.
  void ForgetValues() {
    list = {};
    refresh_needed = true;
  }

  /// Sample by sample the rule with the other's sample; the result brought into the unit of this one's first sample.
  /// Traces of different lengths: a line, and no change. Errors   those of the rule and of the conversion.
  void Combine(const Trace& other, PairRule rule);
  void Add(const Trace& other) { Combine(other, Sum<float>); }
  void Subtract(const Trace& other) { Combine(other, Difference<float>); }

  /// Sample by sample the level difference; the trace takes the unit of its first sample.
  void SubtractLevels(const Trace& other);

  /// Sample by sample the rule with a whole number that a float represents.
  /// Errors   Refused NotExact; those of the rule.
  void Multiply(int factor) { Scale(factor, Product<float>); }
  void Divide(int divisor) { Scale(divisor, Quotient<float>); }

  /// The sum of the samples from start to stop, both inclusive and clamped, one after the other in single precision,
  /// without errors. Of one sample, that sample; nothing, and a line, of an empty range. The stop is clamped to the
  /// numbers as they were last updated.
  /// Errors   Refused OutsideTrace where those were more than the trace now has.
  Number<double> SumOf(int start, int stop) const;

  /// Into decibels, zero and negative samples as the smallest normal float.
  void AddDecibels();

  /// Out of decibels; false where the trace is not in them, or has no samples.
  bool RemoveDecibels();

  /// Sample by sample the larger one, compared in the other's unit; equal ones stay.
  /// Errors   Refused Lengths; those of the conversion.
  void KeepLarger(const Trace& other);

  const Record& ToRecord() const { return record; }

  Record record;
  mutable std::vector<Sample> list;
  mutable bool refresh_needed = true;

 private:
  std::size_t Length() const { return record.samples.length(); }
  bool IsEmpty(const char* function) const;
  bool LengthDiffers(const char* function, std::size_t other) const;
  void Scale(int number, NumberRule rule);
  void WriteBack(std::size_t i);

  std::ostream* lines_;
};

}  // namespace Lumenar::Judge
