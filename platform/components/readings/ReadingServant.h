// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/shared_ptr.hpp>
#include <string>
#include <type_traits>
#include <utility>

#include "EngineReading.hh"
#include "platform/base/InstanceCounter.h"
#include "platform/base/SharedText.h"
#include "platform/components/readings/EngineReadingBase_i.h"
#include "platform/components/readings/PublishedValue.h"
#include "platform/servants/servants.h"
#include "platform/transport/LargeAnswer.h"
#include "platform/wire/any_guard.h"
#include "platform/wire/whole_message.h"

namespace Corvanta {

/// What a reading or attribute says of itself.
struct ItemInfo {
  explicit ItemInfo(const Lumenar::EngineReadingBase_i& item)
      : name(item.GetName()), topic(item.Topic()), type_name(item.Kind().type_name) {}

  std::string name;
  Lumenar::SharedText topic;
  const char* type_name;
};

/// Counts the servants of all readings and attributes together.
class CountedReadingServant : private Lumenar::Counted<CountedReadingServant> {
 public:
  static constexpr const char* kClassName = "ReadingServant";
};

/// The counted part of a reading or attribute, which the ORB calls: what all kinds have in common. Skeleton is the
/// kind's.
template <class Skeleton>
class ReadingServant : public Skeleton, public CountedServant, private CountedReadingServant {
 public:
  explicit ReadingServant(ItemInfo info) : info_(std::move(info)) {}

  char* DDS_Value() override {
    RequireOpen();
    return CORBA::string_dup(info_.topic.c_str());
  }

  char* Name() override {
    RequireOpen();
    return CORBA::string_dup(info_.name.c_str());
  }

  TypeInfo* CORBA_Type() override {
    RequireOpen();
    TypeInfo_var type = new TypeInfo;
    type->name = info_.name.c_str();
    type->type_name = info_.type_name;
    return type._retn();
  }

 protected:
  ~ReadingServant() override = default;

 private:
  const ItemInfo info_;
};

/// The servant of a reading or attribute that has a value: T as its engine sees it, Result as the IDL's Get returns it.
template <class Skeleton, class T, class Result>
class ValueServant : public GuardedServant<ReadingServant<Skeleton>> {
 public:
  using Value = boost::shared_ptr<PublishedValue<T>>;

  ValueServant(ItemInfo info, Value value)
      : GuardedServant<ReadingServant<Skeleton>>(std::move(info)), value_(std::move(value)) {}

  Result Get() override {
    this->RequireOpen();
    if constexpr (std::is_pointer_v<Result>) {
      LargeAnswer::Announce(value_->Bytes());
      return value_->NewCopy();
    } else {
      return value_->Get();
    }
  }

 protected:
  ~ValueServant() override = default;

  /// What a client's Set does once the value is found acceptable: the callback of the attribute is what stores; without
  /// one the value is stored here. No lock is held while the callback runs.
  template <class Callback>
  void Accept(const Callback& callback, const T& value) {
    if (callback) {
      callback(value);
    } else {
      value_->Assign(value);
    }
  }

  /// A trace goes out whole.
  bool TakeCall([[maybe_unused]] IncomingCall& call) override {
    if constexpr (std::is_same_v<Result, BASIC_TRACE::BT_DATA*>) return DispatchGet(call, [this] { return Get(); });
    return false;
  }

  const Value value_;
};

}  // namespace Corvanta
