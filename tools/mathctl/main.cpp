#include <csignal>

#include "platform/orb/local_arguments.h"
#include "tools/mathctl/command.h"

LUMENAR_LOCAL_ARGUMENTS("mathctl")

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);  // a reader that went away shows as a failed stream
  Lumenar::Mathctl::Command command;
  int exit_code = 0;
  if (!Lumenar::Mathctl::Parse(argc, argv, command, exit_code)) return exit_code;
  return Lumenar::Mathctl::Run(command);
}
