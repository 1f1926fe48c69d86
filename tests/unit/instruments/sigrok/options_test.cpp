// SPDX-License-Identifier: Apache-2.0
// What users write: names of devices, options, error bands, and all settings together.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "instruments/sigrok/SigrokOptions.h"

namespace Lumenar::Sigrok {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(DeviceName, DriverAndOptions) {
  const DeviceName name = ParseDeviceName("uni-t-ut61b-ser:conn=/dev/ttyUSB0:serialcomm=2400/8n1/rts=0");
  EXPECT_EQ(name.driver, "uni-t-ut61b-ser");
  EXPECT_THAT(name.options,
              ElementsAre(DeviceOption{"", "conn", "/dev/ttyUSB0"}, DeviceOption{"", "serialcomm", "2400/8n1/rts=0"}));
  EXPECT_EQ(name.Connection(), "/dev/ttyUSB0");
  EXPECT_EQ(name.Text(), "uni-t-ut61b-ser:conn=/dev/ttyUSB0:serialcomm=2400/8n1/rts=0");
}

TEST(DeviceName, OfAGroupOfChannels) {
  EXPECT_THAT(ParseDeviceOptions("A0.offset=2:samplerate=20k:"),
              ElementsAre(DeviceOption{"A0", "offset", "2"}, DeviceOption{"", "samplerate", "20k"}));
  EXPECT_EQ(ParseDeviceOptions("A0.offset=2").front().Text(), "A0.offset=2");
  EXPECT_THAT(ParseDeviceOptions(""), IsEmpty());
}

TEST(DeviceName, WithoutConnection) { EXPECT_EQ(ParseDeviceName("demo").Connection(), ""); }

TEST(DeviceName, WhatIsNoneIsRefused) {
  for (const char* text : {"", ":conn=1", "demo:conn", "demo:=5", "demo:a.=5"})
    EXPECT_THROW(ParseDeviceName(text), std::invalid_argument) << text;
}

TEST(DeviceName, TheNetworkIsRefusedWithWhoReadsIt) {
  for (const char* place : {"tcp-raw/192.0.2.1/5025", "TCP/192.0.2.1/1", "vxi/192.0.2.1", "visa/TCPIP0", "udp/a/1"}) {
    try {
      ParseDeviceName(std::string("scpi-dmm:conn=") + place);
      ADD_FAILURE() << place;
    } catch (const std::invalid_argument& error) {
      EXPECT_THAT(error.what(), testing::AllOf(HasSubstr(place), HasSubstr("the instrument scpi")));
    }
  }
  EXPECT_NO_THROW(ParseDeviceName("scpi-dmm:conn=usbtmc/1.2"));
}

TEST(ErrorBands, TheOwnOneOfAReadingComesBeforeTheGeneralOne) {
  const auto bands = ErrorBandsFromText("P1_VOLTAGE_DC = 0.5 % + 0.003; 1 %;");
  EXPECT_DOUBLE_EQ(FindErrorBand(bands, "P1_VOLTAGE_DC")->Of(-10), 0.053);
  EXPECT_DOUBLE_EQ(FindErrorBand(bands, "P1_CURRENT_DC")->Of(-10), 0.1);
  EXPECT_EQ(FindErrorBand(ErrorBandsFromText("A=1"), "B"), nullptr);
  EXPECT_THAT(ErrorBandsFromText(""), IsEmpty());
}

TEST(ErrorBands, WhatIsNoneIsRefused) {
  for (const char* text : {"much", "A=", "A=1;B=", "1 % of reading", "A=B=1"})
    EXPECT_THROW(ErrorBandsFromText(text), std::invalid_argument) << text;
}

TEST(SigrokOptions, AllSettings) {
  const SigrokOptions options = ParseSigrokOptions({{"SIGROK_DEVICE", "demo:analog_channels=2"},
                                                    {"SIGROK_CONFIG", "samplerate=20k:limit_frames=3"},
                                                    {"SIGROK_CHANNELS", "A0,A1"},
                                                    {"SIGROK_ATTRIBUTES", "samplerate,A0.offset"},
                                                    {"SIGROK_POINTS", "250"},
                                                    {"SIGROK_ERROR", "1 %"},
                                                    {"SIGROK_SCAN_LIMIT", "2.5"},
                                                    {"SIGROK_RETRY", "0.5"},
                                                    {"SIGROK_SILENCE", "0"},
                                                    {"SIGROK_LOG", "3"}});
  EXPECT_EQ(options.device.Text(), "demo:analog_channels=2");
  EXPECT_EQ(options.config.size(), 2u);
  EXPECT_THAT(options.channels, ElementsAre("A0", "A1"));
  EXPECT_THAT(options.attributes, ElementsAre("samplerate", "A0.offset"));
  EXPECT_EQ(options.points, 250u);
  EXPECT_EQ(options.errors.size(), 1u);
  EXPECT_EQ(options.scan_limit, std::chrono::milliseconds(2500));
  EXPECT_EQ(options.retry, std::chrono::milliseconds(500));
  EXPECT_EQ(options.silence, std::chrono::milliseconds(0));
  EXPECT_EQ(options.log_level, 3);
  EXPECT_TRUE(options.HasEnd()) << "limit_frames";
}

TEST(SigrokOptions, WhatIsLeftOut) {
  const SigrokOptions options = ParseSigrokOptions({{"SIGROK_DEVICE", "demo"}});
  EXPECT_EQ(options.points, std::nullopt);
  EXPECT_EQ(options.silence, std::nullopt);
  EXPECT_FALSE(options.HasEnd());
}

TEST(SigrokOptions, WhatIsWrongIsNamed) {
  const std::pair<Instruments::Settings, const char*> rows[] = {
      {{}, "SIGROK_DEVICE names no device"},
      {{{"SIGROK_DEVICE", "demo:conn"}}, "SIGROK_DEVICE=demo:conn: expected KEY=VALUE, found \"conn\""},
      {{{"SIGROK_DEVICE", "demo"}, {"SIGROK_CONFIG", "x"}}, "SIGROK_CONFIG=x: expected KEY=VALUE"},
      {{{"SIGROK_DEVICE", "demo"}, {"SIGROK_ERROR", "5 V"}}, "SIGROK_ERROR=5 V: "},
      {{{"SIGROK_DEVICE", "demo"}, {"SIGROK_POINTS", "0"}}, "SIGROK_POINTS=0: expected a number from 1 to "},
      {{{"SIGROK_DEVICE", "demo"}, {"SIGROK_POINTS", "1.5"}}, "SIGROK_POINTS=1.5: expected a whole number"},
      {{{"SIGROK_DEVICE", "demo"}, {"SIGROK_RETRY", "never"}}, "SIGROK_RETRY=never: expected a number"},
      {{{"SIGROK_DEVICE", "demo"}, {"SIGROK_LOG", "9"}}, "SIGROK_LOG=9: expected a number from 0 to 5"},
  };
  for (const auto& [settings, reason] : rows) {
    try {
      ParseSigrokOptions(settings);
      ADD_FAILURE() << reason;
    } catch (const std::invalid_argument& error) {
      EXPECT_THAT(error.what(), testing::StartsWith(reason));
    }
  }
}

}  // namespace
}  // namespace Lumenar::Sigrok
