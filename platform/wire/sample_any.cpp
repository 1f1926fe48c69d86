// SPDX-License-Identifier: Apache-2.0
#include "platform/wire/sample_any.h"

namespace Corvanta {

SampleRecord RecordFromAny(const CORBA::Any& any) {
  const BASIC_TRACE::BT_DATA* trace = nullptr;
  if (any >>= trace) return *trace;
  const VALUE_DOUBLE::VALUE* value = nullptr;
  if (any >>= value) return *value;
  CORBA::Long number = 0;
  if (any >>= number) return SampleRecord(std::in_place_type<CORBA::Long>, number);
  CORBA::Boolean truth = false;
  if (any >>= CORBA::Any::to_boolean(truth)) return SampleRecord(std::in_place_type<bool>, truth);
  return {};
}

void RecordToAny(const SampleView& sample, CORBA::Any& any) {
  struct Inserter {
    CORBA::Any& any;
    void operator()(const BASIC_TRACE::BT_DATA* trace) const { any <<= *trace; }
    void operator()(const VALUE_DOUBLE::VALUE* value) const { any <<= *value; }
    void operator()(CORBA::Long number) const { any <<= number; }
    void operator()(bool truth) const { any <<= CORBA::Any::from_boolean(truth); }
  };
  std::visit(Inserter{any}, sample);
}

}  // namespace Corvanta
