// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include "DDS.hh"
#include "platform/records/SampleRecord.h"

namespace Corvanta {

/// A call that has come in and whose arguments have not been read yet.
struct IncomingCall {
  omniCallHandle& handle;
  omniServant* servant;  ///< that it is for
};

/// A servant that reads some of its calls by functions of ours in place of the generated code.
/// Skeleton is the generated class, or one of ours derived from it.
template <class Skeleton>
class GuardedServant : public Skeleton {
 public:
  using Skeleton::Skeleton;

  CORBA::Boolean _dispatch(omniCallHandle& handle) override {
    IncomingCall call{handle, this};
    return TakeCall(call) || Skeleton::_dispatch(handle);
  }

 protected:
  ~GuardedServant() override = default;

  /// Offered each call before the generated code. Returns false, having read nothing, for a call that it leaves to that
  /// code.
  virtual bool TakeCall(IncomingCall& call) = 0;
};

/// The any guard: takes an any off the wire without ever building a type code from it, in one block copy of the
/// samples.
///
/// The stock road builds the type code that a message claims, so that one hostile message can take all memory or end
/// the process. The guard reads the type code within fixed limits (2 KiB, 32 members of a struct, 8 names for one
/// type), compares it with those of the known records member by member and no deeper than they are, checks every
/// length against what the message holds, and only then copies.
///
/// A GuardedServant offers its calls to these functions; they return false, having done nothing, when the operation is
/// another one. A type code or length that lies raises CORBA::MARSHAL or BAD_PARAM at the caller.

/// DDS_Sub::DDS_Callback. `deliver` runs inside the call; what it throws reaches the caller.
bool DispatchCallback(IncomingCall& call, const std::function<void(SampleRecord&&)>& deliver);

/// DDS_Manager::Publish.
bool DispatchPublish(IncomingCall& call, const std::function<void(SampleRecord&&, const char* topic)>& publish);

/// Whether the subscriber with this handle took the sample. Only the last one that a sample is for may take over what
/// it needs of it.
using TakeSample = std::function<bool(CORBA::Long handle, SampleRecord& sample, bool last)>;

/// DDS_GroupSub::DDS_Group: `take` is called for each handle in turn; what it throws is the subscriber's own affair,
/// and its sample counts as taken. More than 1024 samples, or handles, are BAD_PARAM.
bool DispatchGroup(IncomingCall& call, const TakeSample& take);

/// What DDS_Group does with samples that are in memory already (calls within one process).
HandleSeq* TakeGroup(const SharedSampleSeq& samples, const TakeSample& take);

}  // namespace Corvanta
