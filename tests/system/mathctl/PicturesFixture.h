// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/MathctlFixture.h"

namespace Lumenar::Test {

/// The verbs that show and explain, against a platform of real processes whose readings are the test's own.
class PicturesFixture : public MathctlFixture {
 protected:
  using MathctlFixture::MathctlFixture;

  static std::string FileText(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  /// Of each row: the words, the exit code, and a part of the one line on standard error; nothing on standard output.
  struct Refusal {
    Words words;
    int exit_code;
    const char* error;
  };
  template <std::size_t kCount>
  void ExpectRefusals(const Refusal (&rows)[kCount]) {
    for (const Refusal& row : rows) {
      const Outcome outcome = Run(row.words);
      EXPECT_EQ(outcome.exit_code, row.exit_code) << testing::PrintToString(row.words);
      EXPECT_THAT(outcome.error, testing::HasSubstr(row.error)) << testing::PrintToString(row.words);
      EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 1) << outcome.error;
      EXPECT_EQ(outcome.out, "") << testing::PrintToString(row.words);
    }
  }
};

}  // namespace Lumenar::Test
