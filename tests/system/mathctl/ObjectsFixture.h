// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/MathctlFixture.h"

namespace Lumenar::Test {

/// A platform of real processes, readings of the test's own, and the command line beside them.
class ObjectsFixture : public MathctlFixture {
 protected:
  using MathctlFixture::MathctlFixture;

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
