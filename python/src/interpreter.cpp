// SPDX-License-Identifier: Apache-2.0
#include "python/src/interpreter.h"

#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace Lumenar::Python {
namespace {

std::atomic<unsigned long> main_thread{0};
std::atomic<bool> exiting{false};

}  // namespace

void Interpreter::Begin() {
  const auto threading = pybind11::module_::import("threading");
  main_thread = threading.attr("main_thread")().attr("ident").cast<unsigned long>();
}

bool Interpreter::IsMainThread() noexcept { return PyThread_get_thread_ident() == main_thread; }

void Interpreter::BeginExit() noexcept { exiting = true; }

bool Interpreter::IsExiting() noexcept { return exiting; }

void Interpreter::LeaveEverythingAtExit() noexcept {
  static std::atomic<bool> registered{false};
  if (registered.exchange(true)) return;
  // What is registered last runs first: before the destructors of the libraries that were loaded by now.
  on_exit(
      [](int status, void*) {
        std::fflush(nullptr);
        _exit(status);
      },
      nullptr);
}

WithoutGil::~WithoutGil() {
  while (exiting && !Interpreter::IsMainThread()) pause();
  PyEval_RestoreThread(state_);
}

void CheckSignals() {
  if (PyErr_CheckSignals() != 0) throw pybind11::error_already_set();
}

}  // namespace Lumenar::Python
