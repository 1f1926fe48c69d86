// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <exception>
#include <functional>

#define SIGNALS_EXPORT __attribute__((visibility("default")))

/// A request from outside that the process end. Thrown by Signals::ThrowIfPending, never by a signal handler.
class SIGNALS_EXPORT Signal_Exception : public std::exception {
 public:
  explicit Signal_Exception(int signal_number) noexcept : signal_number_(signal_number) {}
  int SignalNumber() const noexcept { return signal_number_; }
  const char* what() const noexcept override;

 private:
  int signal_number_;
};

/// SIGTERM or SIGINT came.
class SIGNALS_EXPORT Term_Exception : public virtual Signal_Exception {
 public:
  explicit Term_Exception(int signal_number) noexcept : Signal_Exception(signal_number) {}
};

/// SIGQUIT came.
class SIGNALS_EXPORT Quit_Exception : public virtual Signal_Exception {
 public:
  explicit Quit_Exception(int signal_number) noexcept : Signal_Exception(signal_number) {}
};

namespace Lumenar {

/// Turns SIGTERM, SIGINT and SIGQUIT into exceptions at places that are prepared for them. A shared library, so that
/// the host program and the engine library that it loads see one pending signal.
class SIGNALS_EXPORT Signals {
 public:
  /// Blocks the three signals in the calling thread and in all threads that it starts later, and starts the one
  /// thread that waits for them. Call it first in main. A second call does nothing.
  /// Errors   std::system_error.
  /// SIGPIPE and SIGXFSZ are ignored from then on: a write that fails returns an error, and ends nothing.
  static void Install();

  /// Ends the process, with a line on standard error and exit status 1, when it is still there this long after a signal
  /// came (and was not forgotten by Clear), since what it waits for may hang. For programs; a host that lives on
  /// after its engine's end does without. Once, after Install.
  /// Errors   std::system_error.
  static void EndWithin(std::chrono::milliseconds limit);

  /// What to do when a signal comes, besides remembering it; runs on the waiting thread, so it may block and call
  /// anything. A signal that is already pending runs it at once. The last handler set counts; an empty one clears it
  /// and waits for a handler that is running.
  static void SetHandler(std::function<void()> handler);

  /// Throws Term_Exception or Quit_Exception when a signal has come since the process began; the signal stays pending.
  static void ThrowIfPending();

  /// Forgets a pending signal.
  static void Clear() noexcept;
};

}  // namespace Lumenar
