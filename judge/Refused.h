// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>

namespace Lumenar::Judge {

/// Why a rule gives no result.
enum class Why {
  NotValid,     ///< the operation has no meaning for these operands, or a unit is malformed
  NotSame,      ///< the dimensions of two units differ
  NotProper,    ///< two operands cannot be added or subtracted
  MissingUnit,  ///< the first operand of a level difference has no unit
  OutOfRange,   ///< a quotient that is not finite
  NotExact,     ///< a whole number that no 32-bit float represents
  Lengths,      ///< a peak of traces of different lengths
  OutsideTrace  ///< a range that ends beyond the trace
};

/// A computation that ends without a result, as the rules want it.
class Refused : public std::exception {
 public:
  explicit Refused(Why why) noexcept : why_(why) {}
  Why Reason() const noexcept { return why_; }

  /// The words by which an engine refuses for this reason.
  const char* what() const noexcept override {
    switch (why_) {
      case Why::NotValid: return "OperationNotValid";
      case Why::NotSame: return "UnitDimensionNotSame";
      case Why::NotProper: return "UnitDimensionNotProper";
      case Why::MissingUnit: return "MissingUnitInFirstParameter";
      case Why::OutOfRange: return "Value is out of range";
      case Why::NotExact: return "conversion limited by bits in dest type representation ";
      case Why::Lengths: return "Doing Peak search: traces are different sizes! ";
      case Why::OutsideTrace: return "BAD_PARAM";
    }
    return "";
  }

 private:
  const Why why_;
};

}  // namespace Lumenar::Judge
