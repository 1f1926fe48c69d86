// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "instruments/replay/OtdrReader.h"
#include "instruments/replay/ScopeReader.h"
#include "instruments/replay/SpectrumReader.h"
#include "instruments/replay/TouchstoneReader.h"
#include "instruments/replay/load_recording.h"

namespace Lumenar::Replay {
namespace {

using testing::ElementsAre;
using testing::FloatNear;

/// A text that a reader refuses, and how.
struct BadText {
  const char* text;
  std::size_t line;
  const char* reason;
};

template <class Reader, std::size_t N>
void ExpectRefused(Reader reader, const BadText (&cases)[N]) {
  for (const auto& test : cases) {
    try {
      reader(test.text);
      ADD_FAILURE() << "accepted: " << test.text;
    } catch (const FormatError& error) {
      EXPECT_STREQ(error.what(), test.reason) << test.text;
      EXPECT_EQ(error.Line(), test.line) << test.text;
    }
  }
}

std::vector<float> OnlySweep(const RecordedFile& file) {
  EXPECT_EQ(file.recordings.size(), 1u);
  EXPECT_EQ(file.recordings.front().sweeps.size(), 1u);
  return file.recordings.front().sweeps.front();
}

std::string TextOfUnits(const RecordedFile& file) { return Value::Units_text(file.recordings.front().units); }

// 0.6 + 0.8j has the magnitude 1; 0.1 is -20 dB; 0.5 is -6.0206 dB.
TEST(Touchstone, LevelsOfTheThreeForms) {
  struct {
    const char* text;
    std::vector<float> levels;
    double x_step;
  } const cases[] = {
      {"# GHz S RI R 50.0\n1 0.6 0.8\n2 0 0.1\n", {0, -20}, 1e9},
      {"# MHz S MA R 50\n1 0.5 45\n2 -0.1 45\n3 10 0\n", {-6.0206f, -20, 20}, 1e6},
      {"# khz s db\n10 -3 0\n20 4.5 0\n", {-3, 4.5}, 1e4},
      {"# r 75 hz ri\n1 1 0\n", {0}, 0},
      {"#\n1 1 0\n1.5 0.1 0\n", {0, -20}, 5e8},
  };
  for (const auto& test : cases) {
    const RecordedFile file = ReadTouchstone(test.text, 1);
    EXPECT_THAT(OnlySweep(file), testing::Pointwise(testing::FloatNear(1e-5f), test.levels)) << test.text;
    EXPECT_EQ(file.recordings[0].x_step, test.x_step) << test.text;
    EXPECT_EQ(TextOfUnits(file), "dB");
    EXPECT_EQ(file.recordings[0].suffix, "_S11");
    EXPECT_FALSE(file.sweeps_per_s);
  }
}

TEST(Touchstone, CommentsStandAnywhere) {
  const char* text =
      "! made by hand\r\n# GHz S RI R 50 ! the option line\r\n!freq\tRe\tIm\r\n1\t1\t0\t! end of line\r\n! "
      "between\r\n\r\n# MHz S DB\r\n"
      " +2\t0.1\t0\r\n";
  EXPECT_THAT(OnlySweep(ReadTouchstone(text, 1)), ElementsAre(0, FloatNear(-20, 1e-5f)));
}

TEST(Touchstone, NoReflectionIsMinusInfinity) {
  EXPECT_THAT(OnlySweep(ReadTouchstone("# S RI\n1 0 0\n", 1)), ElementsAre(-INFINITY));
}

TEST(Touchstone, PointsThatAreNotEvenlySpacedHaveNoStep) {
  EXPECT_EQ(ReadTouchstone("# S RI\n1 1 0\n10 1 0\n100 1 0\n", 1).recordings[0].x_step, 0);
}

TEST(Touchstone, TwoPortsStandInTheFilesOrderAndNoiseIsLeftOut) {
  const RecordedFile file = ReadTouchstone(
      "# GHz S DB\n1 -1 0 -2 0 -3 0 -4 0\n2 -5 0 -6 0 -7 0 -8 0\n1 2 3 4 5\n1.5 2 3 4 5\nnot a number at all\n", 2);
  ASSERT_EQ(file.recordings.size(), 4u);
  const char* const suffixes[] = {"_S11", "_S21", "_S12", "_S22"};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(file.recordings[i].suffix, suffixes[i]);
    EXPECT_THAT(file.recordings[i].sweeps[0], ElementsAre(static_cast<float>(-1 - i), static_cast<float>(-5 - i)));
    EXPECT_EQ(file.recordings[i].x_step, 1e9);
  }
}

TEST(Touchstone, NoiseMayBeginAtTheLastFrequency) {
  const RecordedFile file = ReadTouchstone("# GHz S DB\n1 -1 0 -2 0 -3 0 -4 0\n1 2 3 4 5\n", 2);
  EXPECT_THAT(file.recordings[0].sweeps[0], ElementsAre(-1));
}

TEST(Touchstone, BadLinesAreNamed) {
  const BadText cases[] = {
      {"", 1, "there are no points"},
      {"! nothing\n# GHz S RI\n", 2, "there are no points"},
      {"1 2 3\n", 1, "data before the option line"},
      {"# GHz S RI\n1 2\n", 2, "expected 3 numbers, found 2"},
      {"# GHz S RI\n1 2 3 4\n", 2, "expected 3 numbers, found 4"},
      {"# GHz S RI\n1 2 3\n1 2 3 4 5\n", 3, "expected 3 numbers, found 5"},
      {"# GHz S RI\n1 2 3 4 5 6 7 8 9 10\n", 2, "more than 9 numbers"},
      {"# GHz S RI\n1 2 x\n", 2, "\"x\" is not a number"},
      {"# GHz S RI\n1 nan 3\n", 2, "\"nan\" is not a finite number"},
      {"# GHz S RI\n1 1 0\n1 1 0\n", 3, "frequency 1 does not follow 1"},
      {"# GHz S RI\n2 1 0\n1.5 1 0\n", 3, "frequency 1.5 does not follow 2"},
      {"# GHz Z RI\n", 1, "only S parameters are read, not Z"},
      {"# THz S RI\n", 1, "option \"THz\" is not known"},
      {"# GHz S RI R\n", 1, "\"\" is not a number"},
      {"[Version] 2.0\n", 1, "keyword \"[Version] 2.0\": only version 1 is read"},
      {"# GHz S DB\n1 1e300 0\n", 2, "a level is too large for a sample"},
  };
  ExpectRefused([](const char* text) { return ReadTouchstone(text, 1); }, cases);
  const BadText two_ports[] = {
      {"# S RI\n1 2 3\n", 2, "expected 9 numbers, found 3"},
      {"# S RI\n1 2 3 4 5\n", 2, "expected 9 numbers, found 5"},
  };
  ExpectRefused([](const char* text) { return ReadTouchstone(text, 2); }, two_ports);
}

// Two lines a sweep, two bins a line; the programs that write this form repeat each line's last level.
TEST(Spectrum, SeveralBinsALine) {
  const RecordedFile file = ReadSpectrum(
      "2026-01-31, 23:59:50, 100, 120, 10.00, 4, -1, -2, -2\n2026-01-31, 23:59:50, 120, 140, 10.00, 4, -3, -4, -4\n"
      "2026-02-01, 00:00:10, 100, 120, 10.00, 4, -5, -6, -6\n2026-02-01, 00:00:10, 120, 140, 10.00, 4, -7, -8, -8\n");
  ASSERT_EQ(file.recordings.size(), 1u);
  EXPECT_THAT(file.recordings[0].sweeps, ElementsAre(ElementsAre(-1, -2, -3, -4), ElementsAre(-5, -6, -7, -8)));
  EXPECT_EQ(file.recordings[0].x_step, 10);
  EXPECT_EQ(TextOfUnits(file), "dB");
  EXPECT_EQ(file.sweeps_per_s, 0.05) << "one interval of 20 s, over the end of a month";
}

TEST(Spectrum, NumbersOfLevelsThatALineMayHave) {
  struct {
    const char* levels;
    std::vector<float> bins;
  } const cases[] = {
      {"1, 2", {1, 2}},
      {"1, 2, 2", {1, 2}},
      {"1, 2, 3, 3", {1, 2, 3}},
      {"1, 2, 3, 4, 4", {1, 2, 3, 4}},
  };
  for (const auto& test : cases) {
    EXPECT_EQ(OnlySweep(ReadSpectrum(std::string("2026-02-15, 12:00:00, 0, 20, 10, 1, ") + test.levels + "\n")),
              test.bins)
        << test.levels;
  }
}

TEST(Spectrum, ASweepEndsWhereTheFrequencyStartsAgain) {
  const RecordedFile file =
      ReadSpectrum("2026-02-15, 12:00:00, 0, 1, 1, 1, 1, 1\n2026-02-15, 12:00:00, 0, 1, 1, 1, nan, nan\n\n");
  EXPECT_EQ(file.recordings[0].sweeps.size(), 2u);
  EXPECT_FALSE(file.sweeps_per_s) << "both at the same time";
}

TEST(Spectrum, AStretchMayBeginABinBehindTheLast) {
  EXPECT_THAT(OnlySweep(ReadSpectrum("2026-02-15, 12:00:00, 0, 1, 1, 1, 1\n2026-02-15, 12:00:00, 2, 3, 1, 1, 2\n")),
              ElementsAre(1, 2));
}

TEST(Spectrum, ALeapSecondIsATime) {
  EXPECT_THAT(OnlySweep(ReadSpectrum("2016-12-31, 23:59:60, 0, 1, 1, 1, 1\n")), ElementsAre(1));
}

TEST(Spectrum, BadLinesAreNamed) {
  const BadText cases[] = {
      {"", 1, "there are no sweeps"},
      {"2026-02-15", 1, "the line ends before the time"},
      {"2026-02-15, 12:00:00, 0, 20, 10", 1, "the line ends before the number of samples"},
      {"2026-02-15, 12:00:00, 0, 20, 10, 1", 1, "expected levels of 2 bins, found 0"},
      {"2026-02-15, 12:00:00, 0, 20, 10, 1, 1", 1, "expected levels of 2 bins, found 1"},
      {"2026-02-15, 12:00:00, 0, 20, 10, 1, 1, 2, 3, 4, 5, 6", 1, "expected levels of 2 bins, found 6"},
      {"2026-02-15, 12:00:00, 0, 20, 10, 1, 1, x", 1, "\"x\" is not a number"},
      {"2026-02-15, 12:00:00, 0, 20, 10, 1, 1, 2,", 1, "\"\" is not a number"},
      {"2026-02-30, 12:00:00, 0, 20, 10, 1, 1, 2", 1, "\"2026-02-30\" is not a date"},
      {"2026-257-15, 12:00:00, 0, 20, 10, 1, 1, 2", 1, "\"2026-257-15\" is not a date"},
      {"2026-02-257, 12:00:00, 0, 20, 10, 1, 1, 2", 1, "\"2026-02-257\" is not a date"},
      {"67562-02-15, 12:00:00, 0, 20, 10, 1, 1, 2", 1, "\"67562-02-15\" is not a date"},
      {"2026-02-15-1, 12:00:00, 0, 20, 10, 1, 1, 2", 1, "\"2026-02-15-1\" is not a date"},
      {"2026-02-15, 24:00:00, 0, 20, 10, 1, 1, 2", 1, "\"24:00:00\" is not a time"},
      {"2026-02-15, 12:00, 0, 20, 10, 1, 1, 2", 1, "\"12:00\" is not a time"},
      {"2026-02-15, 12:00:00, 0, 20, 0, 1, 1, 2", 1, "the bin step is not positive"},
      {"2026-02-15, 12:00:00, 20, 20, 1, 1, 1, 2", 1, "the highest frequency is not above the lowest"},
      {"2026-02-15, 12:00:00, 0, 1, 1, 1, 1\n2026-02-15, 12:00:00, 3, 4, 1, 1, 1\n", 2,
       "frequency 3 does not follow 1"},
      {"2026-02-15, 12:00:00, 0, 1, 1, 1, 1\n2026-02-15, 12:00:00, 1, 2, 0.5, 1, 1, 1\n", 2,
       "bin step 0.5 differs from 1"},
      {"2026-02-15, 12:00:00, 0, 1, 1, 1, 1\n2026-02-15, 12:00:00, 1, 2, 1, 1, 1\n2026-02-15, 12:00:01, 0, 1, 1, 1, "
       "1\n",
       3, "sweep 2 has 1 bins, expected 2"},
      {"2026-02-15, 12:00:00, 0, 1, 1, 1, 1\n2026-02-15, 12:00:01, 0, 1, 1, 1, 1\n2026-02-15, 12:00:01, 1, 2, 1, 1, 1\n"
       "2026-02-15, 12:00:02, 0, 1, 1, 1, 1\n",
       3, "sweep 2 has 2 bins, expected 1"},
  };
  ExpectRefused([](const char* text) { return ReadSpectrum(text); }, cases);
}

TEST(Scope, TwoHeaderLinesThenPoints) {
  const RecordedFile file = ReadScope("x-axis,1\nsecond,Volt\n-1e-3,0.5\n0,-0.25\n0.001,nan\n");
  EXPECT_THAT(OnlySweep(file), ElementsAre(0.5f, -0.25f, testing::IsNan()));
  EXPECT_EQ(TextOfUnits(file), "V");
  EXPECT_DOUBLE_EQ(file.recordings[0].x_step, 1e-3);
}

TEST(Scope, TheStepIsInTheUnitWithoutPrefix) {
  EXPECT_DOUBLE_EQ(ReadScope("t,1\nms,mV\n0,1\n2,1\n").recordings[0].x_step, 2e-3);
}

TEST(Scope, BadLinesAreNamed) {
  const BadText cases[] = {
      {"", 1, "expected the line with the columns' names"},
      {"x-axis,1\n", 1, "expected the line with the columns' units"},
      {"x-axis\nsecond,Volt\n", 1, "expected two fields with a comma between, found \"x-axis\""},
      {"x-axis,1\nsecond,Volt,Volt\n", 2, "expected two fields with a comma between, found \"second,Volt,Volt\""},
      {"x-axis,1\nsecond,Smoot\n1,2\n", 2, "\"Smoot\" is not a unit"},
      {"x-axis,1\nsecond,Volt\n", 2, "there are no points"},
      {"x-axis,1\nsecond,Volt\n1,2\n1,3\n", 4, "1 does not follow 1"},
      {"x-axis,1\nsecond,Volt\n1,2\n\n2,\n", 5, "\"\" is not a number"},
      {"x-axis,1\nsecond,Volt\ninf,2\n", 3, "\"inf\" is not a finite number"},
  };
  ExpectRefused([](const char* text) { return ReadScope(text); }, cases);
}

TEST(Otdr, HeadingsCarryTheUnits) {
  const RecordedFile file = ReadOtdr("Distance [m],Signal [dB]\r\n0.0,-47.5\r\n0.25,-48\r\n");
  EXPECT_THAT(OnlySweep(file), ElementsAre(-47.5f, -48));
  EXPECT_EQ(TextOfUnits(file), "dB");
  EXPECT_EQ(file.recordings[0].x_step, 0.25);
  EXPECT_DOUBLE_EQ(ReadOtdr("Distance [km],Signal [dB]\n0,1\n1,1\n").recordings[0].x_step, 1000);
}

TEST(Otdr, BadLinesAreNamed) {
  const BadText cases[] = {
      {"", 1, "expected the line with the columns' names"},
      {"Distance,Signal [dB]\n", 1, "expected a heading like \"Distance [m]\", found \"Distance\""},
      {"Distance [m],[dB] Signal\n", 1, "expected a heading like \"Distance [m]\", found \"[dB] Signal\""},
      {"Distance [m],]\n", 1, "expected a heading like \"Distance [m]\", found \"]\""},
      {"Distance [m],Signal [dBq]\n", 1, "\"dBq\" is not a unit"},
      {"Distance [m],Signal [dB]\n", 1, "there are no points"},
  };
  ExpectRefused([](const char* text) { return ReadOtdr(text); }, cases);
}

TEST(ReadRecording, TheNameAndTheFirstLineTellTheFormat) {
  EXPECT_EQ(ReadRecording("A.S1P", "# S RI\n1 1 0\n").recordings[0].suffix, "_S11");
  EXPECT_EQ(ReadRecording("a.s2p", "# S RI\n1 1 0 1 0 1 0 1 0\n").recordings.size(), 4u);
  EXPECT_EQ(ReadRecording("a.csv", "2026-02-15, 12:00:00, 0, 1, 3, 1, 1\n").recordings[0].x_step, 3);
  EXPECT_EQ(TextOfUnits(ReadRecording("a.csv", "d [m],s [A]\n1,1\n")), "A");
  EXPECT_EQ(TextOfUnits(ReadRecording("a.csv", "x,y\ns,W\n1,1\n")), "W");
  EXPECT_THROW(ReadRecording("a.csv", ""), FormatError);
  EXPECT_THROW(ReadRecording("a.txt", ""), std::invalid_argument);
}

/// Every beginning of a good text, and every byte of it changed: read or refused, never worse.
TEST(ReadRecording, DamagedTextsAreReadOrRefused) {
  struct {
    const char* name;
    std::string text;
  } const cases[] = {
      {"a.s1p", "! c\r\n# GHz S RI R 50\r\n1 0.1 2e1\r\n2 .1 -2 ! c\r\n"},
      {"a.s2p", "# S DB\n1 1 0 1 0 1 0 1 0\n2 1 0 1 0 1 0 1 0\n1 1 2 3 4\n"},
      {"a.csv", "2026-02-15, 12:29:54, 8, 9, 1.0, 1, -1.5, -1.5\n2026-02-15, 12:29:54, 9, 10, 1.0, 1, -2, -2\n"},
      {"a.csv", "x-axis,1\nsecond,Volt\n-1e-3,.5\n0,.25\n"},
      {"a.csv", "Distance [m],Signal [dB]\r\n0.0,-47.5\r\n1.0,-48\r\n"},
  };
  const auto try_it = [](const char* name, const std::string& text) {
    try {
      const RecordedFile file = ReadRecording(name, text);
      EXPECT_FALSE(file.recordings.empty() || file.recordings[0].sweeps.empty()) << text;
    } catch (const FormatError&) {}
  };
  for (const auto& test : cases) {
    for (std::size_t length = 0; length <= test.text.size(); ++length) try_it(test.name, test.text.substr(0, length));
    for (std::size_t at = 0; at < test.text.size(); ++at) {
      for (const char c : {'\0', '9', '-', ',', '\n', ' ', 'e', '!', '#', '[', '\xFF'}) {
        std::string damaged = test.text;
        damaged[at] = c;
        try_it(test.name, damaged);
      }
    }
  }
}

}  // namespace
}  // namespace Lumenar::Replay
