// SPDX-License-Identifier: Apache-2.0
// Devices of libsigrok that go, and drivers that hang.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <csignal>

#include "tests/faults/FaultCase.h"
#include "tests/faults/ProgramRun.h"
#include "tests/support/SerialMeter.h"

namespace Lumenar::Test {
namespace {

using testing::HasSubstr;

constexpr std::chrono::seconds kPatience{20};
const SerialMeter::Display kVolts{"+1234", '1', SerialMeter::kDc, 0, 0, SerialMeter::kVolt};

class SigrokFault : public testing::Test {
 protected:
  using Settings = std::map<std::string, std::string>;

  static Settings Hanging(const char* place) {
    return {{"SIGROK_DEVICE", "demo:logic_channels=0:analog_channels=1"},
            {"SIGROK_CONFIG", "samplerate=10k"},
            {"SIGROK_SCAN_LIMIT", "1"},
            {"SIGROK_RETRY", "0.2"},
            {"LD_PRELOAD", LUMENAR_HANGING_DRIVER},
            {"HANGING_DRIVER", place}};
  }

  Process& StartSigrok(const Settings& settings) { return platform_.StartEngine("sigrok_devices", settings); }

  static bool WaitForText(Process& engine, const std::string& text) {
    const auto has_it = [&] { return (engine.Out() + engine.Error()).find(text) != std::string::npos; };
    return WaitUntil([&] { return has_it() || !engine.IsRunning(); }, kPatience) && has_it();
  }

  /// Its end after SIGTERM: the exit status, and how long it took.
  static int End(Process& engine, std::chrono::milliseconds& took) {
    const auto begin = std::chrono::steady_clock::now();
    engine.Signal(SIGTERM);
    const int status = engine.WaitForExit(kPatience);
    took = std::chrono::ceil<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
    return status;
  }

  IsolatedPlatform platform_;
};

TEST_F(SigrokFault, ADeviceThatIsGone) {
  DescribeFault("device gone", "the serial port of a meter that measures goes away",
                "one line, its readings keep their value, it is looked for; the engine ends in good order");
  SerialMeter meter(kVolts);
  Settings settings = SerialMeter::AsSerialPort();
  settings.merge(Settings{{"SIGROK_DEVICE", meter.Device()}, {"SIGROK_RETRY", "0.2"}});
  Process& engine = StartSigrok(settings);
  ASSERT_TRUE(WaitForText(engine, "P1_VOLTAGE_DC: numbers in V")) << engine.Error();
  meter.Unplug();
  EXPECT_TRUE(WaitForText(engine, "is gone, and its readings keep their value: no device answers; it is looked for"))
      << engine.Error();
  const auto value = platform_.Start("mathctl", {"get", "SIGROK/1/P1_VOLTAGE_DC"});
  EXPECT_EQ(value->WaitForExit(kPatience), 0) << value->Error();
  EXPECT_THAT(value->Out(), HasSubstr("1.234 V"));
  std::chrono::milliseconds took{};
  EXPECT_EQ(End(engine, took), 0) << engine.Error();
  ReportFigure(fmt::format("ended in {} ms", took.count()));
}

TEST_F(SigrokFault, ADriverThatDoesNotEnd) {
  DescribeFault("driver does not end", "a driver goes on measuring when it is told to stop",
                "one line, and the host goes within 10 s");
  Process& engine = StartSigrok(Hanging("stop"));
  ASSERT_TRUE(WaitForText(engine, "A0_VOLTAGE_DC: traces")) << engine.Error();
  std::chrono::milliseconds took{};
  EXPECT_EQ(End(engine, took), 1);
  EXPECT_THAT(engine.Error(), HasSubstr("its driver does not end; the host goes\n"));
  EXPECT_LT(took, std::chrono::seconds(10));
  ReportFigure(fmt::format("gone in {} ms", took.count()));
}

TEST_F(SigrokFault, ADriverThatHangs) {
  DescribeFault("driver hangs", "a driver that hangs while it measures, and a signal to end",
                "one line, and the host goes within 10 s");
  Process& engine = StartSigrok(Hanging("run"));
  ASSERT_TRUE(WaitForText(engine, " measures")) << engine.Error();
  std::chrono::milliseconds took{};
  EXPECT_EQ(End(engine, took), 1);
  EXPECT_THAT(engine.Error(), HasSubstr("its driver does not end; the host goes\n"));
  EXPECT_LT(took, std::chrono::seconds(10));
}

TEST_F(SigrokFault, ADriverThatHangsForAMinute) {
  if (!FullLength()) GTEST_SKIP() << "takes more than a minute: at full length";
  DescribeFault("driver hangs for good", "a driver that hangs while it measures, and nobody who ends the engine",
                "after a minute one line, and the host goes by itself");
  Process& engine = StartSigrok(Hanging("run"));
  ASSERT_TRUE(WaitForText(engine, " measures")) << engine.Error();
  EXPECT_EQ(engine.WaitForExit(std::chrono::seconds(90)), 1);
  EXPECT_THAT(engine.Error(), HasSubstr("its driver has hung for 60 s; the host goes\n"));
}

TEST_F(SigrokFault, AScanThatHangs) {
  DescribeFault("device holds a scan", "a device that does not answer, and a driver that waits for it for ever",
                "the scan is ended at its limit; one line; the engine serves meanwhile and ends at once");
  Process& engine = StartSigrok(Hanging("scan"));
  EXPECT_TRUE(WaitForText(engine, "is not there: a search for it did not end within 1 s; it is looked for every 0.2 s"))
      << engine.Error();
  const auto engines = platform_.Start("mathctl", {"engines"});
  EXPECT_EQ(engines->WaitForExit(kPatience), 0);
  EXPECT_THAT(engines->Out(), HasSubstr("SIGROK/1"));
  std::chrono::milliseconds took{};
  EXPECT_EQ(End(engine, took), 0) << engine.Error();
  EXPECT_LT(took, std::chrono::seconds(3));
  ReportFigure(fmt::format("ended in {} ms", took.count()));
}

TEST_F(SigrokFault, SettingsThatAreNone) {
  DescribeFault("bad settings of a device", "drivers, options, numbers and addresses that are none",
                "one line that names the setting, exit 1");
  const std::pair<Settings, const char*> rows[] = {
      {{}, "SIGROK_DEVICE names no device"},
      {{{"SIGROK_DEVICE", "bananas"}}, "there is no driver \"bananas\""},
      {{{"SIGROK_DEVICE", "demo:conn"}}, "SIGROK_DEVICE=demo:conn: expected KEY=VALUE"},
      {{{"SIGROK_DEVICE", "scpi-dmm:conn=tcp-raw/192.0.2.1/5025"}}, "the instrument scpi does"},
      {{{"SIGROK_DEVICE", "demo"}, {"SIGROK_CONFIG", "bananas=1"}}, "there is no option \"bananas\""},
      {{{"SIGROK_DEVICE", "demo"}, {"SIGROK_CONFIG", "samplerate=fast"}}, "samplerate=fast: expected a whole number"},
      {{{"SIGROK_DEVICE", "demo"}, {"SIGROK_POINTS", "1e9"}}, "SIGROK_POINTS=1e9: expected a number"},
      {{{"SIGROK_DEVICE", "demo"}, {"SIGROK_ERROR", "much"}}, "SIGROK_ERROR=much: "},
      {{{"SIGROK_DEVICE", "demo"}, {"SIGROK_ATTRIBUTES", "conn"}}, "conn is no number that clients could set"},
  };
  const std::string library = BuiltEngineLibrary("sigrok_devices").string();
  for (const auto& [settings, reason] : rows) {
    Settings environment = platform_.Environment();
    environment.insert(settings.begin(), settings.end());
    ExpectRefusal(*Start({"engine_host", {library}, 1}, environment), 1, reason);
  }
}

// What only the device can tell is no reason not to start: it is said, and tried again.
TEST_F(SigrokFault, SettingsThatTheDeviceDoesNotTake) {
  DescribeFault("settings that a device does not take", "channels, groups and options that this device does not have",
                "one line, the engine serves, and tries again");
  const std::pair<Settings, const char*> rows[] = {
      {{{"SIGROK_CHANNELS", "A9"}}, "it has no analog channel \"A9\" but A0"},
      {{{"SIGROK_CONFIG", "B.offset=1"}}, "it has no group of channels \"B\""},
      {{{"SIGROK_CONFIG", "voltage_target=1"}}, "voltage_target=1: the device lets nobody set this"},
  };
  for (const auto& [settings, reason] : rows) {
    Settings all{{"SIGROK_DEVICE", "demo:logic_channels=0:analog_channels=1"}, {"SIGROK_RETRY", "0.2"}};
    all.insert(settings.begin(), settings.end());
    Process& engine = StartSigrok(all);
    EXPECT_TRUE(WaitForText(engine, reason)) << engine.Error();
    std::chrono::milliseconds took{};
    EXPECT_EQ(End(engine, took), 0) << engine.Error();
  }
}

}  // namespace
}  // namespace Lumenar::Test
