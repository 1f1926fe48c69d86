// SPDX-License-Identifier: Apache-2.0
#include "platform/base/Diagnostic.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace Lumenar {
namespace {

using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

TEST(Diagnostic, EachLineGoesToItsStream) {
  CaptureStdout();
  CaptureStderr();
  WriteOut("out");
  WriteError("error");
  EXPECT_EQ(GetCapturedStdout(), "out\n");
  EXPECT_EQ(GetCapturedStderr(), "error\n");
}

TEST(Diagnostic, AStreamIsKnownByItsDeviceAndInode) {
  struct stat status {};
  ASSERT_EQ(fstat(STDERR_FILENO, &status), 0);
  const std::string own = std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino);
  EXPECT_TRUE(IsStream(STDERR_FILENO, own.c_str()));
  EXPECT_FALSE(IsStream(STDERR_FILENO, (own + '1').c_str()));
  EXPECT_FALSE(IsStream(STDERR_FILENO, ""));
  EXPECT_FALSE(IsStream(STDERR_FILENO, nullptr));
  EXPECT_FALSE(IsStream(-1, own.c_str()));
}

TEST(Diagnostic, PartsAreGluedTogetherWithoutBlanks) {
  CaptureStdout();
  Diagnose("Common_Math/src/MathFactory_i", "CreateMath", " Error: type ", 7, " of ", 2.5);
  EXPECT_EQ(GetCapturedStdout(), "Common_Math/src/MathFactory_i:CreateMath Error: type 7 of 2.5\n");
}

TEST(Diagnostic, LinesOfSeveralThreadsNeverMix) {
  constexpr int kThreads = 4;
  constexpr int kLines = 200;
  CaptureStdout();
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i)
    threads.emplace_back([i] {
      for (int line = 0; line < kLines; ++line) WriteOut(std::string(60, static_cast<char>('a' + i)));
    });
  for (std::thread& thread : threads) thread.join();
  std::istringstream lines(GetCapturedStdout());
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) EXPECT_EQ(line, std::string(60, line.at(0)));
  EXPECT_EQ(count, kThreads * kLines);
}

}  // namespace
}  // namespace Lumenar
