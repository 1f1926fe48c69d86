// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "client/Connection.h"
#include "platform/units/Units.h"

namespace Lumenar::Client {

/// What is known of a reading of an instrument.
struct SourceFacts {
  std::string problem;                                        ///< why it could not be asked; empty when it could
  std::string engine;                                         ///< registered name of the engine that has it
  std::string address;                                        ///< of that engine's process
  std::string kind;                                           ///< as in TypeInfo
  std::optional<Value::Units> units;                          ///< of its present value
  std::uint32_t points = 0;                                   ///< of its present value; 1 of what is no trace
  std::optional<std::int64_t> number;                         ///< its present value, if that is a whole number
  std::optional<std::chrono::duration<double>> captured_ago;  ///< by its header and the clock of this machine
  std::optional<std::uint64_t> published;  ///< samples on its topic in all, as the topic manager counts them
  std::optional<double> rate;              ///< samples a second, from two looks at that count
};

/// What an instrument says of the reading that it publishes on a topic; `engines` are those that are registered.
/// Errors   none: what goes wrong is the problem of the facts.
SourceFacts AskSource(const std::string& topic, const std::vector<Engine>& engines);

}  // namespace Lumenar::Client
