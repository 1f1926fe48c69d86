// SPDX-License-Identifier: Apache-2.0
#include "platform/wire/whole_message.h"

#include <omniORB4/callDescriptor.h>
#include <omniORB4/callHandle.h>
#include <omniORB4/internal/giopStream.h>

#include <cstring>

#include "platform/wire/message_head.h"
#include "platform/wire/record_kinds.h"

namespace Corvanta {
namespace {

/// The ORB can send a message whose size it knows beforehand (in version 1.0 it must), but the member that tells it the
/// size is private. The arguments of an explicit instantiation may name private members, so that is how it is reached.
using SetSize = void (omni::giopStream::*)(CORBA::ULong);
SetSize SizeSetter();
template <SetSize setter>
struct SizeOpener {
  friend SetSize SizeSetter() { return setter; }
};
template struct SizeOpener<&omni::giopStream::outputFragmentSize>;

/// Where the next byte goes.
struct Marker : cdrStream {
  static char* Of(cdrStream& stream) { return static_cast<char*>(stream.*(&Marker::pd_outb_mkr)); }
};

constexpr char kGet[] = "Get";

/// Get of a trace as it comes in.
class IncomingGet final : public omniCallDescriptor {
 public:
  explicit IncomingGet(const std::function<BASIC_TRACE::BT_DATA*()>& get)
      : omniCallDescriptor(&Call, kGet, sizeof kGet, false, nullptr, 0, true), get_(get) {}

  void marshalReturnedValues(cdrStream& stream) override {
    WriteWhole(stream, trace_->samples.length() * std::uint64_t{sizeof(CORBA::Float)},
               [this](cdrStream& to) { RecordKind<BASIC_TRACE::BT_DATA>::Write(trace_.in(), to); });
  }

 private:
  static void Call(omniCallDescriptor* descriptor, omniServant*) {
    auto* call = static_cast<IncomingGet*>(descriptor);
    call->trace_ = call->get_();
  }

  const std::function<BASIC_TRACE::BT_DATA*()>& get_;
  BASIC_TRACE::BT_DATA_var trace_;
};

}  // namespace

void AnnounceSize(cdrStream& stream, const std::function<void(cdrStream&)>& write) {
  omni::giopStream* message = omni::giopStream::downcast(&stream);
  if (message == nullptr || message->version().minor < 2) return;
  const CORBA::ULong written = message->currentOutputPtr() + kMessageHeader;
  if (written > kFitsTheBuffer) return;  // its head may have left already
  cdrCountingStream count(stream.TCS_C(), stream.TCS_W(), written);
  write(count);
  const CORBA::ULong size = count.total() - kMessageHeader;
  if (size > omniORB::giopMaxMsgSize()) throw CORBA::IMP_LIMIT(0, CORBA::COMPLETED_NO);
  (message->*SizeSetter())(size);
  CORBA::ULong* announced =
      reinterpret_cast<CORBA::ULong*>(Marker::Of(stream) - written + 8);  // in the message's header
  *announced = size;
}

bool DispatchGet(IncomingCall& call, const std::function<BASIC_TRACE::BT_DATA*()>& get) {
  if (std::strcmp(call.handle.operation_name(), kGet) != 0) return false;
  IncomingGet incoming(get);
  call.handle.upcall(call.servant, incoming);
  return true;
}

}  // namespace Corvanta
