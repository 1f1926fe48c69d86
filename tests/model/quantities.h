// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <variant>
#include <vector>

#include "platform/units/Units.h"

/// What the math should compute, written once more and as plainly as can be: one number after the other, no kernels, no
/// records, nothing of the engine's. Of units it knows what the model check uses: one factor, prefix milli or none, dB
/// or not.
namespace Lumenar::Model {

using Value::Units;

/// A scalar. Errors of which one is NaN are both NaN: which of the two it is, is nobody's business.
struct Quantity {
  double value = 0;
  double minus = 0;
  double plus = 0;
  Units units;
};

/// A trace; `mark` travels with it from the sample that it began with.
struct Sweep {
  std::vector<float> samples;
  Units units;
  unsigned mark = 0;
};

using Datum = std::variant<int, Quantity, Sweep>;

/// Why a computation ends without a result.
enum class Stop { Dimension, NotValid, MissingUnit, OutOfRange, Length };

// Out of decibels and back. RemoveDecibels says whether there was anything to do.
bool RemoveDecibels(Quantity& quantity);
bool RemoveDecibels(Sweep& sweep);
void AddDecibels(Quantity& quantity);
void AddDecibels(Sweep& sweep);

// Errors   a Stop is thrown, by all that follow.

/// a + b, a - b in a's unit. Sweeps of other lengths leave a as it is.
void Add(Quantity& a, const Quantity& b);
void Add(Sweep& a, const Sweep& b);
void Subtract(Quantity& a, const Quantity& b);
void Subtract(Sweep& a, const Sweep& b);

void Multiply(Quantity& a, int factor);
void Multiply(Sweep& a, int factor);
void Divide(Quantity& a, int divisor);
void Divide(Sweep& a, int divisor);

Quantity RelativeDifference(Quantity a, const Quantity& b);
Sweep RelativeDifference(Sweep a, const Sweep& b);

/// The larger of two linear ones; a where they are equal.
void KeepLarger(Quantity& a, const Quantity& b);
void KeepLarger(Sweep& a, const Sweep& b);

/// The sum of samples `from` to `to`; of one sample, that sample; 0 without unit where there are none.
Quantity SumOf(const Sweep& sweep, int from, int to);

}  // namespace Lumenar::Model
