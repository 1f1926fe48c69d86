// SPDX-License-Identifier: Apache-2.0
#include "platform/base/TimedProgram.h"

#include <gtest/gtest.h>
#include <sys/types.h>

#include <chrono>
#include <csignal>
#include <stdexcept>

namespace Lumenar {
namespace {

using namespace std::chrono_literals;

ProgramEnd Shell(const std::string& line, const ProgramLimits& limits = {}, const std::function<bool()>& give_up = {}) {
  return RunTimedProgram({"/bin/sh", "-c", line}, limits, give_up);
}

TEST(TimedProgram, StatusAndBothStreams) {
  const ProgramEnd end = Shell("echo out; echo error >&2; exit 3");
  EXPECT_EQ(end.status, 3);
  EXPECT_EQ(end.out, "out\n");
  EXPECT_EQ(end.error, "error\n");
}

TEST(TimedProgram, OneThatASignalEndsHasItsNumber) { EXPECT_EQ(Shell("kill -TERM $$").status, 128 + SIGTERM); }

TEST(TimedProgram, OneThatIsNotThere) { EXPECT_EQ(RunTimedProgram({"/nowhere/program"}, {}).status, 127); }

/// Waits until a process is gone; false after a while. One that nobody has waited for yet is a name alone.
bool Goes(pid_t process) {
  const auto limit = std::chrono::steady_clock::now() + 10s;
  const auto is_alive = [&] {
    return Shell("grep -q '^State:.[^ZX]' /proc/" + std::to_string(process) + "/status 2>/dev/null").status == 0;
  };
  while (is_alive() && std::chrono::steady_clock::now() < limit) {}
  return !is_alive();
}

TEST(TimedProgram, AtTheLimitItIsKilledWithAllThatItStarted) {
  const auto begin = std::chrono::steady_clock::now();
  const ProgramEnd end = Shell("sleep 60 & echo $!; wait", {200ms, 1000});
  EXPECT_EQ(end.status, std::nullopt);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s);
  EXPECT_TRUE(Goes(std::stoi(end.out)));
}

TEST(TimedProgram, WhatItLeftRunningWithItsOutputOpenGoesAtTheLimit) {
  const auto begin = std::chrono::steady_clock::now();
  const ProgramEnd end = Shell("sleep 60 & echo $!; exit 3", {1000ms, 1000});
  EXPECT_EQ(end.status, 3);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s);
  EXPECT_TRUE(Goes(std::stoi(end.out)));
}

TEST(TimedProgram, WhatItLeftRunningWithoutItsOutputGoesOn) {
  const ProgramEnd end = Shell("sleep 60 >/dev/null 2>&1 & echo $!");
  EXPECT_EQ(end.status, 0);
  const pid_t left = std::stoi(end.out);
  EXPECT_EQ(::kill(left, 0), 0);
  ::kill(left, SIGKILL);
}

TEST(TimedProgram, TheCallerMayGiveUp) {
  int asked = 0;
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(Shell("sleep 60", {60s, 1000}, [&] { return ++asked == 3; }).status, std::nullopt);
  EXPECT_THROW(Shell("sleep 60", {60s, 1000}, []() -> bool { throw std::runtime_error("enough"); }),
               std::runtime_error);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 20s);
}

TEST(TimedProgram, OfMuchThatItWritesTheBeginningIsKept) {
  const ProgramEnd end = Shell("head -c 1000000 /dev/zero | tr '\\0' x", {60s, 100});
  EXPECT_EQ(end.status, 0) << "it is not held up";
  EXPECT_EQ(end.out, std::string(100, 'x'));
}

TEST(TimedProgram, ItInheritsNothing) {
  sigset_t blocked, before;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &blocked, &before);
  const ProgramEnd end = Shell("grep SigBlk /proc/self/status; cat; ls /proc/self/fd");
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  EXPECT_EQ(end.out, "SigBlk:\t0000000000000000\n0\n1\n2\n3\n") << "3 is ls' own, of the directory";
}

TEST(ProgramBeside, SaysWhereItIsNot) { EXPECT_THROW(ProgramBeside("no_such_program"), std::runtime_error); }

TEST(LastLine, IsTheLastThatHoldsSomething) {
  EXPECT_EQ(LastLine("a\nb\n"), "b");
  EXPECT_EQ(LastLine("a\nb \n\n  \n"), "b");
  EXPECT_EQ(LastLine("a"), "a");
  EXPECT_EQ(LastLine(" \n"), "");
  EXPECT_EQ(LastLine(""), "");
}

}  // namespace
}  // namespace Lumenar
