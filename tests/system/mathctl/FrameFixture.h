// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/EngineFixture.h"
#include "tests/support/PseudoTerminal.h"
#include "tools/mathctl/command.h"

namespace Lumenar::Test {

/// The command line in a pipe and on a terminal, against a platform of real processes; readings are the test's own.
class FrameFixture : public EngineFixture {
 protected:
  using EngineFixture::EngineFixture;
  using Arguments = std::vector<std::string>;

  /// No call of the tool may take longer than this, whatever is broken.
  static constexpr std::chrono::seconds kLimit{20};

  struct Result {
    int exit_code;
    std::string out;
    std::string error;
  };

  Result Call(const Arguments& words, std::map<std::string, std::string> environment = {}) {
    const auto process = platform_.Start("mathctl", words, std::move(environment));
    const int exit_code = process->WaitForExit(kLimit);
    return {exit_code, process->Out(), process->Error()};
  }

  /// What a command writes that must succeed.
  std::string Written(const Arguments& words) {
    const Result result = Call(words);
    EXPECT_EQ(result.exit_code, Mathctl::kDone) << testing::PrintToString(words) << result.error;
    return result.out;
  }

  /// A command in bash, whose $1 is mathctl.
  Result InShell(const std::string& line, Arguments words = {}) {
    words.insert(words.begin(), {"bash", "-c", line, "bash", BuiltProgram("mathctl").string()});
    Process process(words, platform_.Environment());
    const int exit_code = process.WaitForExit(kLimit);
    return {exit_code, process.Out(), process.Error()};
  }

  PseudoTerminal OnTerminal(const Arguments& words, std::map<std::string, std::string> environment = {}) {
    environment.insert(platform_.Environment().begin(), platform_.Environment().end());
    return PseudoTerminal(BuiltProgram("mathctl"), words, environment);
  }

  static std::vector<nlohmann::json> JsonLines(const std::string& text) {
    std::vector<nlohmann::json> objects;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) objects.push_back(nlohmann::json::parse(line));
    return objects;
  }

  std::size_t StandingSubscriptions() {
    const CORBA::Object_var object = bench_.Orb().Resolve({"Lumenar", "local", "DDS_MANAGER", "1"});
    const Corvanta::DDS_Manager_var manager = Corvanta::DDS_Manager::_narrow(object);
    const Corvanta::SubscriptionStatusSeq_var subscriptions = manager->Subscriptions();
    return subscriptions->length();
  }

  /// Starts a watch and waits until its subscriptions stand.
  std::unique_ptr<Process> Watching(Arguments words, std::size_t readings = 1) {
    const std::size_t before = StandingSubscriptions();
    words.insert(words.begin(), "watch");
    auto watch = platform_.Start("mathctl", words);
    EXPECT_TRUE(WaitUntil([&] { return StandingSubscriptions() == before + readings; })) << watch->Error();
    return watch;
  }
};

}  // namespace Lumenar::Test
