// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/make_shared.hpp>

#include "platform/components/readings/EngineReadingBase_i.h"
#include "platform/components/readings/PublishedValue.h"

namespace Corvanta {

/// A reading or attribute with a value of type T: the owner's side, which stores and publishes.
template <class T>
class EngineReadingTemplate : public Lumenar::EngineReadingBase_i {
 public:
  /// Ends what others see of this, without waiting; assignments are still stored. The destructor does it too.
  void Close() noexcept {
    value_->Close();
    EngineReadingBase_i::Close();
  }

 protected:
  EngineReadingTemplate(ItemNamer& namer, Lumenar::GUI_AbleRegistration& registration, const char* name,
                        const ItemKind& kind, const T& initial)
      : EngineReadingBase_i(namer, registration, name, kind),
        value_(boost::make_shared<PublishedValue<T>>(GetDDS_Topic(), initial)) {}

  ~EngineReadingTemplate() override { Close(); }

  const boost::shared_ptr<PublishedValue<T>> value_;  // shared with the servant
};

}  // namespace Corvanta
