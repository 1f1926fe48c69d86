// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <type_traits>
#include <utility>

#include "python/src/CallThreads.h"
#include "python/src/interpreter.h"

namespace Lumenar::Python {

/// How often a thread that waits looks for Ctrl-C.
constexpr std::chrono::milliseconds kLook{50};

/// A call that nobody may be waiting for any more when it is done. Work and Undo touch no Python, and own what they
/// use.
template <class Given, class Work, class Undo>
class PendingCall {
 public:
  PendingCall(Work work, Undo undo) : work_(std::move(work)), undo_(std::move(undo)) {}

  std::future<Given> Future() { return promise_.get_future(); }

  void Run() noexcept {
    try {
      Given result = work_();
      if (state_.exchange(State::Done) == State::Abandoned) {
        undo_(std::move(result));
      } else {
        promise_.set_value(std::move(result));
      }
    } catch (...) {
      promise_.set_exception(std::current_exception());
    }
  }

  /// False when the result is there all the same.
  bool Abandon() noexcept { return state_.exchange(State::Abandoned) != State::Done; }

  const Undo& UndoOf() const noexcept { return undo_; }

 private:
  enum class State { Running, Done, Abandoned };

  Work work_;
  Undo undo_;
  std::atomic<State> state_{State::Running};
  std::promise<Given> promise_;
};

/// Waits for a call on the main thread, which looks for Ctrl-C meanwhile. With the GIL, which is free while it waits.
/// Errors   py::error_already_set, what a signal's handler raised: the call goes on and its result is undone.
template <class Call, class Given>
Given WaitInterruptibly(const std::shared_ptr<Call>& call, std::future<Given>& future) {
  for (;;) {
    {
      const WithoutGil without_gil;
      if (future.wait_for(kLook) == std::future_status::ready) break;
    }
    try {
      CheckSignals();
    } catch (...) {
      if (!call->Abandon()) {
        auto result = std::make_shared<Given>(future.get());
        CallThreads::Run([call, result] { call->UndoOf()(std::move(*result)); });
      }
      throw;
    }
  }
  return future.get();
}

/// Does `work`, which blocks and touches no Python, without the GIL. On the main thread Ctrl-C ends the wait: the call
/// then goes on by itself, within its time limit, and what it gives is handed to `undo`.
/// Errors   those of `work`; py::error_already_set.
template <class Work, class Undo>
auto Blocking(Work work, Undo undo) -> decltype(work()) {
  using Given = decltype(work());
  if (!Interpreter::IsMainThread() || Interpreter::IsExiting()) {
    const WithoutGil without_gil;
    return work();
  }
  const auto call = std::make_shared<PendingCall<Given, Work, Undo>>(std::move(work), std::move(undo));
  std::future<Given> future = call->Future();
  CallThreads::Run([call] { call->Run(); });
  return WaitInterruptibly(call, future);
}

/// The same where nothing is to be undone; also for work that gives nothing.
template <class Work>
auto Blocking(Work work) -> decltype(work()) {
  if constexpr (std::is_void_v<decltype(work())>) {
    Blocking(
        [work = std::move(work)]() mutable {
          work();
          return true;
        },
        [](bool) {});
  } else {
    return Blocking(std::move(work), [](auto&&) {});
  }
}

}  // namespace Lumenar::Python
