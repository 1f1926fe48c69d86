// SPDX-License-Identifier: Apache-2.0
#include "platform/wire/SampleView.h"

namespace Corvanta {

SampleView ViewOf(const SampleRecord& record) {
  struct Viewer {
    SampleView operator()(std::monostate) const { throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO); }
    SampleView operator()(const BASIC_TRACE::BT_DATA& trace) const { return &trace; }
    SampleView operator()(const VALUE_DOUBLE::VALUE& value) const { return &value; }
    SampleView operator()(CORBA::Long number) const { return SampleView(std::in_place_type<CORBA::Long>, number); }
    SampleView operator()(bool truth) const { return SampleView(std::in_place_type<bool>, truth); }
  };
  return std::visit(Viewer{}, record);
}

}  // namespace Corvanta
