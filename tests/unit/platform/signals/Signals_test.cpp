// SPDX-License-Identifier: Apache-2.0
#include "platform/signals/Signals.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <thread>

namespace Lumenar {
namespace {

/// Each body runs in a process of its own: a pending signal and the waiting thread stay for a process's life. That
/// process is the test program started again, unless the environment says otherwise.
class Signals_in_a_process : public testing::Test {
 protected:
  void SetUp() override {
    if (std::getenv("GTEST_DEATH_TEST_STYLE") == nullptr) GTEST_FLAG_SET(death_test_style, "threadsafe");
  }
};

void Say(const char* text) { std::fprintf(stderr, "%s\n", text); }

/// Sends a signal to this process and waits until the handler has run for it.
void SendAndAwait(int signal_number) {
  std::promise<void> came;
  Signals::SetHandler([&came] { came.set_value(); });
  kill(getpid(), signal_number);
  came.get_future().wait();
  Signals::SetHandler({});
}

void ReportPending() {
  try {
    Signals::ThrowIfPending();
    Say("none");
  } catch (const Term_Exception& exception) {
    std::fprintf(stderr, "Term %d %s\n", exception.SignalNumber(), exception.what());
  } catch (const Quit_Exception& exception) {
    std::fprintf(stderr, "Quit %d %s\n", exception.SignalNumber(), exception.what());
  }
}

struct Case {
  int signal_number;
  const char* said;
};

class Signals_table : public Signals_in_a_process, public testing::WithParamInterface<Case> {};

TEST_P(Signals_table, BecomesItsExceptionAndStaysPending) {
  const Case& expected = GetParam();
  EXPECT_EXIT(
      {
        Signals::Install();
        SendAndAwait(expected.signal_number);
        ReportPending();
        ReportPending();
        _exit(0);
      },
      testing::ExitedWithCode(0), std::string("^") + expected.said + "\n" + expected.said + "\n$");
}

INSTANTIATE_TEST_SUITE_P(Signals, Signals_table,
                         testing::Values(Case{SIGTERM, "Term 15 terminate signal"},
                                         Case{SIGINT, "Term 2 terminate signal"}, Case{SIGQUIT, "Quit 3 quit signal"}));

TEST_F(Signals_in_a_process, WithoutASignalNothingIsThrown) { EXPECT_NO_THROW(Signals::ThrowIfPending()); }

TEST_F(Signals_in_a_process, TheFirstSignalCounts) {
  EXPECT_EXIT(
      {
        Signals::Install();
        std::atomic<int> handled{0};
        Signals::SetHandler([&handled] { ++handled; });
        kill(getpid(), SIGQUIT);
        while (handled < 1) std::this_thread::yield();
        kill(getpid(), SIGTERM);
        while (handled < 2) std::this_thread::yield();
        ReportPending();
        _exit(0);
      },
      testing::ExitedWithCode(0), "^Quit 3");
}

TEST_F(Signals_in_a_process, ClearForgetsIt) {
  EXPECT_EXIT(
      {
        Signals::Install();
        SendAndAwait(SIGTERM);
        Signals::Clear();
        ReportPending();
        _exit(0);
      },
      testing::ExitedWithCode(0), "^none\n$");
}

TEST_F(Signals_in_a_process, AHandlerThatIsSetLateRunsForAPendingSignalOnTheWaitingThread) {
  EXPECT_EXIT(
      {
        Signals::Install();
        Signals::Install();
        SendAndAwait(SIGQUIT);
        std::promise<std::thread::id> ran;
        Signals::SetHandler([&ran] { ran.set_value(std::this_thread::get_id()); });
        Say(ran.get_future().get() == std::this_thread::get_id() ? "here" : "elsewhere");
        ReportPending();
        _exit(0);
      },
      testing::ExitedWithCode(0), "^elsewhere\nQuit 3 quit signal\n$");
}

TEST_F(Signals_in_a_process, WhoDoesNotEndInTimeIsEnded) {
  EXPECT_EXIT(
      {
        Signals::Install();
        Signals::EndWithin(std::chrono::milliseconds(50));
        std::promise<void> never;
        Signals::SetHandler([&never] { never.get_future().wait(); });
        kill(getpid(), SIGTERM);
        std::this_thread::sleep_for(std::chrono::seconds(30));  // it is ended long before
        _exit(0);
      },
      testing::ExitedWithCode(1), ": ended by force, 50 ms after it was told to end\n$");
}

TEST_F(Signals_in_a_process, WhoForgetsTheSignalLivesOn) {
  EXPECT_EXIT(
      {
        Signals::Install();
        Signals::EndWithin(std::chrono::milliseconds(50));
        SendAndAwait(SIGTERM);
        Signals::Clear();
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        Say("alive");
        _exit(0);
      },
      testing::ExitedWithCode(0), "^alive\n$");
}

TEST_F(Signals_in_a_process, ClosedPipesAndFullFilesEndNothing) {
  EXPECT_EXIT(
      {
        Signals::Install();
        raise(SIGPIPE);
        raise(SIGXFSZ);
        Say("alive");
        _exit(0);
      },
      testing::ExitedWithCode(0), "^alive\n$");
}

TEST_F(Signals_in_a_process, ClearingTheHandlerWaitsForOneThatRuns) {
  EXPECT_EXIT(
      {
        Signals::Install();
        std::promise<void> began;
        std::promise<void> go_on;
        std::atomic<bool> ended{false};
        Signals::SetHandler([&] {
          began.set_value();
          go_on.get_future().wait();
          ended = true;
        });
        kill(getpid(), SIGTERM);
        began.get_future().wait();
        auto clearing = std::async(std::launch::async, [] { Signals::SetHandler({}); });
        if (clearing.wait_for(std::chrono::milliseconds(30)) != std::future_status::timeout) Say("did not wait");
        go_on.set_value();
        clearing.get();
        Say(ended ? "ended" : "still running");
        _exit(0);
      },
      testing::ExitedWithCode(0), "^ended\n$");
}

TEST_F(Signals_in_a_process, AHandlerMayClearItself) {
  EXPECT_EXIT(
      {
        Signals::Install();
        std::promise<void> cleared;
        Signals::SetHandler([&cleared] {
          Signals::SetHandler({});
          cleared.set_value();
        });
        kill(getpid(), SIGTERM);
        cleared.get_future().wait();
        Say("cleared");
        _exit(0);
      },
      testing::ExitedWithCode(0), "^cleared\n$");
}

TEST_F(Signals_in_a_process, ThreadsStartedAfterInstallHaveTheSignalsBlocked) {
  EXPECT_EXIT(
      {
        Signals::Install();
        std::thread([] {
          sigset_t blocked;
          pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
          for (int number : {SIGTERM, SIGINT, SIGQUIT}) Say(sigismember(&blocked, number) ? "blocked" : "open");
        }).join();
        _exit(0);
      },
      testing::ExitedWithCode(0), "^blocked\nblocked\nblocked\n$");
}

TEST(Signal_Exception, TheKindsAreOneFamily) {
  EXPECT_THROW(throw Term_Exception(SIGTERM), Signal_Exception);
  EXPECT_THROW(throw Quit_Exception(SIGQUIT), std::exception);
}

}  // namespace
}  // namespace Lumenar
