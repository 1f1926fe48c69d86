// SPDX-License-Identifier: Apache-2.0
#include "instruments/replay/ReplayInstrument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "instruments/replay/load_recording.h"

namespace Lumenar::Replay {
namespace {

using testing::ElementsAre;

TEST(ReplayOptions, FilesAreListedWithColonsBetween) {
  const ReplayOptions options = ParseReplayOptions({{"REPLAY_FILES", ":a.s1p::b.csv:"}});
  EXPECT_THAT(options.files, ElementsAre("a.s1p", "b.csv"));
  EXPECT_LT(options.rate_Hz, 0) << "as recorded";
  EXPECT_TRUE(options.loop);
}

TEST(ReplayOptions, RateAndLoop) {
  const ReplayOptions options =
      ParseReplayOptions({{"REPLAY_FILES", "a"}, {"REPLAY_RATE", "2.5"}, {"REPLAY_LOOP", "once"}});
  EXPECT_EQ(options.rate_Hz, 2.5);
  EXPECT_FALSE(options.loop);
}

std::string Refusal(const Instruments::Settings& settings) {
  try {
    ParseReplayOptions(settings);
    return "none";
  } catch (const std::invalid_argument& error) {
    return error.what();
  }
}

TEST(ReplayOptions, BadSettingsAreNamed) {
  EXPECT_EQ(Refusal({}), "REPLAY_FILES names no file: expected paths with ':' between");
  EXPECT_EQ(Refusal({{"REPLAY_FILES", "a"}, {"REPLAY_LOOP", "twice"}}), "REPLAY_LOOP=twice: expected once or loop");
  EXPECT_EQ(Refusal({{"REPLAY_FILES", "a"}, {"REPLAY_RATE", "-1"}}),
            "REPLAY_RATE=-1: expected a number from 0 to 10000");
}

std::string LoadFailure(const std::string& path) {
  try {
    LoadRecording(path);
    return "none";
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

TEST(LoadRecording, FailuresNameTheFile) {
  const std::string folder = LUMENAR_SAMPLE_RECORDINGS;
  EXPECT_EQ(LoadFailure("/nowhere/a.csv"), "/nowhere/a.csv: No such file or directory");
  EXPECT_EQ(LoadFailure(folder), folder + ": is not a regular file");
  EXPECT_EQ(LoadFailure(folder + "/../../CMakeLists.txt"),
            folder + "/../../CMakeLists.txt: is no recording that can be read (.s1p, .s2p, .csv, .sr)");
}

TEST(LoadRecording, ReadsTheSamples) {
  const std::string folder = LUMENAR_SAMPLE_RECORDINGS;
  EXPECT_EQ(LoadRecording(folder + "/one_port.s1p").recordings[0].sweeps[0].size(), 3u);
  EXPECT_EQ(LoadRecording(folder + "/two_port.s2p").recordings[3].sweeps[0].size(), 2u);
  EXPECT_EQ(LoadRecording(folder + "/spectrum.csv").recordings[0].sweeps.size(), 2u);
  EXPECT_EQ(LoadRecording(folder + "/scope.csv").recordings[0].sweeps[0].size(), 3u);
  EXPECT_EQ(LoadRecording(folder + "/otdr.csv").recordings[0].sweeps[0].size(), 3u);
  EXPECT_EQ(LoadRecording(folder + "/sine.csv").recordings[0].sweeps[0].size(), 60u);
  EXPECT_EQ(LoadRecording(folder + "/sine.sr", {"V", 0}).recordings[0].sweeps[0].size(), 60u);
}

TEST(ReplayInstrument, AFileThatCannotBeReadEndsConstruction) {
  ReplayOptions options;
  options.files = {std::string(LUMENAR_SAMPLE_RECORDINGS) + "/scope.csv", "/nowhere/a.csv"};
  EXPECT_THROW(ReplayInstrument{options}, std::runtime_error);
}

}  // namespace
}  // namespace Lumenar::Replay
