// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "client/MathName.h"
#include "client/MathObjects.h"
#include "platform/units/Units.h"

namespace Lumenar::Web {

/// An engine as it was found.
struct EngineFacts {
  std::string name;
  std::string problem;  ///< why it could not be asked; empty when it could
  std::size_t readings = 0;
  std::optional<double> processor_s;
  std::optional<std::uint64_t> resident_bytes;
  std::optional<std::uint64_t> lost;  ///< samples that it could not send
};

/// A reading of an instrument.
struct ReadingFacts {
  std::string name;  ///< "PROBE/1/WAKEUP"
  std::string engine;
  std::string kind;  ///< as in TypeInfo
  std::string topic;
  bool settable = false;
  std::optional<Value::Units> units;  ///< nothing: not known yet, or none of its kind
  std::string x_unit;
  std::uint32_t points = 0;
  std::optional<std::uint64_t> published;
  std::optional<double> rate;   ///< samples a second, from two looks
  std::optional<double> age_s;  ///< since a sample was seen to come; nothing before the first
};

/// A math object.
struct ObjectFacts {
  std::string name;  ///< "math:3"
  Client::MathName object;
  Client::MathReport report;
  std::vector<std::string> inputs;  ///< by name
  std::string words;                ///< its state, for people
};

/// The topic manager.
struct ManagerFacts {
  bool alive = false;
  std::size_t topics = 0;
  std::size_t subscriptions = 0;
  std::uint64_t queued = 0;
  std::uint64_t dropped = 0;  ///< of the subscriptions that there are
};

/// The whole platform at one moment. What could not be asked is as it was before.
struct Snapshot {
  std::chrono::steady_clock::time_point taken{};
  std::vector<std::string> problems;  ///< each a sentence; empty when all is well
  std::vector<EngineFacts> engines;
  std::vector<ReadingFacts> readings;
  std::vector<ObjectFacts> objects;
  std::map<std::string, bool> math_engines;  ///< whether each answered
  ManagerFacts manager;
};

}  // namespace Lumenar::Web
