#include <csignal>

#include "platform/orb/ORB_wrapper.h"
#include "tools/mathctl/command.h"

namespace {

char kProgram[] = "mathctl";
char kServiceConf[] = "-ORBSvcConf";
char kTransportConf[] = TRANSPORT_CONF;

}  // namespace

extern "C" {
int localargc = 3;
char* localargv[] = {kProgram, kServiceConf, kTransportConf, nullptr};
}

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);  // a reader that went away shows as a failed stream
  Lumenar::Mathctl::Command command;
  int exit_code = 0;
  if (!Lumenar::Mathctl::Parse(argc, argv, command, exit_code)) return exit_code;
  return Lumenar::Mathctl::Run(command);
}
