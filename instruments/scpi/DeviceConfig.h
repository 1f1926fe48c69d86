// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "instruments/common/ErrorBand.h"
#include "instruments/scpi/Address.h"
#include "instruments/scpi/AnswerReader.h"
#include "instruments/scpi/numbers.h"
#include "platform/units/Units.h"

namespace Lumenar::Scpi {

using Milliseconds = std::chrono::milliseconds;

/// One message to a device. It has an answer where it asks something, which a "?" outside of quotation marks says.
struct Message {
  std::string text;
  bool is_question = false;
};

/// A number that stands in the file, or one that the device is asked for.
struct Figure {
  double number = 0;
  std::string question;  ///< empty where the number is known
};

/// A trace or a scalar: what is asked, and what the answer means.
struct ReadingConfig {
  bool is_trace = false;
  std::string name;
  std::vector<Message> single;  ///< before each question
  std::string query;
  Value::Units units;
  double rate_Hz = 10;
  std::optional<Milliseconds> timeout;  ///< of its questions; else the device's
  NumberForm form;
  Figure zero{0, {}};  ///< see Scaling
  Figure scale{1, {}};
  Figure offset{0, {}};
  Instruments::ErrorBand error;  ///< of a scalar
  std::vector<Figure> x;  ///< of a trace: first and last point of the horizontal axis, or their distance, or none
  Value::Units_list x_unit = Value::U_None;
  double x_factor = 1;  ///< what the unit's prefix stands for
};

/// What clients may set.
struct SettingConfig {
  std::string name;
  std::string get;
  std::string set;  ///< "{}" stands where the number goes
  Value::Units units;
  std::optional<std::pair<double, double>> limits;
};

/// A device: how it is reached, what it is told at first, and what it is asked.
struct DeviceConfig {
  std::string file;  ///< for messages
  std::optional<Address> address;
  LineEnd end = LineEnd::Lf;
  Milliseconds first_timeout{10'000};
  Milliseconds timeout{3'000};
  Milliseconds gap{0};
  std::size_t largest = 16'000'000;  ///< bytes of one answer
  std::string identify = "*IDN?";    ///< empty: not asked
  std::string errors = ":SYST:ERR?";
  std::vector<Message> start;
  std::vector<ReadingConfig> readings;
  std::vector<SettingConfig> settings;
};

}  // namespace Lumenar::Scpi
