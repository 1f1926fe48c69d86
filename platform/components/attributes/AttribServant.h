// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/function.hpp>
#include <utility>

#include "EngineAttrib.hh"
#include "platform/components/readings/ReadingServant.h"

namespace Corvanta {

/// The servant of an attribute that has a value: what a client's Set does once the value is found acceptable.
template <class Skeleton, class T, class Result>
class AttribServant : public ValueServant<Skeleton, T, Result> {
 public:
  using Base = ValueServant<Skeleton, T, Result>;
  using Callback = boost::function<void(const T&)>;

  AttribServant(ItemInfo info, typename Base::Value value, Callback callback)
      : Base(std::move(info), std::move(value)), callback_(std::move(callback)) {}

 protected:
  ~AttribServant() override = default;

  /// The callback is what stores; without one the value is stored here. No lock is held while it runs.
  void Accept(const T& value) {
    if (callback_) {
      callback_(value);
    } else {
      this->value_->Assign(value);
    }
  }

 private:
  const Callback callback_;
};

}  // namespace Corvanta
