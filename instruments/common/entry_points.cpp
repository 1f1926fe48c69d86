// The three functions through which a host drives an instrument, and the ORB's argument list. Part of each engine
// library.

#include <omniORB4/CORBA.h>

#include <exception>
#include <string>

#include "instruments/common/InstrumentEngine.h"
#include "platform/base/Diagnostic.h"
#include "platform/orb/ORB_wrapper.h"
#include "platform/signals/Signals.h"

#define ENGINE_EXPORT extern "C" __attribute__((visibility("default")))

using Lumenar::WriteError;
using Lumenar::WriteOut;
using Lumenar::Instruments::InstrumentEngine;
using Lumenar::Instruments::ThisInstrument;

/// The engine; null until createEngine has built it. Nothing clears it. Named as in every engine library.
extern "C" {
__attribute__((visibility("default"))) InstrumentEngine* math = nullptr;

__attribute__((visibility("default"))) int localargc = 5;
__attribute__((visibility("default"))) char* localargv[] = {
    const_cast<char*>(LUMENAR_ENGINE_FILE),
    const_cast<char*>("-ORBInitRef"),
    const_cast<char*>("NameService=corbaloc:iiop:" LUMENAR_NAMING_HOST ":2700/NameService"),
    const_cast<char*>("-ORBSvcConf"),
    const_cast<char*>(LUMENAR_TRANSPORT_CONF),
};
}

namespace {

std::string Title() { return ThisInstrument().title; }

/// Runs a step for the host, which gets no exception: each failure is one line on standard error, the first clause that
/// fits.
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

/// Builds the engine: settings read, the ORB up, the readings registered. Null when that failed (with one line on
/// standard error). The host calls it once.
ENGINE_EXPORT void* createEngine() {
  Shielded(Title() + " new: ", [] {
    WriteOut(Title() + " createEngine");
    math = new InstrumentEngine(ThisInstrument());
    WriteOut(Title() + " createEngine done");
  });
  return math;
}

/// Produces samples and serves requests until the ORB is shut down, on the calling thread.
ENGINE_EXPORT void joinEngine() {
  if (math == nullptr) {
    WriteError(Title() + " Join: no engine");
    return;
  }
  Shielded(Title() + " Join: ", [] { math->Join(); });
}

/// Takes the engine down. Always 0; null is ignored. `math` keeps pointing at where the engine was.
ENGINE_EXPORT int destroyEngine(void* engine) {
  delete static_cast<InstrumentEngine*>(engine);
  return 0;
}
