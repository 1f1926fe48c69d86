// SPDX-License-Identifier: Apache-2.0
#include "instruments/scpi/ScpiInstrument.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Lumenar::Scpi {
namespace {

std::string RefusalOf(const std::string& devices) {
  try {
    DevicesFromSettings({{"SCPI_DEVICES", devices}});
  } catch (const std::exception& error) {
    return error.what();
  }
  return "none";
}

TEST(ScpiDevices, AreNamedWithAddressAndPrefix) {
  const auto devices =
      DevicesFromSettings({{"SCPI_DEVICES", "multimeter; A=multimeter@dmm.example:7 ;B=multimeter@[::1]"}});
  ASSERT_EQ(devices.size(), 3u);
  EXPECT_EQ(devices[0].prefix, "");
  EXPECT_EQ(devices[0].config.address->Text(), "127.0.0.1:5025");
  EXPECT_EQ(devices[1].prefix, "A_");
  EXPECT_EQ(devices[1].config.address->Text(), "dmm.example:7");
  EXPECT_EQ(devices[2].prefix, "B_");
  EXPECT_EQ(devices[2].config.address->Text(), "[::1]:5025");
}

TEST(ScpiDevices, WrongOnesAreRefused) {
  EXPECT_EQ(RefusalOf(""), "SCPI_DEVICES names no device: expected FILE or FILE@HOST:PORT");
  EXPECT_EQ(RefusalOf(" ; "), "SCPI_DEVICES names no device: expected FILE or FILE@HOST:PORT");
  EXPECT_EQ(RefusalOf("/nonexistent/a"), "/nonexistent/a: No such file or directory");
  EXPECT_EQ(RefusalOf("/dev/null"), "/dev/null: is not a regular file");
  EXPECT_EQ(RefusalOf("multimeter@h:x"), "'h:x' is no address: the port is no number from 1 to 65535");
  EXPECT_NE(RefusalOf("multimeter;multimeter").find("both have an item VOLTAGE: put a name before one, as DMM=FILE"),
            std::string::npos);
}

}  // namespace
}  // namespace Lumenar::Scpi
