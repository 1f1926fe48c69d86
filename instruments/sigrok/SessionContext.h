// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <glib.h>

#include <atomic>
#include <chrono>
#include <functional>

namespace Lumenar::Sigrok {

/// The main loop's context of the thread on which the library works, and the way for other threads to have something
/// done there: the library has no lock of its own.
/// Threads   any.
class SessionContext {
 public:
  SessionContext() : context_(g_main_context_new()) {}
  ~SessionContext() { g_main_context_unref(context_); }
  SessionContext(const SessionContext&) = delete;
  SessionContext& operator=(const SessionContext&) = delete;

  /// Makes it the calling thread's own for as long as this lives.
  class OfThisThread {
   public:
    explicit OfThisThread(const SessionContext& context) : context_(context.context_) {
      g_main_context_push_thread_default(context_);
    }
    ~OfThisThread() { g_main_context_pop_thread_default(context_); }
    OfThisThread(const OfThisThread&) = delete;
    OfThisThread& operator=(const OfThisThread&) = delete;

   private:
    GMainContext* const context_;
  };

  /// Calls `task`, which throws nothing, again and again while the loop of the context runs, until this goes.
  class Ticks {
   public:
    Ticks(const SessionContext& context, std::chrono::milliseconds period, std::function<void()> task);
    ~Ticks();
    Ticks(const Ticks&) = delete;
    Ticks& operator=(const Ticks&) = delete;

   private:
    const std::function<void()> task_;
    GSource* const source_;
  };

  /// The loop runs, from now on or no longer: whether Do is worth waiting for.
  void SetRuns(bool runs) noexcept { runs_ = runs; }

  /// Has `task` done by the loop, once, and waits for it. False when the loop does not run, or did not come to it
  /// within `limit`: then it is never done.
  /// Errors   what `task` throws.
  bool Do(const std::function<void()>& task, std::chrono::milliseconds limit);

 private:
  GMainContext* const context_;
  std::atomic<bool> runs_{false};
};

}  // namespace Lumenar::Sigrok
