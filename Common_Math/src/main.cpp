// The three functions through which a host drives the engine, and the ORB's argument list.

#include <omniORB4/CORBA.h>

#include <exception>
#include <string>

#include "Common_Math/src/MathInit.h"
#include "platform/base/Diagnostic.h"
#include "platform/orb/ORB_wrapper.h"
#include "platform/signals/Signals.h"

#define ENGINE_EXPORT extern "C" __attribute__((visibility("default")))

using Lumenar::MathInit;
using Lumenar::WriteError;
using Lumenar::WriteOut;

/// The engine; null until createEngine has built it. Nothing clears it.
extern "C" {
__attribute__((visibility("default"))) MathInit* math = nullptr;

__attribute__((visibility("default"))) int localargc = 5;
__attribute__((visibility("default"))) char* localargv[] = {
    const_cast<char*>("./common_math.engine"),
    const_cast<char*>("-ORBInitRef"),
    const_cast<char*>("NameService=corbaloc:iiop:" LUMENAR_NAMING_HOST ":2700/NameService"),
    const_cast<char*>("-ORBSvcConf"),
    const_cast<char*>(LUMENAR_TRANSPORT_CONF),
};
}

namespace {

/// Runs a step for the host, which gets no exception: each failure is one line on standard error, the first clause
/// that fits.
template <class Step>
void Shielded(const std::string& prefix, Step step) {
  try {
    step();
  } catch (const Term_Exception&) {
    WriteError(prefix + "Got terminate signal");
  } catch (const Quit_Exception&) {
    WriteError(prefix + "Got quit signal");
  } catch (const std::exception& failure) {
    WriteError(prefix + "Caught exception " + failure.what());
  } catch (const CORBA::Exception& failure) {
    WriteError(prefix + "CORBA error:" + failure._name() + " on repo " + failure._rep_id());
  } catch (...) {
    WriteError(prefix + "An unknown exception was caught");
  }
}

}  // namespace

/// Builds the engine: the ORB is up, the factory registered, the progress reported. Null when that failed (with one
/// line on standard error). The host calls it once.
ENGINE_EXPORT void* createEngine() {
  Shielded("Lumenar::MathInit new: ", [] {
    WriteOut("Lumenar::MathInit createEngine");
    math = new MathInit;
    WriteOut("Lumenar::MathInit createEngine done");
  });
  return math;
}

/// Serves requests until the ORB is shut down, on the calling thread.
ENGINE_EXPORT void joinEngine() {
  if (math == nullptr) {
    WriteError("Lumenar::MathInit Join: ebdy NULL");
    return;
  }
  Shielded("Lumenar::MathInit Join: ", [] { math->Join(); });
}

/// Takes the engine down. Always 0; null is ignored. `math` keeps pointing at where the engine was.
ENGINE_EXPORT int destroyEngine(void* engine) {
  delete static_cast<MathInit*>(engine);
  return 0;
}
