// SPDX-License-Identifier: Apache-2.0
#include "Common_Math/src/MathValueLong.h"

#include "EngineAttrib.hh"
#include "MathFactory.hh"
#include "platform/base/Diagnostic.h"

namespace Lumenar {
namespace {

int PresentLong(Corvanta::EngineReadingBase_ptr reading) {
  const Corvanta::EngineReadingLong_var number = Corvanta::EngineReadingLong::_narrow(reading);
  if (!CORBA::is_nil(number)) return number->Get();
  const Corvanta::EngineAttribLong_var attribute = Corvanta::EngineAttribLong::_narrow(reading);
  if (!CORBA::is_nil(attribute)) return attribute->Get();
  Diagnose("Common_Math/src/MathValueLong", "MathValue", " Error: could not narrow attrib to long type!");
  throw Corvanta::MathFactory::MathFactoryException("Invalid ::CORBA::Long type");
}

}  // namespace

MathValue<int>::MathValue(const Corvanta::EngineReadingBase_ptr& reading) : value(PresentLong(reading)) {}

}  // namespace Lumenar
