// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>

namespace Lumenar::Value {

/// What the value library throws. The classes carry no message; what() is the class name.
class Value_exception : public std::exception {};

/// The operation has no meaning for these operands, or a unit is malformed.
class OperationNotValid : public Value_exception {
 public:
  const char* what() const noexcept override { return "OperationNotValid"; }
};

/// The dimensions of two units differ.
class UnitDimensionNotSame : public Value_exception {
 public:
  const char* what() const noexcept override { return "UnitDimensionNotSame"; }
};

/// Two operands cannot be added or subtracted. Derives from UnitDimensionNotSame, so that whoever lets a dimension
/// mismatch pass lets both pass.
class UnitDimensionNotProper : public UnitDimensionNotSame {
 public:
  const char* what() const noexcept override { return "UnitDimensionNotProper"; }
};

/// A relative subtraction whose first operand has no unit.
class MissingUnitInFirstParameter : public Value_exception {
 public:
  const char* what() const noexcept override { return "MissingUnitInFirstParameter"; }
};

}  // namespace Lumenar::Value
