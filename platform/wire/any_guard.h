// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <vector>

#include "DDS.hh"
#include "platform/wire/record_kinds.h"

namespace Corvanta {

/// The any guard: takes an any off the wire without ever building a type code from it, in one block copy of the
/// samples.
///
/// The stock road builds the type code that a message claims, so that one hostile message can take all memory or end
/// the process. The guard reads the type code within fixed bounds (2 KiB, depth 8, 32 members), compares it with the
/// known records, checks every length against what the message holds, and only then copies.
///
/// A servant overrides _dispatch and offers the call to these functions first; they return false, having done nothing,
/// when the operation is another one. A type code or length that lies raises CORBA::MARSHAL or BAD_PARAM at the caller.

/// DDS_Sub::DDS_Callback. `deliver` runs inside the call; what it throws reaches the caller.
bool DispatchCallback(omniCallHandle& handle, omniServant* servant, const std::function<void(SampleRecord&&)>& deliver);

/// DDS_Manager::Publish.
bool DispatchPublish(omniCallHandle& handle, omniServant* servant,
                     const std::function<void(SampleRecord&&, const char* topic)>& publish);

/// Whether the subscriber with this handle took the sample. Only the last one that a sample is for may take over what
/// it needs of it.
using TakeSample = std::function<bool(CORBA::Long handle, SampleRecord& sample, bool last)>;

/// DDS_GroupSub::DDS_Group: `take` is called for each handle in turn; what it throws is the subscriber's own affair,
/// and its sample counts as taken. More than 1024 samples, or handles, are BAD_PARAM.
bool DispatchGroup(omniCallHandle& handle, omniServant* servant, const TakeSample& take);

/// What DDS_Group does with samples that are in memory already (calls within one process).
HandleSeq* TakeGroup(const SharedSampleSeq& samples, const TakeSample& take);

/// The same calls from the client's side, without an any in between: one copy of the samples less.
/// Errors   CORBA system exceptions; CORBA::IMP_LIMIT before the call when the sample is larger than the message limit.
void CallCallback(DDS_Sub_ptr subscriber, const SampleView& sample);
void CallPublish(DDS_Manager_ptr manager, const SampleView& sample, const char* topic);

/// A sample to be sent and the subscriptions that it is for.
struct SharedSampleView {
  SampleView sample;
  std::vector<CORBA::Long> handles;
};

/// The handles whose samples were not taken.
std::vector<CORBA::Long> CallGroup(DDS_GroupSub_ptr subscriber, const std::vector<SharedSampleView>& samples);

/// The records out of and into an any that is in memory already (calls within one process).
SampleRecord RecordFromAny(const CORBA::Any& any);
void RecordToAny(const SampleView& sample, CORBA::Any& any);

}  // namespace Corvanta
