// SPDX-License-Identifier: Apache-2.0
#include "instruments/probe/machine_figures.h"

#include <gtest/gtest.h>

namespace Lumenar::Probe {
namespace {

TEST(CpuTimes, GuestTimesAndOtherLinesDoNotCount) {
  const auto times = ParseCpuTimes("cpu  10 20 30 400 50 6 7 8 9 9\ncpu0 1 1 1 1 1 1 1 1 1 1\n");
  ASSERT_TRUE(times);
  EXPECT_EQ(times->busy, 10 + 20 + 30 + 6 + 7 + 8);
  EXPECT_EQ(times->total, 10 + 20 + 30 + 400 + 50 + 6 + 7 + 8);
}

TEST(CpuTimes, OtherTextsAreRefused) {
  for (const char* text :
       {"", "cpu", "cpu 1 2 3 4 5 6 7", "cpu0 1 2 3 4 5 6 7 8", "cpu 1 2 x 4 5 6 7 8", "cpu 1 2 -3 4 5 6 7 8"}) {
    EXPECT_FALSE(ParseCpuTimes(text)) << text;
  }
}

TEST(CpuLoad, BandIsOneTickOfTheInterval) {
  const auto load = CpuLoad({100, 1000}, {150, 1200});
  ASSERT_TRUE(load);
  EXPECT_EQ(load->value, 25);
  EXPECT_EQ(load->minus_err, -0.5);
  EXPECT_EQ(load->plus_err, 0.5);
}

TEST(CpuLoad, NeedsAnIntervalAndStaysWithinIt) {
  EXPECT_FALSE(CpuLoad({100, 1000}, {100, 1000}));
  EXPECT_EQ(CpuLoad({100, 1000}, {90, 1010})->value, 0) << "input and output wait may run backwards";
  EXPECT_EQ(CpuLoad({100, 1000}, {120, 1010})->value, 100);
}

TEST(MemoryFree, IsInBytes) {
  EXPECT_EQ(ParseMemoryFree("MemTotal:       100 kB\nMemFree:          3 kB\nMemAvailable:    9 kB\n"), 3072);
  for (const char* text : {"", "MemTotal: 1 kB\n", "MemFree: x kB\n", "MemFree: 3\n", "MemFree:"}) {
    EXPECT_FALSE(ParseMemoryFree(text)) << text;
  }
}

TEST(Spread, ReachesFromTheLastToTheExtremes) {
  Spread spread;
  EXPECT_FALSE(spread.Take());
  for (const double value : {5.0, 9.0, 2.0, 6.0}) spread.Add(value);
  const auto figure = spread.Take();
  ASSERT_TRUE(figure);
  EXPECT_EQ(figure->value, 6);
  EXPECT_EQ(figure->minus_err, -4);
  EXPECT_EQ(figure->plus_err, 3);
  EXPECT_FALSE(spread.Take()) << "the next interval begins empty";
}

TEST(MachineFigures, ThisMachineTellsThem) {
  const auto stat = FileText("/proc/stat");
  if (!stat) GTEST_SKIP() << "this machine has no /proc/stat";
  EXPECT_TRUE(ParseCpuTimes(*stat));
  EXPECT_TRUE(ParseMemoryFree(FileText("/proc/meminfo").value_or("")));
  EXPECT_FALSE(FileText("/proc/nothing/here"));
}

}  // namespace
}  // namespace Lumenar::Probe
