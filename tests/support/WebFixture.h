// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/IsolatedPlatform.h"
#include "tests/support/RawSocket.h"
#include "tests/support/WebClient.h"

namespace Lumenar::Test {

/// A whole platform with a simulated instrument, and a gateway on a port of its own.
class WebFixture : public testing::Test {
 protected:
  WebFixture();

  /// Starts the gateway (again) and waits until it is ready. `sim` are the simulator's readings; empty: no simulator.
  void StartWeb(const std::vector<std::string>& arguments = {}, const std::string& sim = kSimReadings);

  unsigned short Port() const { return port_; }
  Process& Web() { return *web_; }
  Process& Math() { return *math_; }

  /// mathctl with these words; what it writes to standard output.
  std::string Mathctl(const std::vector<std::string>& words);

  /// The next message of state that fits.
  static nlohmann::json StateWhere(WebClient& client, const std::function<bool(const nlohmann::json&)>& fits);

  /// The math object of a state; null when it has none of this name.
  static nlohmann::json ObjectOf(const nlohmann::json& state, const std::string& name);

  static constexpr const char* kSimReadings =
      "trace:LEVEL:units=dBm:wave=noise:amplitude=3:offset=-40:points=10001:xstep=1000:rate=20;"
      "trace:POWER:units=W:wave=sine:amplitude=1:offset=2:points=10001:rate=20;"
      "value:VOLTAGE:units=V:wave=sine:amplitude=0.5:offset=5:error=0.001:rate=20;"
      "setting:START:value=0;setting:STOP:value=1000";

  IsolatedPlatform platform_;

 private:
  Process* math_ = nullptr;
  bool has_sim_ = false;
  std::unique_ptr<Process> web_;
  unsigned short port_ = 0;
};

}  // namespace Lumenar::Test
