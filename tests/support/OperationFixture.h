// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/MathFixture.h"

namespace Lumenar::Test {

/// Inputs of every kind, and the items of Average and Peak.
class OperationFixture : public MathFixture {
 protected:
  ScalarInput scalar_{namer_, registration_, ScalarOf(1)};
  ScalarInput other_scalar_{namer_, registration_, ScalarOf(1)};
  TraceInput trace_{namer_, registration_, TraceOf({1})};
  TraceInput other_trace_{namer_, registration_, TraceOf({1})};
  LongInput start_{namer_, registration_, 0};
  LongInput stop_{namer_, registration_, 0};

  bool Full(Corvanta::MathFactory::Math_ptr math) {
    const Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math);
    const Corvanta::EngineReadingBoolean_var full = average->AttrFull();
    return full->Get();
  }

  void SetSize(Corvanta::MathFactory::Math_ptr math, int size) {
    const Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math);
    const Corvanta::EngineAttribLong_var attribute = average->AttrSize();
    attribute->Set(size);
  }

  template <class Object>
  void Reset(Corvanta::MathFactory::Math_ptr math) {
    const typename Object::_var_type object = Object::_narrow(math);
    const Corvanta::EngineAttribVoid_var reset = object->AttrReset();
    reset->Set();
  }
};

}  // namespace Lumenar::Test
