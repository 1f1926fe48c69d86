// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "BASIC_TRACE.hh"
#include "Common_Math/src/MathValue.h"
#include "Common_Math/src/SampleList.h"
#include "Common_Math/src/TraceBySample.h"
#include "EngineReading.hh"
#include "platform/value/Value_object.h"

namespace Lumenar {

/// A trace on which operations compute: the record, and each sample's value with its unit.
///
/// The record is the authority: every operation leaves its results there, so that it can be published as it stands.
/// The list of sample values follows it lazily: whoever replaces the record leaves the list as it is until
/// UpdateValues.
/// Threads   none of its own: one thread at a time, also for reading.
template <>
class MathValue<Corvanta::BASIC_TRACE::BT_DATA> {
 public:
  using Record = Corvanta::BASIC_TRACE::BT_DATA;
  using Sample = Value::Value_object<float>;
  using ValueOperator = TraceBySample::ValueOperator;
  using NumberOperator = TraceBySample::NumberOperator;

  /// The present value of a BasicTrace reading; no other interface is accepted.
  /// Errors   a diagnostic line and MathFactoryException; CORBA system exceptions.
  explicit MathValue(const Corvanta::EngineReadingBase_ptr& reading);
  explicit MathValue(const Record& source);
  /// Takes over the samples of a record that the caller needs no more.
  explicit MathValue(Record&& source);
  /// Copies the record alone: the new list is empty and is built on first use.
  MathValue(const MathValue& other);
  /// The same without a copy of the samples, which the other has no more.
  MathValue(MathValue&& other);
  virtual ~MathValue() = default;

  MathValue& operator=(const MathValue& other);
  MathValue& operator=(const Record& source);
  MathValue& operator=(Record&& source);

  /// Brings the list of sample values up to date with the record.
  /// Errors   OperationNotValid for a record with malformed units.
  void UpdateValues() const;

  /// The sum of the samples from start to stop inclusive, in the unit of sample 0, without errors; of one sample, that
  /// sample; a default value and a warning for an empty trace or range. The stop is clamped to the list as it was
  /// before this call refreshes it.
  /// Errors   CORBA::BAD_PARAM when that list was longer than the trace and the range ends beyond it.
  Value::Value_object<double> CumulativeAdd(int start, int stop) const;

  /// Sample by sample Relative_sub of this and the other; the trace takes the resulting unit.
  MathValue& RelativeSubEqual(const MathValue& other);

  /// Sample by sample `op` with the other trace's samples, each brought back to this trace's unit.
  /// Shape    traces of different sizes: a diagnostic line and no change.
  /// Errors   what op throws; samples before the failing one keep their new values.
  MathValue& DoValueEqualOp(const MathValue& other, ValueOperator op);

  /// Sample by sample `op` with a number; the trace takes the resulting unit.
  MathValue& DoValueEqualOp(const float& number, NumberOperator op);

  /// DoValueEqualOp with the sample's own operator, without an object for each sample where that gives the same bits.
  MathValue& operator+=(const MathValue& other);
  MathValue& operator-=(const MathValue& other);

  /// The same with a number.
  /// Errors   MathFactoryException for an integer that no 32-bit float represents; std::out_of_range from the division.
  MathValue& operator*=(const int& factor);
  MathValue& operator/=(const int& divisor);

  /// Whether this and the other have one size, not 0, and stand in one linear unit in which sums and differences stay
  /// as they are.
  /// Errors   OperationNotValid for a record with malformed units.
  bool CombinesPlainlyWith(const MathValue& other) const;

  /// In one pass over traces that combine plainly what *= count_before, += newest, -= oldest (unless null) and
  /// /= count_after do one after the other; the counts are small.
  /// Errors   std::out_of_range, as /= does; the samples mean nothing then.
  void NextMean(int count_before, const MathValue& newest, const MathValue* oldest, int count_after);

  /// Takes the samples into dB, zero and negative ones as the smallest normal float. Does not ask whether they are in
  /// dB.
  void Add_dB();

  /// Takes the samples out of dB; false, with nothing changed, when they are not in dB.
  bool Remove_dB();

  /// Add_dB, then Remove_dB, of a trace that Remove_dB has taken out of dB. True when no bit has changed by it: another
  /// such round would change none either.
  bool GoThroughDecibels();

  /// Keeps, sample by sample, the larger of this and the other trace; equal ones stay.
  /// Errors   MathFactoryException for traces of different sizes.
  void DoPeak(const MathValue& other);

  /// The record, for generic code.
  const Record& ToRecord() const& noexcept { return record; }
  Record&& ToRecord() && noexcept { return std::move(record); }

  /// Entries of the list as of the last refresh.
  std::size_t ListSize() const noexcept { return list_.Size(); }

  /// The list, up to date.
  std::vector<Sample> SampleValues() const;

  Record record;

 private:
  std::size_t Length() const noexcept { return record.samples.length(); }
  bool IsEmpty(const char* function) const;
  bool SizesDiffer(const char* function, std::size_t other_size) const;
  float* Samples() { return record.samples.get_buffer(); }
  const float* Samples() const { return record.samples.get_buffer(); }
  Sample First() const;

  enum class CombineStep { Add, Subtract };
  enum class ScaleStep { Multiply, Divide };

  static ValueOperator OperatorOf(CombineStep step);
  MathValue& Combine(const MathValue& other, CombineStep step);
  void CombineUniform(const MathValue& other, const Value::Units& other_units, CombineStep step);
  MathValue& Scale(float number, ScaleStep step);
  bool IsLinear() const;
  TraceBySample BySample();
  Sample SumOf(std::size_t first, std::size_t last) const;
  bool HoldUniformPeak(const MathValue& other);

  mutable SampleList list_;
  mutable bool refresh_needed_ = true;
};

using MathTrace = MathValue<Corvanta::BASIC_TRACE::BT_DATA>;

template <>
MathTrace operator-(const MathTrace& a, const MathTrace& b);
template <>
MathTrace RelativeSub(const MathTrace& a, const MathTrace& b);

}  // namespace Lumenar
