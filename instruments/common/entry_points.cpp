// SPDX-License-Identifier: Apache-2.0
// The three functions through which a host drives an instrument, and the ORB's argument list. Part of each engine
// library.

#include <string>

#include "instruments/common/InstrumentEngine.h"
#include "platform/base/Diagnostic.h"
#include "platform/program/engine_entry.h"
#include "platform/program/local_arguments.h"

using Lumenar::RunForHost;
using Lumenar::WriteError;
using Lumenar::WriteOut;
using Lumenar::Instruments::InstrumentEngine;
using Lumenar::Instruments::ThisInstrument;

LUMENAR_LOCAL_ARGUMENTS(LUMENAR_ENGINE_FILE)

/// The engine; null until createEngine has built it. Nothing clears it. Named as in every engine library.
extern "C" {
LUMENAR_EXPORT InstrumentEngine* math = nullptr;
}

namespace {

std::string Title() { return ThisInstrument().title; }

}  // namespace

/// Builds the engine: settings read, the ORB up, the readings registered. Null when that failed (with one line on
/// standard error). The host calls it once.
extern "C" LUMENAR_EXPORT void* createEngine() {
  RunForHost(Title() + " new: ", [] {
    WriteOut(Title() + " createEngine");
    math = new InstrumentEngine(ThisInstrument());
    WriteOut(Title() + " createEngine done");
  });
  return math;
}

/// Produces samples and serves requests until the ORB is shut down, on the calling thread.
extern "C" LUMENAR_EXPORT void joinEngine() {
  if (math == nullptr) {
    WriteError(Title() + " Join: no engine");
    return;
  }
  RunForHost(Title() + " Join: ", [] { math->Join(); });
}

/// Takes the engine down. Always 0; null is ignored. `math` keeps pointing at where the engine was.
extern "C" LUMENAR_EXPORT int destroyEngine(void* engine) {
  delete static_cast<InstrumentEngine*>(engine);
  return 0;
}
