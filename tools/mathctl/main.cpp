// SPDX-License-Identifier: Apache-2.0
#include <csignal>

#include "platform/program/local_arguments.h"
#include "tools/mathctl/command.h"

LUMENAR_LOCAL_ARGUMENTS("mathctl")

int main(int argc, char** argv) {
  // A reader that went away, or a file that may not grow, shows as a line that was not written.
  const bool sigpipe_was_ignored = std::signal(SIGPIPE, SIG_IGN) == SIG_IGN;
  std::signal(SIGXFSZ, SIG_IGN);
  Lumenar::Mathctl::Command command;
  int exit_code = 0;
  if (Lumenar::Mathctl::Parse(argc, argv, command, exit_code)) exit_code = Lumenar::Mathctl::Run(command);
  return Lumenar::Mathctl::EndWithReader(exit_code, sigpipe_was_ignored);
}
