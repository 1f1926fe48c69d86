// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "DDS.hh"
#include "platform/wire/sample_wire.h"

namespace Corvanta {

/// The calls that carry samples, from the client's side and without an any in between: one copy of the samples less.
/// Errors   CORBA system exceptions; CORBA::IMP_LIMIT before the call when the sample is larger than the message limit.
void CallCallback(DDS_Sub_ptr subscriber, const SampleView& sample);
void CallPublish(DDS_Manager_ptr manager, const SampleView& sample, const char* topic);

/// The handles whose samples were not taken.
std::vector<CORBA::Long> CallGroup(DDS_GroupSub_ptr subscriber, const std::vector<SharedSampleView>& samples);

}  // namespace Corvanta
