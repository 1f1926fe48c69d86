// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "tools/mathctl/engine_use.h"
#include "tools/mathctl/object_reports.h"
#include "tools/mathctl/table.h"

namespace Lumenar::Mathctl {

/// The fate of the samples of one subscription, or of all of an object's.
struct QueueState {
  std::uint64_t queued = 0;   ///< waiting now, at the topic manager
  std::uint64_t dropped = 0;  ///< that the subscriber will not get
};

/// What `top` shows in one round.
struct TopLook {
  std::chrono::system_clock::time_point time;
  std::vector<EngineUse> engines;
  const std::vector<ReportedObject>* objects = nullptr;
  std::optional<std::unordered_map<std::int32_t, QueueState>> queues;  ///< by handle; nothing while the manager is away
  std::string problem;  ///< what could not be asked; empty when all could
};

/// The fate of the samples of all inputs of an object; nothing when it is not known.
std::optional<QueueState> QueueOf(const Client::MathReport& report, const TopLook& look);

/// What `top` writes above the objects: time, numbers of objects by their state, engines, and what is wrong.
std::vector<std::string> TopHeading(const TopLook& look);

/// The cells of an object, as `list` has them, with QUEUED and DROPPED in front of STATE; and the header for them.
Row TopHeader();
Row TopCells(const Session& session, const ReportedObject& object, Client::TopicNames& names, const TopLook& look);

nlohmann::ordered_json TopObjectJson(const Session& session, const ReportedObject& object, Client::TopicNames& names,
                                     const TopLook& look);
nlohmann::ordered_json TopEngineJson(const EngineUse& use, const TopLook& look);

}  // namespace Lumenar::Mathctl
