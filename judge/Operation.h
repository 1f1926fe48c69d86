// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "BASIC_TRACE.hh"
#include "VALUE_DOUBLE.hh"

namespace Lumenar::Judge {

/// A value that an operation takes or gives.
using Datum = std::variant<CORBA::Long, Corvanta::VALUE_DOUBLE::VALUE, Corvanta::BASIC_TRACE::BT_DATA>;

enum class Kind { Long, Scalar, Trace };

inline Kind KindOf(const Datum& datum) { return static_cast<Kind>(datum.index()); }

/// The operations, by the number that TYPE has for them.
enum class Type { Subtract, RelativeSubtract, Average, Peak, CumulativeAdd };

/// The operation of this name, as a math object tells it.
std::optional<Type> TypeNamed(const std::string& name);

/// Whether an operation takes inputs of these kinds, in this order.
bool Takes(Type type, const std::vector<Kind>& inputs);

/// The limits of SIZE.
inline constexpr int kSmallestSize = 1;
inline constexpr int kLargestSize = 99;

/// How many inputs an operation has.
std::size_t InputsOf(Type type);

/// What an operation does with a sample.
struct Outcome {
  enum Kind {
    Published,  ///< there is a result
    Nothing,    ///< the rules give none; `reason` says why
    Unknown     ///< it depends on something that nobody has told; `reason` says on what
  };
  Kind kind = Nothing;
  std::string reason;
};

/// One math object by the rules: what it publishes for each sample of its inputs.
///
/// An operation may know less than everything of itself: of an object that was at work before one began to look,
/// operands, history and result are unknown until samples or SetResult tell them, and what depends on them is Unknown.
/// What depends on them is no more than the rules say: the mean of the last three samples is known after three.
/// Threads   one at a time.
class Operation {
 public:
  virtual ~Operation() = default;

  /// A new object over inputs with these present values, from which its first result comes.
  /// Errors   Refused where the rules let the creation fail; the kinds must be such as Takes wants.
  static std::unique_ptr<Operation> Created(Type type, const std::vector<Datum>& present);

  /// An object of which nothing is known but what it does, the kind of its (first) input, and SIZE if it is an Average.
  static std::unique_ptr<Operation> AtWork(Type type, Kind kind, std::optional<int> size);

  /// What the values of its inputs and its result tell of such an object, each unless it is unknown.
  struct Present {
    std::vector<std::optional<Datum>> inputs;
    std::optional<Datum> result;
  };

  /// The same object with what its present values tell. They leave some possibilities: how often an operand has gone out
  /// of decibels and back, whether a RESET came last, whether the values are of one moment. All are here, also that
  /// nothing is known.
  static std::vector<std::unique_ptr<Operation>> AtWorkWith(Type type, Kind kind, std::optional<int> size,
                                                            const Present& present);

  virtual std::unique_ptr<Operation> Copy() const = 0;

  /// A sample of the input with this number, of the kind that it has. A result stands in Result() afterwards; after
  /// Unknown, Result() is nothing, and SetResult may tell it.
  virtual Outcome Take(std::size_t input, const Datum& sample) = 0;

  /// RESET of an Average or a Peak; Nothing of the others.
  virtual Outcome Reset() { return {Outcome::Nothing, "it has no RESET"}; }

  /// SIZE of an Average, which counts from the next sample on.
  virtual void SetSize(int /*size*/) {}

  /// SIZE and FULL of an Average.
  virtual std::optional<int> Size() const { return std::nullopt; }
  virtual bool IsFull() const { return false; }

  /// Where the next result depends on numbers that nobody told and only few are possible: copies of this operation, as
  /// it stands after a sample that gave `result`, one for each possibility; none where there are more than `most`.
  virtual std::vector<std::unique_ptr<Operation>> Guesses(const Datum& /*result*/, std::size_t /*most*/) const {
    return {};
  }

  /// The guess, in words; empty when nothing was guessed.
  virtual std::string Guessed() const { return {}; }

  /// RESULT as it stands: the last result, before the first one that of its kind without a number; nothing where it is
  /// unknown.
  const std::optional<Datum>& Result() const { return result_; }

  /// RESULT is this: Average and Peak compute on from it.
  void SetResult(const Datum& result) { result_ = result; }

  /// A number that differs, as good as surely, between operations that will behave differently.
  virtual std::uint64_t StateDigest() const = 0;

 protected:
  Operation() = default;
  Operation(const Operation&) = default;

  Outcome Publish(Datum result) {
    result_ = std::move(result);
    return {Outcome::Published, {}};
  }

  Outcome StayUnknown(std::string reason) {
    result_.reset();
    return {Outcome::Unknown, std::move(reason)};
  }

  std::optional<Datum> result_;
};

/// An operation as a value: a copy computes on for itself.
class OperationValue {
 public:
  explicit OperationValue(std::unique_ptr<Operation> operation) : operation_(std::move(operation)) {}
  OperationValue(const OperationValue& other) : operation_(other.operation_->Copy()) {}
  OperationValue(OperationValue&&) noexcept = default;
  OperationValue& operator=(const OperationValue& other) { return *this = OperationValue(other); }
  OperationValue& operator=(OperationValue&&) noexcept = default;
  ~OperationValue() = default;

  Operation* operator->() { return operation_.get(); }
  const Operation* operator->() const { return operation_.get(); }

 private:
  std::unique_ptr<Operation> operation_;
};

/// Digest of a value's bits, to be mixed with others.
std::uint64_t DigestOf(const Datum& datum);
std::uint64_t Mixed(std::uint64_t digest, std::uint64_t number);

}  // namespace Lumenar::Judge
