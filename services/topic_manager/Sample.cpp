// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/Sample.h"

namespace Lumenar {

std::size_t SampleBytes(const Corvanta::SampleRecord& sample) {
  std::size_t bytes = sizeof(sample);
  if (const auto* trace = std::get_if<Corvanta::BASIC_TRACE::BT_DATA>(&sample)) {
    bytes += trace->samples.length() * sizeof(CORBA::Float);
  }
  return bytes;
}

}  // namespace Lumenar
