// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/shared_ptr.hpp>

#include "platform/records/SampleRecord.h"

namespace Lumenar {

/// One published sample, shared by all queues that it waits in.
using SamplePtr = boost::shared_ptr<const Corvanta::SampleRecord>;

}  // namespace Lumenar
