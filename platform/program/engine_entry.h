// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>

#include <exception>
#include <string>

#include "platform/base/Diagnostic.h"
#include "platform/signals/Signals.h"

/// What an engine library shows its host; everything else is hidden.
#define LUMENAR_EXPORT __attribute__((visibility("default")))

namespace Lumenar {

/// Runs a step for the host of an engine, which gets no exception: each failure is one line on standard error, the
/// first clause that fits.
template <class Step>
void RunForHost(const std::string& prefix, Step step) {
  try {
    step();
  } catch (const Term_Exception&) {
    WriteFixedError(prefix + "Got terminate signal");
  } catch (const Quit_Exception&) {
    WriteFixedError(prefix + "Got quit signal");
  } catch (const std::exception& failure) {
    WriteFixedError(prefix + "Caught exception " + failure.what());
  } catch (const CORBA::Exception& failure) {
    WriteFixedError(prefix + "CORBA error:" + failure._name() + " on repo " + failure._rep_id());
  } catch (...) {
    WriteFixedError(prefix + "An unknown exception was caught");
  }
}

}  // namespace Lumenar
