// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <boost/function.hpp>
#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <string>
#include <utility>
#include <variant>

#include "platform/base/Diagnostic.h"
#include "platform/base/InstanceCounter.h"
#include "platform/dds/GroupSubscriber.h"
#include "platform/servants/servants.h"
#include "platform/topics/FillVal.h"

namespace Corvanta {

/// Counts subscriber servants of all record kinds together.
class CountedSubscriberServant : private Lumenar::Counted<CountedSubscriberServant> {
 public:
  static constexpr const char* kClassName = "SubscriberServant";
};

/// The counted part of a DDS_Subscriber, which the ORB calls.
/// Threads   any; deliveries that arrive together run together.
template <class T>
class SubscriberServant : public GroupSubscriber, public CountedServant, private CountedSubscriberServant {
 public:
  /// May take over what it needs of the record: nobody looks at it afterwards.
  using Taker = boost::function<void(const char*, T&&)>;

  /// `not_read` may be empty; see DDS_Subscriber.
  SubscriberServant(const char* topic, Taker callback, boost::function<void()> not_read = {})
      : topic_(topic), callback_(std::move(callback)), not_read_(std::move(not_read)) {}

  const std::string& Topic() const noexcept { return topic_; }
  CORBA::Long Handle() const noexcept { return *handle_; }
  boost::shared_ptr<const std::atomic<CORBA::Long>> SharedHandle() const noexcept { return handle_; }
  void SetHandle(CORBA::Long handle) noexcept {
    *handle_ = handle;
    JoinGroup(handle);
  }
  void Close() noexcept {
    CountedServant::Close();
    LeaveGroup();
  }

  CORBA::Long GetId() override {
    RequireOpen();
    return *handle_;
  }

  /// A sample in an any that is in memory already.
  void DDS_Callback(const CORBA::Any& any) override {
    if (IsClosed()) return;
    T record{};
    Deliver(FillVal<T>(record, any) ? &record : nullptr);
  }

 protected:
  ~SubscriberServant() override = default;

  /// Deliveries off the wire.
  void Take(SampleRecord&& sample) override {
    if (!IsClosed()) Deliver(std::get_if<StoredRecord<T>>(&sample));
  }

  void NotRead() noexcept override {
    try {
      if (!IsClosed() && not_read_) not_read_();
    } catch (...) {  // no memory for that either
    }
  }

 private:
  /// `record` is null for a sample of another kind. An empty callback throws boost::bad_function_call.
  template <class Record>
  void Deliver(Record* record) {
    if (record == nullptr) {
      WriteUnfit();
    } else {
      callback_(topic_.c_str(), std::move(*record));
    }
  }

  /// Both lines in one write, so that those of other threads do not come between.
  void WriteUnfit() const {
    const std::string signature =
        std::string("void Corvanta::DDS_Subscriber<T>::DDS_Callback(const CORBA::Any&) [with T = ") +
        RecordKind<StoredRecord<T>>::kName + "]";
    Lumenar::WriteOut(signature + " error filling message \ntopic is " + topic_);
  }

  const std::string topic_;
  const Taker callback_;
  const boost::function<void()> not_read_;
  // 0 at first: a first delivery may come before Subscribe has returned
  const boost::shared_ptr<std::atomic<CORBA::Long>> handle_ = boost::make_shared<std::atomic<CORBA::Long>>(0);
};

}  // namespace Corvanta
