// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "platform/wire/record_kinds.h"

namespace Corvanta {

/// A sample to be sent and the subscriptions that it is for.
struct SharedSampleView {
  SampleView sample;
  std::vector<CORBA::Long> handles;
};

}  // namespace Corvanta
