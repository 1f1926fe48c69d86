// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Lumenar {

/// Keeps the memory of traces that were freed for the next ones: giving it back to the system and faulting it in again
/// makes the time of a sample jump between two values. Two processors share a heap: each heap keeps as much as its
/// busiest moment needed, and a place that a trace left in one stays free while a thread works in another. With eight
/// heaps a processor, as is usual, a process would grow for hours until each has had its busiest moment. For programs
/// through which traces pass; called before they start threads.
void KeepTraceMemory() noexcept;

/// Gives memory that is free back to the system all the same: for the moment after much of it was freed for good.
void GiveBackMemory() noexcept;

}  // namespace Lumenar
