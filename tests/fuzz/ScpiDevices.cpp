// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <stdexcept>
#include <string_view>

#include "instruments/scpi/DeviceFile.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/Violation.h"

namespace Lumenar::Fuzz {
namespace {

void RequireOneLine(std::string_view text) {
  const bool is_printable =
      std::all_of(text.begin(), text.end(), [](char c) { return c != '\n' && c != '\r' && c != 0; });
  Require(is_printable, "a refusal is one line");
}

}  // namespace

void ScpiDevices(Bytes input) {
  try {
    const Scpi::DeviceConfig device = Scpi::DeviceFromText(TextOf(input), "file");
    Require(!device.readings.empty() || !device.settings.empty(), "a device has an item");
    for (const Scpi::ReadingConfig& reading : device.readings) {
      Require(!reading.name.empty() && !reading.query.empty(), "a reading has a name and a query");
      Require(reading.rate_Hz > 0, "a rate is a rate");
      Require(Value::Units_library::Is_packed(reading.units), "units are packed");
      Require(!reading.units.is_dB || Value::Units_library::Decibel_factor(reading.units) == 1,
              "a level is one that can be made linear");
    }
    for (const Scpi::SettingConfig& setting : device.settings)
      Require(setting.set.find("{}") != std::string::npos, "a setting has a place for its number");
  } catch (const std::invalid_argument& error) {
    RequireOneLine(error.what());
  }
}

}  // namespace Lumenar::Fuzz
