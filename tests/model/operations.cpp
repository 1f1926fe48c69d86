// SPDX-License-Identifier: Apache-2.0
#include "tests/model/operations.h"

namespace Lumenar::Model {
namespace {

/// Runs one of the operations below on the type that both operands have.
template <class Function>
Datum OnBoth(Datum& a, Datum& b, Function function) {
  if (auto* sweep = std::get_if<Sweep>(&a)) return function(*sweep, std::get<Sweep>(b));
  return function(std::get<Quantity>(a), std::get<Quantity>(b));
}

std::optional<Datum> Difference(Object& object) {
  const auto subtract = [](auto& a, auto& b) -> Datum {
    const bool first_was_dB = RemoveDecibels(a);
    const bool second_was_dB = RemoveDecibels(b);
    auto result = a;
    bool done = true;
    try {
      Subtract(result, b);
    } catch (Stop) {
      done = false;
    }
    if (done && first_was_dB) AddDecibels(result);
    if (first_was_dB) AddDecibels(a);
    if (second_was_dB) AddDecibels(b);
    if (!done) throw Stop::Dimension;
    return result;
  };
  try {
    return OnBoth(object.operands[0], object.operands[1], subtract);
  } catch (Stop) {
    return std::nullopt;
  }
}

std::optional<Datum> Relative(Object& object) {
  try {
    return OnBoth(object.operands[0], object.operands[1],
                  [](const auto& a, const auto& b) -> Datum { return RelativeDifference(a, b); });
  } catch (Stop) {
    return std::nullopt;
  }
}

/// Operands: trace, start, stop. Both long inputs write the start.
Datum Sum(Object& object) {
  auto& sweep = std::get<Sweep>(object.operands[0]);
  const bool was_dB = RemoveDecibels(sweep);
  Quantity sum = SumOf(sweep, std::get<int>(object.operands[1]), std::get<int>(object.operands[2]));
  if (was_dB) {
    AddDecibels(sweep);
    AddDecibels(sum);
  }
  return sum;
}

template <class T>
Datum BeginMean(Object& object, T sample, bool was_dB) {
  object.history.push_front(sample);
  if (was_dB) AddDecibels(sample);
  if (object.size == 1) object.full = true;
  return sample;
}

/// The sum is what RESULT says it is. A sample that cannot be added does not come into the history; one whose mean is
/// not finite has come. Of one sample the mean is that sample.
template <class T>
Datum ContinueMean(Object& object, const T& sample, bool was_dB) {
  T sum = std::get<T>(object.result);
  RemoveDecibels(sum);
  Multiply(sum, static_cast<int>(object.history.size()));
  Add(sum, sample);
  object.history.push_front(sample);
  while (static_cast<int>(object.history.size()) > object.size) {
    const T oldest = std::get<T>(object.history.back());
    object.history.pop_back();
    Subtract(sum, oldest);
  }
  const int count = static_cast<int>(object.history.size());
  if (count == 1) {
    sum = sample;
  } else {
    Divide(sum, count);
  }
  if (was_dB) AddDecibels(sum);
  object.full = count >= object.size;
  return sum;
}

template <class T>
Datum Mean(Object& object, T sample) {
  const bool was_dB = RemoveDecibels(sample);
  return object.history.empty() ? BeginMean(object, sample, was_dB) : ContinueMean(object, sample, was_dB);
}

template <class T>
Datum Highest(Object& object, T sample) {
  if (object.first) {
    object.first = false;
    return sample;
  }
  T held = std::get<T>(object.result);
  const bool was_dB = RemoveDecibels(held);
  RemoveDecibels(sample);
  KeepLarger(held, sample);
  if (was_dB) AddDecibels(held);
  return held;
}

/// Means and peaks of one input: a Stop leaves RESULT as it is.
std::optional<Datum> OfOne(Object& object, const Datum& sample) {
  try {
    return std::visit(
        [&](const auto& typed) -> Datum {
          using T = std::decay_t<decltype(typed)>;
          if constexpr (std::is_same_v<T, int>) {
            return typed;
          } else {
            return object.operation == kAverage ? Mean<T>(object, typed) : Highest<T>(object, typed);
          }
        },
        sample);
  } catch (Stop) {
    return std::nullopt;
  }
}

std::optional<Datum> Recomputed(Object& object) {
  switch (object.operation) {
    case kSubtract: return Difference(object);
    case kRelativeSubtract: return Relative(object);
    default: return Sum(object);
  }
}

bool HasOneInput(const Object& object) { return object.operation == kAverage || object.operation == kPeak; }

}  // namespace

void Begin(Object& object, const std::vector<Datum>& values) {
  const bool sweep = object.operation != kCumulativeAdd && std::holds_alternative<Sweep>(values[0]);
  object.result = sweep ? Datum(Sweep{}) : Datum(Quantity{});
  if (!HasOneInput(object)) object.operands = values;
  const auto first = HasOneInput(object) ? OfOne(object, values[0]) : Recomputed(object);
  if (first) object.result = *first;
}

std::optional<Datum> Update(Object& object, std::size_t input, const Datum& sample) {
  if (HasOneInput(object)) return OfOne(object, sample);
  const bool is_stop = object.operation == kCumulativeAdd && input == 2;
  object.operands[is_stop ? 1 : input] = sample;
  return Recomputed(object);
}

std::optional<Datum> ResetOf(Object& object) {
  if (object.operation == kPeak) object.first = true;
  if (object.operation != kAverage) return std::nullopt;
  std::optional<Datum> newest;
  if (!object.history.empty()) newest = object.history.front();
  object.history.clear();
  object.full = false;
  return newest;
}

}  // namespace Lumenar::Model
