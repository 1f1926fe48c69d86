// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "DDS.hh"
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

/// The command line as people use it, against a platform of real processes; the readings are the test's own.
class MathctlFixture : public EngineFixture {
 protected:
  using EngineFixture::EngineFixture;
  using json = nlohmann::json;

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

  /// The same as objects of JSON, one a line.
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

  /// Subscriptions that stand at the topic manager.
  std::size_t Subscriptions() {
    const CORBA::Object_var object = bench_.Orb().Resolve({"Lumenar", "local", "DDS_MANAGER", "1"});
    const Corvanta::DDS_Manager_var manager = Corvanta::DDS_Manager::_narrow(object);
    const Corvanta::SubscriptionStatusSeq_var subscriptions = manager->Subscriptions();
    return subscriptions->length();
  }

  bool WaitForSubscriptions(std::size_t count) {
    return WaitUntil([&] { return Subscriptions() == count; });
  }

  /// Starts a verb and waits until its subscriptions stand, from which on no sample of the test's is missed.
  std::unique_ptr<Process> StartSubscribed(const char* verb, Words words, std::size_t subscriptions) {
    const std::size_t before = Subscriptions();
    words.insert(words.begin(), verb);
    auto process = platform_.Start("mathctl", words);
    EXPECT_TRUE(WaitForSubscriptions(before + subscriptions)) << process->Error();
    return process;
  }

  std::unique_ptr<Process> StartWatch(Words words, std::size_t readings = 1) {
    return StartSubscribed("watch", std::move(words), readings);
  }
};

}  // namespace Lumenar::Test
