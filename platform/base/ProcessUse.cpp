// SPDX-License-Identifier: Apache-2.0
#include "platform/base/ProcessUse.h"

#include <unistd.h>

#include <ctime>
#include <fstream>

namespace Lumenar {
namespace {

double ProcessorSeconds() {
  std::timespec time{};
  if (clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time) != 0) return 0;
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

std::uint64_t ResidentBytes() {
  std::ifstream pages("/proc/self/statm");
  std::uint64_t all = 0, resident = 0;
  if (!(pages >> all >> resident)) return 0;
  return resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace

ProcessUse UseOfThisProcess() { return {ProcessorSeconds(), ResidentBytes()}; }

}  // namespace Lumenar
