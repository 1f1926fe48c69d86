// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/EngineFixture.h"
#include "tests/support/SerialMeter.h"

namespace Lumenar::Test {

/// A platform with a math engine, and the instrument for libsigrok's devices.
class SigrokFixture : public EngineFixture {
 protected:
  using Settings = std::map<std::string, std::string>;

  static constexpr std::chrono::seconds kPatience{20};

  /// The demonstration device: a square wave at A0, a sine wave at A1, 20 points a period.
  static Settings Demo(const std::string& config) {
    return {{"SIGROK_DEVICE", "demo:logic_channels=0:analog_channels=2"},
            {"SIGROK_CONFIG", config},
            {"SIGROK_CHANNELS", "A1"}};
  }

  static Settings Meter(const SerialMeter& meter, Settings more = {}) {
    more.merge(SerialMeter::AsSerialPort());
    more.emplace("SIGROK_DEVICE", meter.Device());
    return more;
  }

  Process& StartSigrok(const Settings& settings) { return platform_.StartEngine("sigrok_devices", settings); }

  /// Waits until a reading was offered, which a line says.
  static void ExpectReading(Process& engine, const std::string& name) {
    EXPECT_TRUE(WaitUntil([&] { return engine.Out().find("SIGROK: " + name + ": ") != std::string::npos; }, kPatience))
        << name << '\n'
        << engine.Out() << engine.Error();
  }

  static std::string TopicOf(const std::string& item) { return "SIGROK/1/" + item; }

  /// The program of the command line.
  std::string Mathctl(const std::vector<std::string>& words, int status = 0) {
    const auto process = platform_.Start("mathctl", words);
    EXPECT_EQ(process->WaitForExit(kPatience), status) << testing::PrintToString(words) << process->Error();
    last_error_ = process->Error();
    return process->Out();
  }

  std::string last_error_;
};

}  // namespace Lumenar::Test
