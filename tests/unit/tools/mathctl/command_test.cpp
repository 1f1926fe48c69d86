// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Lumenar::Mathctl {
namespace {

using testing::HasSubstr;

struct Outcome {
  bool runs = false;
  int exit_code = -1;
  Command command;
  std::string out;
  std::string error;
};

Outcome ParseWords(std::vector<const char*> words) {
  words.insert(words.begin(), "mathctl");
  Outcome outcome;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  outcome.runs = Parse(static_cast<int>(words.size()), words.data(), outcome.command, outcome.exit_code);
  outcome.out = testing::internal::GetCapturedStdout();
  outcome.error = testing::internal::GetCapturedStderr();
  return outcome;
}

TEST(Parse, AcceptsEveryVerb) {
  const std::vector<const char*> kLines[] = {
      {"engines"},
      {"readings"},
      {"readings", "--values"},
      {"types"},
      {"create", "Average", "WAKEUP"},
      {"create", "4", "A", "B", "math:3"},
      {"list"},
      {"get", "PROBE/1/WAKEUP"},
      {"get", "3", "--json", "--samples"},
      {"watch", "1", "2", "-n", "5"},
      {"watch", "1", "--for", "0.5", "--json"},
      {"plot", "1", "-o", "x.png"},
      {"set", "3", "SIZE", "10"},
      {"set", "PROBE/1/START", "-10"},
      {"set", "PROBE/1/GO"},
      {"reset", "1"},
      {"delete", "1", "2"},
      {"subscriptions"},
      {"doctor"},
  };
  for (const auto& line : kLines) {
    const Outcome outcome = ParseWords(line);
    EXPECT_TRUE(outcome.runs && outcome.command.run) << testing::PrintToString(line) << outcome.error;
  }
}

TEST(Parse, RefusesWithTwoAndSaysWhy) {
  const std::vector<const char*> kLines[] = {
      {},
      {"frobnicate"},
      {"create"},
      {"create", "Average"},
      {"get"},
      {"get", "a", "b"},
      {"watch"},
      {"plot", "1"},
      {"watch", "1", "-n", "many"},
      {"watch", "1", "-n", "-1"},
      {"watch", "1", "-n", "0"},
      {"watch", "1", "-n", "1.5"},
      {"watch", "1", "-n", "4294967296"},
      {"watch", "1", "--for", "-1"},
      {"watch", "1", "--for", "0"},
      {"list", "--naming", "abc"},
      {"list", "--naming", "127.0.0.1:99999"},
      {"list", "--naming", ""},
      {"watch", "1", "--for", "1e300"},
      {"list", "--timeout", "0"},
      {"list", "--timeout", "0.0009"},
      {"list", "--timeout", "soon"},
      {"list", "--timeout", "nan"},
      {"engines", "extra"},
      {"engines", "types"},
  };
  for (const auto& line : kLines) {
    const Outcome outcome = ParseWords(line);
    EXPECT_FALSE(outcome.runs) << testing::PrintToString(line);
    EXPECT_EQ(outcome.exit_code, kUsage) << testing::PrintToString(line);
    EXPECT_THAT(outcome.error, testing::MatchesRegex("mathctl: [^\n]+\n")) << testing::PrintToString(line);
    EXPECT_EQ(outcome.out, "") << testing::PrintToString(line);
  }
}

TEST(Parse, HelpTellsTheExitCodes) {
  const Outcome outcome = ParseWords({"--help"});
  EXPECT_FALSE(outcome.runs);
  EXPECT_EQ(outcome.exit_code, kDone);
  EXPECT_THAT(outcome.out, HasSubstr("Exit codes: 0 done; 1 refused, or not found; 2"));
  EXPECT_EQ(outcome.error, "");
}

TEST(Parse, OptionsMayStandBeforeAndBehindTheVerb) {
  for (const auto& line : {std::vector<const char*>{"--timeout", "0.25", "--json", "list"},
                           std::vector<const char*>{"list", "--json", "--timeout", "0.25"}}) {
    const Outcome outcome = ParseWords(line);
    ASSERT_TRUE(outcome.runs) << outcome.error;
    EXPECT_EQ(outcome.command.options.timeout_s, 0.25);
    EXPECT_TRUE(outcome.command.options.json);
  }
}

TEST(Parse, OnlyTheWatchTakesSignalsIntoItsOwnHands) {
  EXPECT_TRUE(ParseWords({"watch", "1"}).command.ends_on_signal);
  EXPECT_FALSE(ParseWords({"list"}).command.ends_on_signal);
}

}  // namespace
}  // namespace Lumenar::Mathctl
