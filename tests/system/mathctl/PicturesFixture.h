// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/EngineFixture.h"
#include "tools/mathctl/command.h"

namespace Lumenar::Test {

using Words = std::vector<std::string>;

/// No call of the command line may take longer, whatever is broken.
inline constexpr std::chrono::seconds kPatience{20};

/// What a command did.
struct Outcome {
  int exit_code;
  std::string out;
  std::string error;
};

/// The verbs that show and explain, against a platform of real processes whose readings are the test's own.
class PicturesFixture : public EngineFixture {
 protected:
  using EngineFixture::EngineFixture;

  Outcome Run(const Words& words, std::map<std::string, std::string> environment = {}) {
    const auto process = platform_.Start("mathctl", words, std::move(environment));
    const int exit_code = process->WaitForExit(kPatience);
    return {exit_code, process->Out(), process->Error()};
  }

  /// What a command writes that must succeed.
  std::string Out(const Words& words, std::map<std::string, std::string> environment = {}) {
    const Outcome outcome = Run(words, std::move(environment));
    EXPECT_EQ(outcome.exit_code, Mathctl::kDone) << testing::PrintToString(words) << outcome.out << outcome.error;
    return outcome.out;
  }

  static std::vector<nlohmann::json> ObjectsIn(const std::string& text) {
    std::vector<nlohmann::json> objects;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) objects.push_back(nlohmann::json::parse(line));
    return objects;
  }

  static std::string FileText(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  std::size_t Subscriptions() {
    const CORBA::Object_var object = bench_.Orb().Resolve({"Lumenar", "local", "DDS_MANAGER", "1"});
    const Corvanta::DDS_Manager_var manager = Corvanta::DDS_Manager::_narrow(object);
    const Corvanta::SubscriptionStatusSeq_var subscriptions = manager->Subscriptions();
    return subscriptions->length();
  }

  bool WaitForSubscriptions(std::size_t count) {
    return WaitUntil([&] { return Subscriptions() == count; });
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
