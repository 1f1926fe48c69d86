// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pybind11/pybind11.h>

namespace Lumenar::Python {

/// What the extension needs to know of its interpreter and its process.
class Interpreter {
 public:
  /// Once, when the module is imported, with the GIL.
  static void Begin();

  /// Whether the calling thread is the interpreter's main thread, the one that sees Ctrl-C.
  static bool IsMainThread() noexcept;

  /// The interpreter is about to go: from here on other threads than the main one stay where they are when they come
  /// back from a blocking call, since the interpreter would end them in the midst of it.
  static void BeginExit() noexcept;
  static bool IsExiting() noexcept;

  /// When the process exits, after Python has, nothing of ours or of the ORB's library is destroyed: threads may still
  /// use it. A second call does nothing.
  static void LeaveEverythingAtExit() noexcept;
};

/// The GIL is free as long as this lives.
class WithoutGil {
 public:
  WithoutGil() noexcept : state_(PyEval_SaveThread()) {}
  ~WithoutGil();
  WithoutGil(const WithoutGil&) = delete;
  WithoutGil& operator=(const WithoutGil&) = delete;

 private:
  PyThreadState* const state_;
};

/// Runs Python's handlers of signals that have come, on the main thread.
/// Errors   py::error_already_set, what a handler raised: KeyboardInterrupt.
void CheckSignals();

}  // namespace Lumenar::Python
