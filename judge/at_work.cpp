// SPDX-License-Identifier: Apache-2.0
// What present values tell of an object that was at work before.
#include <algorithm>

#include "judge/Average.h"
#include "judge/Operation.h"
#include "judge/Peak.h"
#include "judge/RangeSum.h"
#include "judge/Refused.h"
#include "judge/Scalar.h"
#include "judge/Trace.h"
#include "judge/TwoInputs.h"

namespace Lumenar::Judge {
namespace {

using Possibilities = std::vector<std::unique_ptr<Operation>>;
using Present = Operation::Present;

/// A value goes out of decibels and back without a change after so many times, if ever.
constexpr int kMostComputations = 3;

/// Adds an operation unless one with the same state is there, or the rules refuse to make it.
template <class Make>
void AddPossibility(Possibilities& possibilities, Make make) {
  try {
    std::unique_ptr<Operation> made = make();
    const auto same = [&made](const auto& other) { return other->StateDigest() == made->StateDigest(); };
    if (std::none_of(possibilities.begin(), possibilities.end(), same)) possibilities.push_back(std::move(made));
  } catch (const Refused&) {  // no object was ever made so
  }
}

template <class Record>
std::optional<Record> HeldBy(const std::optional<Datum>& datum) {
  const Record* record = datum ? std::get_if<Record>(&*datum) : nullptr;
  return record == nullptr ? std::nullopt : std::optional<Record>(*record);
}

template <class Record>
std::optional<Record> InputOf(const Present& present, std::size_t input) {
  return input < present.inputs.size() ? HeldBy<Record>(present.inputs[input]) : std::nullopt;
}

template <class V>
void AddTwoInputs(Possibilities& possibilities, Type type, const Present& present) {
  using Record = typename V::Record;
  const auto first = InputOf<Record>(present, 0);
  const auto second = InputOf<Record>(present, 1);
  for (int i = 0; i <= kMostComputations; ++i) {
    for (int j = 0; j <= kMostComputations; ++j) {
      AddPossibility(possibilities, [&] {
        auto operation = std::make_unique<TwoInputs<V>>(type);
        if (first) operation->SetOperand(0, *first, i);
        if (second) operation->SetOperand(1, *second, j);
        return operation;
      });
    }
  }
}

template <class V>
void AddPeaks(Possibilities& possibilities, const Present& present) {
  const auto result = HeldBy<typename V::Record>(present.result);
  for (const bool begins : {false, true}) {
    if (result) AddPossibility(possibilities, [&] { return std::make_unique<Peak<V>>(*result, begins); });
  }
}

template <class V>
void AddAverages(Possibilities& possibilities, std::optional<int> size, const Present& present) {
  if (!HeldBy<typename V::Record>(present.result)) return;
  AddPossibility(possibilities, [&] {
    auto operation = std::make_unique<Average<V>>(size);
    operation->SetResult(*present.result);
    return operation;
  });
}

/// START is what came last of both indices; STOP may be another than the present one.
void AddSums(Possibilities& possibilities, const Present& present) {
  const auto trace = InputOf<Trace::Record>(present, 0);
  const auto start = InputOf<CORBA::Long>(present, 1);
  const auto stop = InputOf<CORBA::Long>(present, 2);
  const std::optional<int> first = start ? std::optional<int>(*start) : std::nullopt;
  const std::optional<int> last = stop ? std::optional<int>(*stop) : std::nullopt;
  for (int i = 0; i <= kMostComputations; ++i) {
    AddPossibility(possibilities, [&] { return std::make_unique<RangeSum>(trace, first, last, i); });
    AddPossibility(possibilities, [&] { return std::make_unique<RangeSum>(trace, first, std::nullopt, i); });
    AddPossibility(possibilities, [&] { return std::make_unique<RangeSum>(trace, last, std::nullopt, i); });
  }
}

template <class V>
void AddOf(Possibilities& possibilities, Type type, std::optional<int> size, const Present& present) {
  if (type == Type::Average) return AddAverages<V>(possibilities, size, present);
  if (type == Type::Peak) return AddPeaks<V>(possibilities, present);
  AddTwoInputs<V>(possibilities, type, present);
}

}  // namespace

Possibilities Operation::AtWorkWith(Type type, Kind kind, std::optional<int> size, const Present& present) {
  Possibilities possibilities;
  if (type == Type::CumulativeAdd) {
    AddSums(possibilities, present);
  } else if (kind == Kind::Trace) {
    AddOf<Trace>(possibilities, type, size, present);
  } else {
    AddOf<Scalar>(possibilities, type, size, present);
  }
  AddPossibility(possibilities, [&] { return AtWork(type, kind, size); });
  return possibilities;
}

}  // namespace Lumenar::Judge
