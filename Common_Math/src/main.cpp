// SPDX-License-Identifier: Apache-2.0
// The three functions through which a host drives the engine, and the ORB's argument list.

#include "Common_Math/src/MathInit.h"
#include "platform/base/Diagnostic.h"
#include "platform/program/engine_entry.h"
#include "platform/program/local_arguments.h"

using Lumenar::MathInit;
using Lumenar::RunForHost;
using Lumenar::WriteFixedError;
using Lumenar::WriteOut;

LUMENAR_LOCAL_ARGUMENTS("./common_math.engine")

/// The engine; null until createEngine has built it. Nothing clears it.
extern "C" {
LUMENAR_EXPORT MathInit* math = nullptr;
}

/// Builds the engine: the ORB is up, the factory registered, the progress reported. Null when that failed (with one
/// line on standard error). The host calls it once.
extern "C" LUMENAR_EXPORT void* createEngine() {
  RunForHost("Lumenar::MathInit new: ", [] {
    WriteOut("Lumenar::MathInit createEngine");
    math = new MathInit;
    WriteOut("Lumenar::MathInit createEngine done");
  });
  return math;
}

/// Serves requests until the ORB is shut down, on the calling thread.
extern "C" LUMENAR_EXPORT void joinEngine() {
  if (math == nullptr) {
    WriteFixedError("Lumenar::MathInit Join: ebdy NULL");
    return;
  }
  RunForHost("Lumenar::MathInit Join: ", [] { math->Join(); });
}

/// Takes the engine down. Always 0; null is ignored. `math` keeps pointing at where the engine was.
extern "C" LUMENAR_EXPORT int destroyEngine(void* engine) {
  delete static_cast<MathInit*>(engine);
  return 0;
}
