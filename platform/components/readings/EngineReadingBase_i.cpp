// SPDX-License-Identifier: Apache-2.0
#include "platform/components/readings/EngineReadingBase_i.h"

namespace Lumenar {

EngineReadingBase_i::EngineReadingBase_i(Corvanta::ItemNamer& namer, const char* name)
    : name_(namer.Add(name)), topic_(namer.DDS_Topic(name_)) {}

}  // namespace Lumenar
