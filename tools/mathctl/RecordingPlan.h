// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "client/MathName.h"
#include "client/TopicNames.h"
#include "recording/Recording.h"
#include "tools/mathctl/command.h"

namespace Lumenar::Mathctl {

/// One reading that is to be recorded.
struct PlannedReading {
  Client::Reading reading;
  Recording::ReadingInfo info;
  std::optional<Client::MathName> math;  ///< whose result it is
  std::optional<Client::Reading> size;   ///< SIZE of an Average
};

/// Which readings a recording has: those that were asked for, and what they are computed from. None twice; inputs
/// before the objects over them.
/// Errors   Client::Error, as the calls to the engines.
class RecordingPlan {
 public:
  explicit RecordingPlan(const Session& session);

  /// The readings that texts mean, as Session::FindAll.
  void AddReadings(const std::vector<std::string>& texts);

  /// A math object: its inputs, theirs, down to the instruments; and the results of all objects on the way.
  /// Errors   also BadArgument for a text that is no object's.
  void AddWithInputs(const std::string& object);

  const std::vector<PlannedReading>& All() const { return planned_; }

 private:
  void Add(const Client::Reading& reading);
  void AddWithInputs(const Client::MathName& object);
  void Describe(PlannedReading& planned, const Client::MathName& object);

  const Session& session_;
  Client::TopicNames names_;
  std::set<std::string> taken_;
  std::vector<PlannedReading> planned_;
};

}  // namespace Lumenar::Mathctl
