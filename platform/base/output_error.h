// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Lumenar {

/// What the first line that WriteOut could not write met (ENOSPC, EPIPE ...); 0 when every line went out.
/// Threads   any.
int OutputError() noexcept;

/// The exit code of a program that would end with `exit_code` and whose purpose was its output: when a line was lost,
/// says why in one line on standard error and turns a 0 into a 1. A reader that has closed its pipe has read what it
/// wanted, and nothing is said.
int CheckOutput(const char* program, int exit_code);

}  // namespace Lumenar
