// SPDX-License-Identifier: Apache-2.0
// An engine for tests: orb_test_engine NAME [run|hold]. It takes an instance of NAME and writes "is NAME/n"; then it
// runs ("run") or holds its requests back for ever, as an engine does that still starts ("hold").
#include <chrono>
#include <string>
#include <thread>

#include "platform/base/Diagnostic.h"
#include "platform/orb/ORB_wrapper.h"
#include "platform/program/program.h"
#include "platform/signals/Signals.h"

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  return Lumenar::RunProgram("orb_test_engine", [&] {
    Corvanta::ORB_wrapper orb(argv[1], "Lumenar/local");
    Lumenar::WriteOut("is " + orb.EngineName());
    while (argv[2] == std::string("hold")) {
      Lumenar::Signals::ThrowIfPending();
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    orb.Run();
    return 0;
  });
}
