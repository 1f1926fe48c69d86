// SPDX-License-Identifier: Apache-2.0
#include "platform/base/ParseArguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace Lumenar {
namespace {

/// What became of a command line.
struct ParsedLine {
  bool goes_on;
  int exit_code;
  int count;  ///< of the option that the program has
  std::string out;
  std::string error;
};

ParsedLine ParseLine(std::vector<const char*> words, const std::function<std::string()>& hint = {}) {
  CLI::App app("Counts.", "counter");
  ParsedLine line{};
  line.exit_code = -1;
  app.add_option("--count", line.count, "How many")->check(CLI::Range(0, 9));
  words.insert(words.begin(), "counter");
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  line.goes_on = ParseArguments(app, static_cast<int>(words.size()), words.data(), line.exit_code, hint);
  line.error = testing::internal::GetCapturedStderr();
  line.out = testing::internal::GetCapturedStdout();
  return line;
}

TEST(ParseArguments, ACommandLineThatIsRightGoesOn) {
  const ParsedLine line = ParseLine({"--count", "7"});
  EXPECT_TRUE(line.goes_on);
  EXPECT_EQ(line.count, 7);
  EXPECT_EQ(line.exit_code, -1) << "is not touched";
  EXPECT_EQ(line.out + line.error, "");
}

TEST(ParseArguments, TheVersionIsOneLineWithTheProgramsName) {
  for (const char* option : {"-V", "--version"}) {
    const ParsedLine line = ParseLine({option});
    EXPECT_FALSE(line.goes_on);
    EXPECT_EQ(line.exit_code, 0);
    EXPECT_EQ(line.out, std::string("counter ") + Version() + "\n");
    EXPECT_EQ(line.error, "");
  }
}

TEST(ParseArguments, HelpNamesTheOptions) {
  const ParsedLine line = ParseLine({"--help"});
  EXPECT_FALSE(line.goes_on);
  EXPECT_EQ(line.exit_code, 0);
  EXPECT_THAT(line.out, testing::AllOf(testing::HasSubstr("Counts."), testing::HasSubstr("--count"),
                                       testing::EndsWith("\n"), testing::Not(testing::EndsWith("\n\n"))));
  EXPECT_EQ(line.error, "");
}

TEST(ParseArguments, WhatIsWrongIsOneLineWhateverStandsInIt) {
  for (const std::vector<const char*>& words : std::vector<std::vector<const char*>>{
           {"--count", "12"}, {"--count"}, {"more"}, {"two\nlines"}, {"bell\a and escape\x1b[2J"}}) {
    const ParsedLine line = ParseLine(words);
    EXPECT_FALSE(line.goes_on);
    EXPECT_EQ(line.exit_code, kWrongArguments);
    EXPECT_EQ(line.out, "");
    EXPECT_THAT(line.error, testing::StartsWith("counter: "));
    EXPECT_EQ(std::count_if(line.error.begin(), line.error.end(), [](unsigned char byte) { return byte < ' '; }), 1)
        << "its end alone: " << line.error;
  }
}

TEST(ParseArguments, AHintStandsBehindTheReason) {
  const ParsedLine line = ParseLine({"more"}, [] { return "; near: less"; });
  EXPECT_THAT(line.error, testing::EndsWith("; near: less\n"));
}

}  // namespace
}  // namespace Lumenar
