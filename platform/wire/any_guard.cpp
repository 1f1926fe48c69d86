// SPDX-License-Identifier: Apache-2.0
#include "platform/wire/any_guard.h"

#include <omniORB4/callDescriptor.h>
#include <omniORB4/callHandle.h>

#include <cstring>
#include <deque>
#include <string>
#include <utility>

#include "platform/wire/sample_any.h"
#include "platform/wire/sample_wire.h"

namespace Corvanta {
namespace {

constexpr char kCallback[] = "DDS_Callback";
constexpr char kPublish[] = "Publish";
constexpr char kGroup[] = "DDS_Group";

/// Whether the subscriber took the sample; one that failed with it has had it.
bool IsTaken(const TakeSample& take, CORBA::Long handle, SampleRecord& sample, bool last) {
  try {
    return take(handle, sample, last);
  } catch (...) {
    return true;
  }
}

/// Hands a sample to each of `handles`; those that did not take it go to `refused`.
void HandOut(SampleRecord& sample, const HandleSeq& handles, const TakeSample& take, HandleSeq& refused) {
  const CORBA::ULong count = handles.length();
  for (CORBA::ULong i = 0; i < count; ++i) {
    if (IsTaken(take, handles[i], sample, i + 1 == count)) continue;
    refused.length(refused.length() + 1);
    refused[refused.length() - 1] = handles[i];
  }
}

/// DDS_Callback as it comes in.
class IncomingCallback : public omniCallDescriptor {
 public:
  IncomingCallback(omniCallHandle& handle, const std::function<void(SampleRecord&&)>& deliver)
      : omniCallDescriptor(&Deliver, kCallback, sizeof kCallback, false, nullptr, 0, true),
        handle_(handle),
        deliver_(deliver) {}

  void unmarshalArguments(cdrStream& stream) override {
    ReadSample(stream, record_);
    if (std::holds_alternative<std::monostate>(record_)) handle_.SkipRequestBody();  // the any is the last argument
  }

 private:
  static void Deliver(omniCallDescriptor* descriptor, omniServant*) {
    auto* call = static_cast<IncomingCallback*>(descriptor);
    call->deliver_(std::move(call->record_));
  }

  omniCallHandle& handle_;
  const std::function<void(SampleRecord&&)>& deliver_;
  SampleRecord record_;
};

/// Publish as it comes in. Behind an any of another type the topic cannot be found, so that is refused here.
class IncomingPublish : public omniCallDescriptor {
 public:
  explicit IncomingPublish(const std::function<void(SampleRecord&&, const char*)>& publish)
      : omniCallDescriptor(&Deliver, kPublish, sizeof kPublish, false, nullptr, 0, true), publish_(publish) {}

  void unmarshalArguments(cdrStream& stream) override {
    ReadSample(stream, record_);
    if (std::holds_alternative<std::monostate>(record_)) throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    topic_ = ReadTopic(stream);
  }

 private:
  static void Deliver(omniCallDescriptor* descriptor, omniServant*) {
    auto* call = static_cast<IncomingPublish*>(descriptor);
    call->publish_(std::move(call->record_), call->topic_.c_str());
  }

  const std::function<void(SampleRecord&&, const char*)>& publish_;
  SampleRecord record_;
  std::string topic_;
};

/// DDS_Group as it comes in.
class IncomingGroup : public omniCallDescriptor {
 public:
  explicit IncomingGroup(const TakeSample& take)
      : omniCallDescriptor(&Deliver, kGroup, sizeof kGroup, false, nullptr, 0, true), take_(take) {}

  void unmarshalArguments(cdrStream& stream) override {
    samples_ = ReadGroup(stream);
    CORBA::ULong handles = 0;
    for (const SharedRecord& shared : samples_) handles += shared.handles.length();
    refused_ = HandleSeq(handles);  // room for all: nothing fails once a subscriber has its sample
  }

  void marshalReturnedValues(cdrStream& stream) override { refused_ >>= stream; }

 private:
  static void Deliver(omniCallDescriptor* descriptor, omniServant*) {
    auto* call = static_cast<IncomingGroup*>(descriptor);
    for (SharedRecord& shared : call->samples_) HandOut(shared.record, shared.handles, call->take_, call->refused_);
  }

  const TakeSample& take_;
  std::deque<SharedRecord> samples_;
  HandleSeq refused_;
};

}  // namespace

bool DispatchCallback(IncomingCall& call, const std::function<void(SampleRecord&&)>& deliver) {
  if (std::strcmp(call.handle.operation_name(), kCallback) != 0) return false;
  IncomingCallback callback(call.handle, deliver);
  call.handle.upcall(call.servant, callback);
  return true;
}

bool DispatchPublish(IncomingCall& call, const std::function<void(SampleRecord&&, const char* topic)>& publish) {
  if (std::strcmp(call.handle.operation_name(), kPublish) != 0) return false;
  IncomingPublish publication(publish);
  call.handle.upcall(call.servant, publication);
  return true;
}

bool DispatchGroup(IncomingCall& call, const TakeSample& take) {
  if (std::strcmp(call.handle.operation_name(), kGroup) != 0) return false;
  IncomingGroup group(take);
  call.handle.upcall(call.servant, group);
  return true;
}

HandleSeq* TakeGroup(const SharedSampleSeq& samples, const TakeSample& take) {
  HandleSeq_var refused = new HandleSeq;
  for (CORBA::ULong i = 0; i < samples.length(); ++i) {
    SampleRecord record = RecordFromAny(samples[i].sample);
    HandOut(record, samples[i].handles, take, refused.inout());
  }
  return refused._retn();
}

}  // namespace Corvanta
