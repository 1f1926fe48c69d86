// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/function.hpp>
#include <string>
#include <utility>
#include <vector>

#include "EngineAttrib.hh"
#include "platform/components/readings/EngineReadingTemplate.h"

namespace Corvanta {

/// A number of an enum attribute that means something.
struct EngineAttribEnumParamElem {
  EngineAttribEnumParamElem(int element_number, std::string element_name)
      : number(element_number), name(std::move(element_name)) {}

  int number;
  std::string name;
};

/// An attribute whose value is one of some named numbers.
///
/// Any number is accepted from a client, also one without a name. Set calls the callback, which is what stores (and
/// publishes) by assignment; an empty callback means that the value is stored directly. No lock is held meanwhile.
class EngineAttribEnum_i : public EngineReadingTemplate<int, EngineAttribEnum> {
 public:
  using Callback = boost::function<void(const int&)>;

  /// Errors   CORBA system exceptions.
  EngineAttribEnum_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration, const char* name, int initial,
                     Callback callback, const std::vector<EngineAttribEnumParamElem>& elements);

  /// Stores and publishes.
  EngineAttribEnum_i& operator=(int value) {
    value_->Assign(value);
    return *this;
  }

  int Get() const { return value_->Get(); }
};

}  // namespace Corvanta
