// SPDX-License-Identifier: Apache-2.0
#include "platform/wire/any_guard.h"

#include <omniORB4/callDescriptor.h>
#include <omniORB4/callHandle.h>

#include <cstring>
#include <deque>
#include <string>
#include <utility>

#include "platform/wire/sample_wire.h"
#include "platform/wire/whole_message.h"

namespace Corvanta {
namespace {

constexpr char kCallback[] = "DDS_Callback";
constexpr char kPublish[] = "Publish";
constexpr char kGroup[] = "DDS_Group";

constexpr std::uint64_t kAllElse = 4096;  // headers, object key, type code and the fixed part of a record

std::uint64_t BytesOfSamples(const SampleView& sample) {
  return VisitView(sample, [](const auto& record) { return std::uint64_t{Lumenar::SampleBytes(record)}; });
}

/// With all that stands around them.
std::uint64_t BytesOfSamples(const std::vector<SharedSampleView>& samples) {
  std::uint64_t bytes = 0;
  for (const SharedSampleView& shared : samples)
    bytes += BytesOfSamples(shared.sample) + shared.handles.size() * sizeof(CORBA::Long) + kAllElse;
  return bytes;
}

/// Refuses a call whose message would be larger than this process sends.
void RequireSendable(std::uint64_t bytes) {
  if (bytes > omniORB::giopMaxMsgSize()) throw CORBA::IMP_LIMIT(0, CORBA::COMPLETED_NO);
}

/// One whose subscriber failed is taken.
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

/// DDS_Group as it goes out.
class OutgoingGroup : public omniCallDescriptor {
 public:
  explicit OutgoingGroup(const std::vector<SharedSampleView>& samples)
      : omniCallDescriptor(nullptr, kGroup, sizeof kGroup, false, nullptr, 0, false), samples_(samples) {}

  void marshalArguments(cdrStream& stream) override {
    WriteWhole(stream, BytesOfSamples(samples_), [this](cdrStream& to) { WriteGroup(samples_, to); });
  }

  void unmarshalReturnedValues(cdrStream& stream) override { refused_ <<= stream; }

  std::vector<CORBA::Long> Refused() const {
    return std::vector<CORBA::Long>(refused_.get_buffer(), refused_.get_buffer() + refused_.length());
  }

 private:
  const std::vector<SharedSampleView>& samples_;
  HandleSeq refused_;
};

/// DDS_Callback as it goes out.
class OutgoingCallback : public omniCallDescriptor {
 public:
  explicit OutgoingCallback(const SampleView& sample)
      : omniCallDescriptor(&CallHere, kCallback, sizeof kCallback, false, nullptr, 0, false), sample_(sample) {}

  void marshalArguments(cdrStream& stream) override {
    WriteWhole(stream, BytesOfSamples(sample_), [this](cdrStream& to) { WriteSample(sample_, to); });
  }

 private:
  /// The servant is in this process: the call is an ordinary one.
  static void CallHere(omniCallDescriptor* descriptor, omniServant* servant) {
    auto* call = static_cast<OutgoingCallback*>(descriptor);
    auto* subscriber = static_cast<_impl_DDS_Sub*>(servant->_ptrToInterface(DDS_Sub::_PD_repoId));
    CORBA::Any any;
    RecordToAny(call->sample_, any);
    subscriber->DDS_Callback(any);
  }

  const SampleView& sample_;
};

/// Publish as it goes out.
class OutgoingPublish : public omniCallDescriptor {
 public:
  OutgoingPublish(const SampleView& sample, const char* topic)
      : omniCallDescriptor(&CallHere, kPublish, sizeof kPublish, false, nullptr, 0, false),
        sample_(sample),
        topic_(topic) {}

  void marshalArguments(cdrStream& stream) override {
    WriteWhole(stream, BytesOfSamples(sample_), [this](cdrStream& to) {
      WriteSample(sample_, to);
      to.marshalRawString(topic_);
    });
  }

 private:
  static void CallHere(omniCallDescriptor* descriptor, omniServant* servant) {
    auto* call = static_cast<OutgoingPublish*>(descriptor);
    auto* manager = static_cast<_impl_DDS_Manager*>(servant->_ptrToInterface(DDS_Manager::_PD_repoId));
    CORBA::Any any;
    RecordToAny(call->sample_, any);
    manager->Publish(any, call->topic_);
  }

  const SampleView& sample_;
  const char* topic_;
};

}  // namespace

bool DispatchCallback(omniCallHandle& handle, omniServant* servant,
                      const std::function<void(SampleRecord&&)>& deliver) {
  if (std::strcmp(handle.operation_name(), kCallback) != 0) return false;
  IncomingCallback call(handle, deliver);
  handle.upcall(servant, call);
  return true;
}

bool DispatchPublish(omniCallHandle& handle, omniServant* servant,
                     const std::function<void(SampleRecord&&, const char* topic)>& publish) {
  if (std::strcmp(handle.operation_name(), kPublish) != 0) return false;
  IncomingPublish call(publish);
  handle.upcall(servant, call);
  return true;
}

bool DispatchGroup(omniCallHandle& handle, omniServant* servant, const TakeSample& take) {
  if (std::strcmp(handle.operation_name(), kGroup) != 0) return false;
  IncomingGroup call(take);
  handle.upcall(servant, call);
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

void CallCallback(DDS_Sub_ptr subscriber, const SampleView& sample) {
  if (CORBA::is_nil(subscriber)) throw CORBA::INV_OBJREF(0, CORBA::COMPLETED_NO);
  RequireSendable(BytesOfSamples(sample) + kAllElse);
  OutgoingCallback call(sample);
  subscriber->_PR_getobj()->_invoke(call);
}

void CallPublish(DDS_Manager_ptr manager, const SampleView& sample, const char* topic) {
  if (CORBA::is_nil(manager)) throw CORBA::INV_OBJREF(0, CORBA::COMPLETED_NO);
  RequireSendable(BytesOfSamples(sample) + std::strlen(topic) + kAllElse);
  OutgoingPublish call(sample, topic);
  manager->_PR_getobj()->_invoke(call);
}

std::vector<CORBA::Long> CallGroup(DDS_GroupSub_ptr subscriber, const std::vector<SharedSampleView>& samples) {
  if (CORBA::is_nil(subscriber)) throw CORBA::INV_OBJREF(0, CORBA::COMPLETED_NO);
  RequireSendable(BytesOfSamples(samples));
  OutgoingGroup call(samples);
  subscriber->_PR_getobj()->_invoke(call);
  return call.Refused();
}

SampleRecord RecordFromAny(const CORBA::Any& any) {
  SampleRecord found;
  if (!AnyRecordKind([&]<class T>() { return RecordKind<T>::FromAny(any, found.emplace<T>()); }))
    found.emplace<std::monostate>();
  return found;
}

void RecordToAny(const SampleView& sample, CORBA::Any& any) {
  VisitView(sample, [&any]<class T>(const T& record) { RecordKind<T>::IntoAny(record, any); });
}

}  // namespace Corvanta
