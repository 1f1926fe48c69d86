// An engine for tests: orb_test_engine NAME [run|hold]. It takes an instance of NAME and writes "is NAME/n"; then it runs
// ("run") or holds its requests back for ever, as an engine does that still starts ("hold").
#include <chrono>
#include <string>
#include <thread>

#include "platform/base/Diagnostic.h"
#include "platform/orb/ORB_wrapper.h"
#include "platform/orb/program.h"
#include "platform/signals/Signals.h"

namespace {

void Serve(const std::string& name, bool holds) {
  try {
    Corvanta::ORB_wrapper orb(name.c_str(), "Lumenar/local");
    Lumenar::WriteOut("is " + orb.EngineName());
    while (holds) {
      Lumenar::Signals::ThrowIfPending();
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    orb.Run();
  } catch (const Signal_Exception&) {  // the way to end it
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  return Lumenar::RunProgram("orb_test_engine", [&] {
    Serve(argv[1], argv[2] == std::string("hold"));
    return 0;
  });
}
