// SPDX-License-Identifier: Apache-2.0
#include "platform/signals/Signals.h"

#include <errno.h>
#include <poll.h>
#include <unistd.h>

#include <pthread.h>
#include <csignal>
#include <initializer_list>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/base/Mutex.h"

const char* Signal_Exception::what() const noexcept {
  return signal_number_ == SIGQUIT ? "quit signal" : "terminate signal";
}

namespace Lumenar {
namespace {

constexpr std::initializer_list<int> kWaitedSignals = {SIGTERM, SIGINT, SIGQUIT};

sigset_t WaitedSet() {
  sigset_t set;
  sigemptyset(&set);
  for (int signal_number : kWaitedSignals) sigaddset(&set, signal_number);
  return set;
}

/// Says so and ends the process. Takes no lock, waits for no reader of its line and runs no destructor: whoever hangs
/// may hold any of them.
[[noreturn]] void EndByForce(std::chrono::milliseconds limit) {
  const std::string line = std::string(program_invocation_short_name) + ": ended by force, " +
                           std::to_string(limit.count()) + " ms after it was told to end\n";
  pollfd error_output{STDERR_FILENO, POLLOUT, 0};
  if (poll(&error_output, 1, 0) == 1) [[maybe_unused]]
    const auto written = write(STDERR_FILENO, line.data(), line.size());
  _exit(1);
}

/// What the waiting thread and the callers share.
class State {
 public:
  void Install() {
    Lock lock(mutex_);
    if (installed_) return;
    const sigset_t set = WaitedSet();
    if (const int error = pthread_sigmask(SIG_BLOCK, &set, nullptr); error != 0)
      throw std::system_error(error, std::generic_category(), "pthread_sigmask");
    for (const int ignored : {SIGPIPE, SIGXFSZ}) std::signal(ignored, SIG_IGN);
    std::thread thread([this] { WaitForever(); });
    waiter_ = thread.get_id();
    handle_ = thread.native_handle();
    thread.detach();  // waits for signals as long as the process lives
    installed_ = true;
  }

  void EndWithin(std::chrono::milliseconds limit) {
    std::thread([this, limit] { EndLate(limit); }).detach();  // as long as the process lives
  }

  void SetHandler(std::function<void()> handler) {
    Lock lock(mutex_);
    handler_ = std::move(handler);
    if (handler_) {
      if (pending_ != 0) WakeWaiter();
      return;
    }
    if (std::this_thread::get_id() == waiter_) return;
    while (handler_runs_) changed_.Wait(mutex_);
  }

  int Pending() {
    Lock lock(mutex_);
    return pending_;
  }

  void Clear() {
    Lock lock(mutex_);
    pending_ = 0;
    changed_.NotifyAll();
  }

 private:
  /// Makes the waiting thread run the handler without a new signal: any waited signal, sent to that thread alone.
  void WakeWaiter() REQUIRES(mutex_) {
    if (!installed_) return;
    ++wakes_;
    pthread_kill(handle_, SIGTERM);
  }

  void WaitForever() {
    const sigset_t set = WaitedSet();
    for (;;) {
      int signal_number = 0;
      if (sigwait(&set, &signal_number) == 0) Handle(signal_number);
    }
  }

  void EndLate(std::chrono::milliseconds limit) {
    using std::chrono::steady_clock;
    Lock lock(mutex_);
    for (;;) {
      while (pending_ == 0) changed_.Wait(mutex_);
      const auto end = steady_clock::now() + limit;
      for (auto now = steady_clock::now(); pending_ != 0 && now < end; now = steady_clock::now())
        changed_.WaitFor(mutex_, end - now);
      if (pending_ != 0) EndByForce(limit);
    }
  }

  void Handle(int signal_number) {
    std::function<void()> handler;
    {
      Lock lock(mutex_);
      if (wakes_ > 0) {
        --wakes_;
      } else if (pending_ == 0) {
        pending_ = signal_number;
        changed_.NotifyAll();
      }
      if (pending_ == 0) return;
      handler = handler_;
      handler_runs_ = true;
    }
    if (handler) handler();  // without the lock: the handler may set another one
    Lock lock(mutex_);
    handler_runs_ = false;
    changed_.NotifyAll();
  }

  Mutex mutex_;
  Condition changed_;
  bool installed_ GUARDED_BY(mutex_) = false;
  std::thread::id waiter_ GUARDED_BY(mutex_);
  pthread_t handle_ GUARDED_BY(mutex_){};
  int pending_ GUARDED_BY(mutex_) = 0;  // the first signal that came
  int wakes_ GUARDED_BY(mutex_) = 0;    // wake-ups under way that are no signals from outside
  bool handler_runs_ GUARDED_BY(mutex_) = false;
  std::function<void()> handler_ GUARDED_BY(mutex_);
};

State& TheState() {
  static State* state = new State;  // the waiting thread outlives every static object
  return *state;
}

}  // namespace

void Signals::Install() { TheState().Install(); }

void Signals::EndWithin(std::chrono::milliseconds limit) { TheState().EndWithin(limit); }

void Signals::SetHandler(std::function<void()> handler) { TheState().SetHandler(std::move(handler)); }

void Signals::ThrowIfPending() {
  const int signal_number = TheState().Pending();
  if (signal_number == 0) return;
  if (signal_number == SIGQUIT) throw Quit_Exception(signal_number);
  throw Term_Exception(signal_number);
}

void Signals::Clear() noexcept { TheState().Clear(); }

}  // namespace Lumenar
