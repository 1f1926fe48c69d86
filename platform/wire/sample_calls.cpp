// SPDX-License-Identifier: Apache-2.0
#include "platform/wire/sample_calls.h"

#include <omniORB4/callDescriptor.h>

#include <cstdint>
#include <cstring>

#include "platform/records/SampleRecord.h"
#include "platform/wire/sample_any.h"
#include "platform/wire/sample_wire.h"
#include "platform/wire/whole_message.h"

namespace Corvanta {
namespace {

constexpr char kCallbackOut[] = "DDS_Callback";
constexpr char kPublishOut[] = "Publish";
constexpr char kGroupOut[] = "DDS_Group";

constexpr std::uint64_t kAllElse = 4096;  // headers, object key, type code and the fixed part of a record

std::uint64_t BytesOfSamples(const SampleView& sample) {
  return VisitView(sample, [](const auto& record) { return std::uint64_t{Lumenar::SampleBytes(record)}; });
}

/// Of a whole group, with what stands around the samples in the message.
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

/// DDS_Group as it goes out.
class OutgoingGroup : public omniCallDescriptor {
 public:
  explicit OutgoingGroup(const std::vector<SharedSampleView>& samples)
      : omniCallDescriptor(nullptr, kGroupOut, sizeof kGroupOut, false, nullptr, 0, false), samples_(samples) {}

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
      : omniCallDescriptor(&CallHere, kCallbackOut, sizeof kCallbackOut, false, nullptr, 0, false), sample_(sample) {}

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
      : omniCallDescriptor(&CallHere, kPublishOut, sizeof kPublishOut, false, nullptr, 0, false),
        sample_(sample),
        topic_(topic) {}

  void marshalArguments(cdrStream& stream) override {
    WriteWhole(stream, BytesOfSamples(sample_), [this](cdrStream& to) {
      WriteSample(sample_, to);
      WriteTopic(topic_, to);
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

}  // namespace Corvanta
