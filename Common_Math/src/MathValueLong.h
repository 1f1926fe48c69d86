// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Common_Math/src/MathValue.h"
#include "EngineReading.hh"

namespace Lumenar {

/// A long integer input: an index.
template <>
class MathValue<int> {
 public:
  /// The present value of a long reading or a long attribute.
  /// Errors   a diagnostic line and MathFactoryException; CORBA system exceptions.
  explicit MathValue(const Corvanta::EngineReadingBase_ptr& reading);
  explicit MathValue(int number) : value(number) {}
  virtual ~MathValue() = default;
  MathValue(const MathValue&) = default;
  MathValue& operator=(const MathValue&) = default;

  int value = 0;
};

}  // namespace Lumenar
