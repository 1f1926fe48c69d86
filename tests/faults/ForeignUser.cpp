// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/ForeignUser.h"

#include <sys/wait.h>
#include <unistd.h>

namespace Lumenar::Test::ForeignUser {

std::string Obstacle(const std::string& program) {
  if (geteuid() != 0) return "only root can start processes of another user";
  const pid_t child = fork();
  if (child == 0) _exit(setgid(kId) == 0 && setuid(kId) == 0 && access(program.c_str(), R_OK | X_OK) == 0 ? 0 : 1);
  int status = 0;
  waitpid(child, &status, 0);
  return status == 0 ? std::string() : program + " is not readable for other users";
}

std::vector<std::string> Run(std::vector<std::string> command) {
  const std::string id = std::to_string(kId);
  std::vector<std::string> whole{"setpriv",        "--reuid=" + id,    "--regid=" + id,
                                 "--clear-groups", "--pdeathsig=KILL", "--"};
  whole.insert(whole.end(), command.begin(), command.end());
  return whole;
}

}  // namespace Lumenar::Test::ForeignUser
