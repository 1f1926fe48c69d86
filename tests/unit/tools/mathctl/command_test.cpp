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
      {"plot", "1", "2", "-n", "5", "--for", "10"},
      {"plot", "1", "--live", "--ascii"},
      {"explain", "math:3", "--count", "0.5"},
      {"graph"},
      {"graph", "--format", "dot"},
      {"graph", "-o", "x.svg"},
      {"set", "3", "SIZE", "10"},
      {"set", "PROBE/1/START", "-10"},
      {"set", "PROBE/1/GO"},
      {"reset", "1"},
      {"delete", "1", "2"},
      {"subscriptions"},
      {"doctor"},
      {"doctor", "math:3"},
      {"LIST"},
      {"watch", "1", "-#", "0"},
      {"watch", "1", "-#3", "--idle", "2", "--new"},
      {"readings", "PROBE/1/*", "SIM/*"},
      {"delete", "math:*", "-y"},
      {"completion", "Bash"},
      {"list", "-q", "-v", "-w", "2", "--format", "CSV", "--precision", "9"},
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
      {"lst"},
      {"list", "--fromat", "json"},
      {"list", "--format", "xml"},
      {"list", "--precision", "0"},
      {"list", "--precision", "18"},
      {"watch", "1", "-#", "-1"},
      {"watch", "1", "--idle", "0"},
      {"completion", "tcsh"},
      {"completion"},
      {"list", "-x"},
      {"watch"},
      {"plot"},
      {"plot", "1", "-o", "x.jpg"},
      {"plot", "1", "-o", "x.png", "--live"},
      {"plot", "1", "-n", "0"},
      {"explain"},
      {"graph", "-o", "x.pdf"},
      {"graph", "--format", "xml"},
      {"doctor", "a", "b"},
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

TEST(Parse, NamesWhatIsNearAWrongWord) {
  struct Row {
    std::vector<const char*> words;
    const char* error;
  };
  const Row kRows[] = {
      {{"lst"}, "mathctl: no verb \"lst\"; near: list\n"},
      {{"frobnicate"}, "mathctl: no verb \"frobnicate\"; mathctl --help shows the verbs\n"},
      {{"list", "--fromat", "json"}, "mathctl: no option --fromat; near: --format\n"},
      {{"--tmeout=3", "list"}, "mathctl: no option --tmeout; near: --timeout\n"},
      {{"list", "--format", "xml"}, "mathctl: --format: xml is no format: table, json or csv is needed; mathctl list"},
      {{"list", "-x"}, "mathctl: no option -x; mathctl list --help shows those there are\n"},
      {{"get"}, "mathctl: READING is required; mathctl get --help shows an example\n"},
      {{}, "mathctl: A subcommand is required; mathctl --help shows the verbs\n"},
  };
  for (const Row& row : kRows) EXPECT_THAT(ParseWords(row.words).error, testing::StartsWith(row.error));
}

TEST(Parse, ValuesOfOptionsAreNoVerbs) {
  const Outcome outcome = ParseWords({"--naming", "localhost:2809", "-w", "2", "--factory", "MATHFACTORY/2", "types"});
  EXPECT_TRUE(outcome.runs) << outcome.error;
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
    EXPECT_TRUE(outcome.command.options.Json());
  }
}

TEST(Parse, OnlyTheWatchTakesSignalsIntoItsOwnHands) {
  EXPECT_TRUE(ParseWords({"watch", "1"}).command.ends_on_signal);
  EXPECT_FALSE(ParseWords({"list"}).command.ends_on_signal);
}

}  // namespace
}  // namespace Lumenar::Mathctl
