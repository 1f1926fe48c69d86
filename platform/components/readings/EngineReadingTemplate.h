// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/make_shared.hpp>

#include "platform/components/readings/EngineReadingBase_i.h"
#include "platform/components/readings/PublishedValue.h"

namespace Corvanta {

/// A reading or attribute with a value of type T: the owner's side, which stores and publishes.
template <class T>
class EngineReadingTemplate : public Lumenar::EngineReadingBase_i {
 protected:
  EngineReadingTemplate(ItemNamer& namer, const char* name, const T& initial)
      : EngineReadingBase_i(namer, name), value_(boost::make_shared<PublishedValue<T>>(GetDDS_Topic(), initial)) {}

  ~EngineReadingTemplate() override { value_->Close(); }

  const boost::shared_ptr<PublishedValue<T>> value_;  // shared with the servant
};

}  // namespace Corvanta
