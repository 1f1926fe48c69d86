// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/function.hpp>

#include "EngineAttrib.hh"
#include "platform/components/readings/EngineReadingBase_i.h"

namespace Corvanta {

/// An attribute without a value: a client's Set calls the callback and returns when it is done. Nothing is published on
/// its topic. An empty callback means that nothing is done.
/// Threads   any; no lock is held while the callback runs.
class EngineAttribVoid_i : public Lumenar::EngineReadingBase_i {
 public:
  using Callback = boost::function<void()>;

  /// Errors   CORBA system exceptions.
  EngineAttribVoid_i(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration, const char* name,
                     Callback callback);

  /// A new reference, which the caller releases; calls through it raise OBJECT_NOT_EXIST once this is closed.
  EngineAttribVoid_ptr _this() const { return EngineAttribVoid::_duplicate(reference_); }

 private:
  const EngineAttribVoid_var reference_;
};

}  // namespace Corvanta
