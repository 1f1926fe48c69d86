// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <boost/function.hpp>
#include <boost/noncopyable.hpp>
#include <boost/shared_ptr.hpp>

#include "platform/dds/DDS_BaseObj.h"
#include "platform/servants/servants.h"
#include "platform/topics/SubscriberServant.h"

namespace Corvanta {

/// Counts subscribers of all record kinds together.
class CountedSubscriber : private Lumenar::Counted<CountedSubscriber> {
 public:
  static constexpr const char* kClassName = "DDS_Subscriber";
};

/// The subscription of one topic for the lifetime of this object. T is the record kind: BASIC_TRACE::BT_DATA,
/// VALUE_DOUBLE::VALUE or int.
///
/// Each sample is handed to the callback, with the topic's name, on the thread that delivers it; what the callback
/// throws reaches the topic manager, for which the sample is delivered all the same. A sample of another kind is
/// written to standard output and dropped.
///
/// Threads   any. Destruction waits for no callback: one that runs goes on, and a delivery that comes later ends
///           quietly. A callback that refers to its owner is therefore guarded by the owner's UpcallGate.
template <class T>
class DDS_Subscriber : public DDS_BaseObj, private boost::noncopyable, private CountedSubscriber {
 public:
  using Callback = boost::function<void(const char*, T)>;

  /// The callback is a Callback, or anything else that can be called with the topic and a T&&: taken so, a record is
  /// not copied on its way from the wire. Samples may come before this has returned. An empty callback throws
  /// boost::bad_function_call at each delivery. `not_read` is called, in the handler of the exception, for a sample
  /// that could not be read for want of memory.
  /// Errors   CORBA system exceptions of activation and of the manager's Subscribe.
  template <class Function>
  DDS_Subscriber(const char* topic, Function callback, boost::function<void()> not_read = {})
      : servant_(new SubscriberServant<T>(topic, Taker(std::move(callback)), std::move(not_read))) {
    const PortableServer::Servant_var<SubscriberServant<T>> servant(servant_.Counted());
    servant_->SetHandle(DdsBase().Subscribe(topic, servant_.Reference(),
                                            [servant](CORBA::Long handle) mutable { servant->SetHandle(handle); }));
  }

  /// Unsubscribes, once; a manager that is away is ignored. Never throws.
  ~DDS_Subscriber() {
    servant_->Close();  // before the manager is called, so that no delivery begins meanwhile
    DdsBase().Unsubscribe(servant_->Topic().c_str(), servant_.Reference());
  }

  /// A delivery from within the process.
  void DDS_Callback(const CORBA::Any& sample) { servant_->DDS_Callback(sample); }

  /// The handle that the manager's Subscribe returned, or that a manager started again has given since.
  CORBA::Long GetId() const noexcept { return servant_->Handle(); }

  /// The same for who may outlive the subscription.
  boost::shared_ptr<const std::atomic<CORBA::Long>> SharedHandle() const noexcept { return servant_->SharedHandle(); }

 private:
  using Taker = typename SubscriberServant<T>::Taker;

  OwnedServant<DDS_Sub, SubscriberServant<T>> servant_;
};

}  // namespace Corvanta
