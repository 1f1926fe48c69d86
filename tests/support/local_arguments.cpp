// SPDX-License-Identifier: Apache-2.0
// The argument list for the ORB of a test: its addresses come from the environment.

namespace {
char program[] = "test";
}

extern "C" {
int localargc = 1;
char* localargv[] = {program, nullptr};
}
