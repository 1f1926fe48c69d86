// SPDX-License-Identifier: Apache-2.0
#include "judge/RangeSum.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "judge/Refused.h"
#include "judge/Scalar.h"
#include "judge/same_bits.h"

namespace Lumenar::Judge {
namespace {

/// So many samples are tried for an unknown START besides an unknown STOP: all pairs of them are.
constexpr int kMostUnknownStarts = 2001;

/// The linear sum that a result comes from, nearly.
double LinearOf(double result, const Units& units) {
  return units.is_dB ? std::pow(10.0, result / (10 * DecibelFactor(units))) : result;
}

/// Whether a sum is so far from another one that the results differ for certain: spares the most of half a million sums the
/// way into decibels.
bool IsFar(float sum, double other) {
  constexpr double kNear = 1e-9;
  return std::isfinite(other) && std::isfinite(sum) &&
         std::abs(static_cast<double>(sum) - other) > kNear * std::abs(other);
}

}  // namespace

RangeSum::RangeSum(const Trace::Record& trace, int start, int stop) : start_(start), stop_(stop) {
  trace_.emplace(trace);
  result_ = Scalar::Record{};
  Compute();
}

RangeSum::RangeSum(const std::optional<Trace::Record>& trace, std::optional<int> start, std::optional<int> stop,
                   int computations)
    : start_(start), stop_(stop) {
  if (!trace) return;
  trace_.emplace(*trace);
  for (int i = 0; i < computations; ++i) {
    if (trace_->RemoveDecibels()) trace_->AddDecibels();
  }
}

Outcome RangeSum::Take(std::size_t input, const Datum& sample) {
  try {
    if (input > 0) {
      start_ = std::get<CORBA::Long>(sample);
    } else {
      trace_.emplace(std::get<Trace::Record>(sample));
    }
    return Compute();
  } catch (const Refused& refused) {
    return {Outcome::Nothing, refused.what()};
  }
}

/// A trace in decibels is linear for the sum; when that is refused, it stays so.
Outcome RangeSum::Compute() {
  if (!trace_) return StayUnknown("no sample of the trace");
  const bool was_dB = trace_->RemoveDecibels();
  trace_->UpdateValues();  // the range is clamped to the trace as it is now
  std::optional<Scalar> sum;
  linear_.reset();
  if (start_ && stop_) {
    sum.emplace(trace_->SumOf(*start_, *stop_));
  } else {
    linear_.emplace(*trace_);
  }
  if (was_dB) trace_->AddDecibels();
  trace_->ForgetValues();
  if (!sum) return StayUnknown(start_ ? "STOP, which is that of the creation" : "START and STOP");
  if (was_dB) sum->AddDecibels();
  return Publish(sum->ToRecord());
}

std::unique_ptr<RangeSum> RangeSum::Guess(int start, int stop, const Datum& result) const {
  auto guess = std::make_unique<RangeSum>(*this);
  guess->start_ = start_.value_or(start);
  guess->stop_ = stop;
  guess->result_ = result;
  guess->guessed_ = "STOP " + std::to_string(stop) + (start_ ? "" : ", START " + std::to_string(start));
  return guess;
}

std::vector<std::unique_ptr<Operation>> RangeSum::Guesses(const Datum& result, std::size_t most) const {
  std::vector<std::unique_ptr<Operation>> guesses;
  const auto* wanted = std::get_if<Scalar::Record>(&result);
  if (!linear_ || wanted == nullptr) return guesses;
  const int length = static_cast<int>(linear_->record.samples.length());
  if (length == 0 || (!start_ && length > kMostUnknownStarts)) return guesses;
  const int first = start_ ? std::max(*start_, 0) : 0;
  const int last = start_ ? first : length - 1;

  const Units units = FromRecord(trace_->record.units);
  const bool was_dB = units.is_dB;
  const double linear = LinearOf(wanted->val, units);
  linear_->UpdateValues();
  for (int start = first; start <= last && start < length; ++start) {
    // As SumOf, which would begin anew for each STOP.
    Number<float> sum = linear_->list[static_cast<std::size_t>(start)];
    for (int stop = start; stop < length; ++stop) {
      if (stop > start) sum = Sum(sum, linear_->list[static_cast<std::size_t>(stop)]);
      const Number<float> in_unit = stop > start ? Converted(sum, linear_->list[0].units) : sum;
      if (IsFar(in_unit.value, linear)) continue;
      Scalar whole(Number<double>(static_cast<double>(in_unit.value), in_unit.units, 0, 0));
      if (was_dB) whole.AddDecibels();
      if (!SameBits(Datum(whole.ToRecord()), result)) continue;
      if (guesses.size() == most) return {};
      guesses.push_back(Guess(start, stop, result));
    }
  }
  return guesses;
}

std::uint64_t RangeSum::StateDigest() const {
  std::uint64_t digest = trace_ ? DigestOf(trace_->record) : 0;
  for (const std::optional<int>& index : {start_, stop_})
    digest = Mixed(digest, index ? static_cast<std::uint32_t>(*index) : std::uint64_t{1} << 40);
  return digest;
}

}  // namespace Lumenar::Judge
