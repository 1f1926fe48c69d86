#pragma once

#include <omniORB4/CORBA.h>

#include <exception>
#include <string>

#include "platform/base/CorbaText.h"
#include "platform/base/Diagnostic.h"
#include "platform/signals/Signals.h"

namespace Lumenar {

/// What main of a program of the platform does around its work: installs the handling of signals, before the work starts any thread,
/// and calls `run`. Returns what that returned, the exit status; 0 when a signal ended it, the ordinary end of a server; or 1 after a line on
/// standard error with what it threw.
/// Threads   the main thread, once.
template <class Run>
int RunProgram(const std::string& name, Run run) {
  try {
    Signals::Install();
    return run();
  } catch (const Signal_Exception&) {
    return 0;
  } catch (const CORBA::Exception& error) {
    WriteError(name + ": " + CorbaText(error));
  } catch (const std::exception& error) {
    WriteError(name + ": " + error.what());
  }
  return 1;
}

}  // namespace Lumenar
