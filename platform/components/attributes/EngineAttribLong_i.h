// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/function.hpp>

#include "EngineAttrib.hh"
#include "platform/components/readings/EngineReadingTemplate.h"

namespace Corvanta {

/// The limits of a long attribute, both inclusive. Nothing reads the third number.
struct EngineAttribLongParams {
  int lower;
  int upper;
  int third;
};

/// An attribute whose value is a whole number within limits.
///
/// A client's Set outside the limits is refused with LimitsExceeded. Within them it calls the callback, which is what
/// stores (and publishes) by assignment; an empty callback means that the value is stored directly. No lock is held
/// meanwhile.
class EngineAttribLong_i : public EngineReadingTemplate<int, EngineAttribLong> {
 public:
  using Callback = boost::function<void(const int&)>;

  /// Errors   CORBA system exceptions.
  EngineAttribLong_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration, const char* name, int initial,
                     Callback callback, const EngineAttribLongParams& limits);

  /// Stores and publishes; the limits are for clients.
  EngineAttribLong_i& operator=(int value) {
    value_->Assign(value);
    return *this;
  }

  int Get() const { return value_->Get(); }
};

}  // namespace Corvanta
