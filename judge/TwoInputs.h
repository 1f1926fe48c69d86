// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <optional>
#include <utility>

#include "judge/Operation.h"
#include "judge/Refused.h"

namespace Lumenar::Judge {

/// An operation of two inputs, of scalars or traces: a sample replaces its operand, the other keeps its last value.
template <class V>
class TwoInputs final : public Operation {
 public:
  using Record = typename V::Record;

  explicit TwoInputs(Type type) : rule_(RuleOf(type)) {}

  /// An operand that the object has; each computation has taken it out of decibels and back.
  /// Errors   Refused NotValid.
  void SetOperand(std::size_t input, const Record& operand, int computations) {
    operands_.at(input).emplace(operand);
    for (int i = 0; i < computations; ++i) ThereAndBack(operands_[input]);
  }

  /// Errors   Refused, unless the rules pass it in silence.
  void Begin(const Record& first, const Record& second) {
    result_ = Record{};
    operands_[0].emplace(first);
    operands_[1].emplace(second);
    try {
      Compute();
    } catch (const Refused& refused) {
      if (!IsSilent(refused.Reason())) throw;
    }
  }

  std::unique_ptr<Operation> Copy() const override { return std::make_unique<TwoInputs>(*this); }

  Outcome Take(std::size_t input, const Datum& sample) override {
    try {
      operands_.at(input).emplace(V(std::get<Record>(sample)));
      return Compute();
    } catch (const Refused& refused) {
      return {Outcome::Nothing, refused.what()};
    }
  }

  std::uint64_t StateDigest() const override {
    std::uint64_t digest = 0;
    for (const auto& operand : operands_) digest = Mixed(digest, operand ? DigestOf(operand->ToRecord()) : 0);
    return digest;
  }

 private:
  /// What tells one operation from another.
  struct Rule {
    void (V::*combine)(const V& second);  ///< on the first
    bool linear_operands;   ///< operands in decibels are made linear for it, and the result goes into them as the first
    bool units_are_silent;  ///< an engine says nothing either about units with which the operation makes no sense
  };

  static Rule RuleOf(Type type) {
    switch (type) {
      case Type::RelativeSubtract: return {&V::SubtractLevels, false, true};
      default: return {&V::Subtract, true, false};
    }
  }

  /// Refusals about which an engine says nothing.
  bool IsSilent(Why why) const {
    if (why == Why::NotSame || why == Why::NotProper) return true;
    return rule_.units_are_silent && (why == Why::MissingUnit || why == Why::NotValid);
  }

  Outcome Compute() {
    if (operands_[0] && operands_[1]) return rule_.linear_operands ? ComputeLinear() : ComputeAsTheyStand();
    for (auto& operand : operands_) ThereAndBack(operand);
    return StayUnknown(operands_[0] ? "the second operand" : "the first operand");
  }

  void ThereAndBack(std::optional<V>& operand) const {
    if (operand && rule_.linear_operands) const OutOfDecibels there_and_back(*operand);
  }

  Outcome ComputeAsTheyStand() {
    V result(*operands_[0]);
    (result.*rule_.combine)(*operands_[1]);
    return Publish(result.ToRecord());
  }

  /// Both operands are made linear, combined, and go back into decibels whatever happens; each way may change their
  /// last bits, and the next computation goes on from there. The result is in decibels when the first operand was.
  Outcome ComputeLinear() {
    const OutOfDecibels first(*operands_[0]);
    const OutOfDecibels second(*operands_[1]);
    V result(*operands_[0]);
    (result.*rule_.combine)(*operands_[1]);
    if (first.WasIn()) result.AddDecibels();
    return Publish(result.ToRecord());
  }

  class OutOfDecibels {
   public:
    explicit OutOfDecibels(V& operand) : operand_(operand), was_in_(operand.RemoveDecibels()) {}
    ~OutOfDecibels() {
      if (was_in_) operand_.AddDecibels();
      operand_.ForgetValues();  // the errors of operands reach no result
    }
    OutOfDecibels(const OutOfDecibels&) = delete;
    OutOfDecibels& operator=(const OutOfDecibels&) = delete;
    bool WasIn() const { return was_in_; }

   private:
    V& operand_;
    const bool was_in_;
  };

  const Rule rule_;
  std::array<std::optional<V>, 2> operands_;
};

}  // namespace Lumenar::Judge
