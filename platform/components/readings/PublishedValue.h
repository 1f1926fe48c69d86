// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>
#include <exception>
#include <memory>
#include <utility>

#include "platform/base/Mutex.h"
#include "platform/base/SharedText.h"
#include "platform/components/HoldReadings.h"
#include "platform/dds/DDS_BaseObj.h"
#include "platform/records/SampleRecord.h"
#include "platform/topics/DDS_Publisher.h"

namespace Corvanta {

/// The value of a reading or attribute and its publication, shared by the owner and the servant that the ORB calls.
///
/// Threads   any. Readers wait for nothing but the copy of a record, never for a publication.
template <class T>
class PublishedValue : public boost::enable_shared_from_this<PublishedValue<T>> {
 public:
  /// `manager` outlives this.
  PublishedValue(const Lumenar::SharedText& topic, const T& initial, DdsBaseAccess& manager = DdsBaseAccess::Instance())
      : publisher_(topic, manager), value_(initial), hold_(Lumenar::HoldReadings::CreateInstance()) {}

  /// Stores and publishes. A record as long as the last one is copied into the buffer that is there; one that the
  /// caller gives up is not copied, and comes back with the buffer of the last one (ExchangeRecord).
  ///
  /// The lock on the order is held over the publication, a remote call that the time limit of calls bounds:
  /// publications come in the order of the assignments, and each assignment is published.
  void Assign(const T& record) {
    Store([&]() REQUIRES(value_mutex_) { Lumenar::CopyRecord(value_, record); });
  }
  void Assign(T&& record) {
    Store([&]() REQUIRES(value_mutex_) { Lumenar::ExchangeRecord(value_, record); });
  }

  T Get() const {
    T copy{};
    CopyTo(copy);
    return copy;
  }

  /// What `look` says of the value, without a copy of it. Assignments wait for it: it only looks.
  template <class Look>
  auto LookAt(Look look) const {
    Lumenar::Lock lock(value_mutex_);
    return look(value_);
  }

  /// How much memory the samples of the value take.
  std::size_t Bytes() const {
    Lumenar::Lock lock(value_mutex_);
    return Lumenar::SampleBytes(value_);
  }

  /// The value in memory that the caller deletes, as CORBA returns structures of variable length.
  T* NewCopy() const {
    auto copy = std::make_unique<T>();
    CopyTo(*copy);
    return copy.release();
  }

  /// Publishes nothing from now on; assignments are still stored. Waits for nothing.
  void Close() noexcept { closed_ = true; }

 private:
  template <class SetValue>
  void Store(SetValue set_value) {
    Lumenar::Lock in_order(order_);
    {
      Lumenar::Lock lock(value_mutex_);
      set_value();
    }
    PublishUnlessHeld();
  }

  void CopyTo(T& copy) const {
    Lumenar::Lock lock(value_mutex_);
    Lumenar::CopyRecord(copy, value_);
  }

  /// While a held publication waits for its turn, a later assignment takes its place in it: nothing is deferred twice.
  void PublishUnlessHeld() REQUIRES(order_) {
    if (closed_) return;
    held_ = hold_->IsHolding() && (held_ || hold_->Defer(AtTheEndOfTheHold()));
    if (!held_) Publish();
  }

  auto AtTheEndOfTheHold() {
    return [weak = this->weak_from_this()] {
      if (const auto value = weak.lock()) value->PublishHeld();
    };
  }

  void PublishHeld() noexcept {
    Lumenar::Lock in_order(order_);
    if (!held_) return;  // a later assignment has published it already
    held_ = false;
    try {
      PublishUnlessHeld();
    } catch (const std::exception&) {  // another hold stands, and there is no memory to wait for its end
      Publish();
    }
  }

  /// Reads the value without its lock: it changes under both locks only.
  void Publish() REQUIRES(order_) NO_THREAD_SAFETY_ANALYSIS { publisher_.Publish(value_); }

  Lumenar::Mutex order_;
  mutable Lumenar::Mutex value_mutex_;  // a leaf, taken inside order_
  DDS_Publisher<T> publisher_;          // called under order_
  T value_ GUARDED_BY(value_mutex_);
  bool held_ GUARDED_BY(order_) = false;
  const boost::shared_ptr<Lumenar::HoldReadings> hold_;
  std::atomic<bool> closed_{false};
};

}  // namespace Corvanta
