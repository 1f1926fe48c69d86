// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/EngineFixture.h"
#include "tools/mathctl/command.h"

namespace Lumenar::Test {

/// A platform of real processes, readings of the test's own, and the command line beside them.
class ObjectsFixture : public EngineFixture {
 protected:
  using EngineFixture::EngineFixture;
  using Words = std::vector<std::string>;
  using json = nlohmann::json;

  // No call of the tool may take longer than this, whatever is broken.
  static constexpr std::chrono::seconds kPatience{20};

  struct Outcome {
    int exit_code;
    std::string out;
    std::string error;
  };

  Outcome Run(const Words& words) {
    const auto process = platform_.Start("mathctl", words);
    const int exit_code = process->WaitForExit(kPatience);
    return {exit_code, process->Out(), process->Error()};
  }

  /// What a command writes that must succeed.
  std::string Out(const Words& words) {
    const Outcome outcome = Run(words);
    EXPECT_EQ(outcome.exit_code, Mathctl::kDone) << testing::PrintToString(words) << outcome.error;
    return outcome.out;
  }

  std::vector<json> Objects(Words words) {
    words.push_back("--json");
    return ObjectsIn(Out(words));
  }

  static std::vector<json> ObjectsIn(const std::string& text) {
    std::vector<json> objects;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) objects.push_back(json::parse(line));
    return objects;
  }

  /// What `list` says of one object.
  json Listed(const std::string& object) {
    const auto objects = Objects({"list", object});
    return objects.size() == 1 ? objects.front() : json();
  }

  std::string WordsOf(const std::string& object) { return Listed(object).value("words", ""); }

  /// Waits until `list` says this of an object.
  bool WaitForWords(const std::string& object, const std::string& words) {
    return WaitUntil([&] { return WordsOf(object) == words; });
  }

  /// A command line that is refused: its exit code, nothing on standard output, and this in its one line of error.
  struct Refused {
    Words words;
    int exit_code;
    const char* error;
  };

  void ExpectRefused(const Refused& row) {
    const Outcome outcome = Run(row.words);
    EXPECT_EQ(outcome.exit_code, row.exit_code) << testing::PrintToString(row.words) << outcome.out;
    EXPECT_THAT(outcome.error, testing::HasSubstr(row.error)) << testing::PrintToString(row.words);
    EXPECT_EQ(outcome.out, "") << testing::PrintToString(row.words);
  }
};

inline constexpr Value::Units kSeconds = Value::Make_unit(Value::U_Second);

}  // namespace Lumenar::Test
