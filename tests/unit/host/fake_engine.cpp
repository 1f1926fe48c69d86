// SPDX-License-Identifier: Apache-2.0
// An engine without an ORB, for tests of the host: it writes a line for each call. FAKE_ENGINE says how it behaves:
// "fails" does not start; "waits" waits for a signal in joinEngine, "waits_early" in createEngine; else it runs and
// ends.
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include "platform/base/Diagnostic.h"
#include "platform/signals/Signals.h"

#define FAKE_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

int engine = 0;

std::string Behaviour() {
  const char* behaviour = std::getenv("FAKE_ENGINE");
  return behaviour == nullptr ? "" : behaviour;
}

void WaitForSignal() {
  try {
    for (;;) {
      Lumenar::Signals::ThrowIfPending();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  } catch (const Term_Exception&) {
    Lumenar::WriteOut("Term");
  } catch (const Quit_Exception&) {
    Lumenar::WriteOut("Quit");
  }
}

}  // namespace

FAKE_EXPORT void* createEngine() {
  Lumenar::WriteOut("create");
  if (Behaviour() == "fails") return nullptr;
  if (Behaviour() == "waits_early") WaitForSignal();
  return &engine;
}

FAKE_EXPORT void joinEngine() {
  Lumenar::WriteOut("join");
  if (Behaviour() == "waits") WaitForSignal();
}

FAKE_EXPORT int destroyEngine(void* handle) {
  Lumenar::WriteOut(handle == &engine ? "destroy" : "destroy of something else");
  return 0;
}
