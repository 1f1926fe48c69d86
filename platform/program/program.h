// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>

#include <chrono>
#include <exception>
#include <stdexcept>
#include <string>

#include "platform/base/Diagnostic.h"
#include "platform/orb/CorbaText.h"
#include "platform/orb/ORB_base.h"
#include "platform/signals/Signals.h"

namespace Lumenar {

/// How long a program may take for its orderly end: longer than one call of it to somebody who hangs, with the default
/// limit of calls.
constexpr std::chrono::seconds kEndLimit{10};

/// What main of a program of the platform does around its work: installs the handling of signals, before the work
/// starts any thread, and calls `run`. Returns what that returned, the exit status; 0 when a signal ended it, the
/// ordinary end of a server; or 1 after a line on standard error with what it threw. A signal ends the program within
/// kEndLimit, whatever it waits for.
/// Threads   the main thread, once.
template <class Run>
int RunProgram(const std::string& name, Run run) {
  try {
    Signals::Install();
    Signals::EndWithin(kEndLimit);
    return run();
  } catch (const Signal_Exception&) {
    return 0;
  } catch (const CORBA::Exception& error) {
    WriteError(name + ": " + CorbaText(error));
  } catch (const std::exception& error) {
    WriteError(name + ": " + error.what());
  } catch (...) {
    WriteError(name + ": an unknown exception");
  }
  return 1;
}

/// Calls `step`, which asks the naming service for something or tells it a name.
/// Errors   std::runtime_error that names the service when that does not answer; Signal_Exception when a signal came
///          meanwhile.
template <class Step>
auto AtNamingService(const Corvanta::ORB_base& orb, Step step) {
  try {
    Signals::ThrowIfPending();
    return step();
  } catch (const CORBA::SystemException& error) {
    Signals::ThrowIfPending();
    throw std::runtime_error(CallProblem(NamingService(orb.NamingAddress()), error));
  }
}

}  // namespace Lumenar
