// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <chrono>

namespace Lumenar::Test {

/// What the system knows of a running process. Errors   std::runtime_error when it is gone.
long AddressSpace_kB(pid_t pid);
long ResidentMemory_kB(pid_t pid);
long PeakMemory_kB(pid_t pid);  ///< the most that was resident since ForgetPeakMemory
void ForgetPeakMemory(pid_t pid);
int CountThreads(pid_t pid);
int CountDescriptors(pid_t pid);
long CountWakings(pid_t pid);  ///< of its threads that live: how often one had waited for something
std::chrono::milliseconds ProcessorTime(pid_t pid);

}  // namespace Lumenar::Test
