// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/top_frame.h"

#include <fmt/format.h>

#include <map>

#include "client/MathState.h"
#include "client/Text.h"
#include "tools/mathctl/object_row.h"
#include "tools/mathctl/sample_text.h"

namespace Lumenar::Mathctl {
namespace {

using nlohmann::ordered_json;

std::string CountsText(const std::vector<ReportedObject>& objects) {
  std::map<Client::MathState, std::size_t> counts;
  for (const ReportedObject& object : objects) ++counts[Client::StateOf(object.report)];
  std::string text = fmt::format("{} math object{}", objects.size(), objects.size() == 1 ? "" : "s");
  for (const auto& [state, count] : counts) {
    text += fmt::format("{} {} {}", state == counts.begin()->first ? ":" : ",", count, Client::WordOf(state));
  }
  return text;
}

}  // namespace

std::optional<QueueState> QueueOf(const Client::MathReport& report, const TopLook& look) {
  if (!look.queues) return std::nullopt;
  QueueState together;
  for (const Client::InputReport& input : report.inputs) {
    const auto one = look.queues->find(input.handle);
    if (one == look.queues->end()) return std::nullopt;
    together.queued += one->second.queued;
    together.dropped += one->second.dropped;
  }
  return together;
}

std::vector<std::string> TopHeading(const TopLook& look) {
  std::string engines;
  for (const EngineUse& use : look.engines) engines += (engines.empty() ? "" : "   ") + UseText(use);
  std::vector<std::string> lines{fmt::format("{}  {}", ClockText(look.time), CountsText(*look.objects)), engines};
  if (!look.problem.empty()) lines.push_back(look.problem);
  return lines;
}

Row TopHeader() {
  Row header = ObjectHeader();
  header.insert(header.end() - 1, {"QUEUED", "DROPPED"});
  return header;
}

Row TopCells(const Session& session, const ReportedObject& object, Client::TopicNames& names, const TopLook& look) {
  Row cells = ObjectCells(session, object, names);
  const auto queue = QueueOf(object.report, look);
  cells.insert(cells.end() - 1,
               {queue ? std::to_string(queue->queued) : "?", queue ? std::to_string(queue->dropped) : "?"});
  return cells;
}

ordered_json TopObjectJson(const Session& session, const ReportedObject& object, Client::TopicNames& names,
                           const TopLook& look) {
  ordered_json json{{"time", UtcText(look.time)}};
  json.update(ObjectJson(session, object, names));
  const auto queue = QueueOf(object.report, look);
  json["queued"] = queue ? ordered_json(queue->queued) : ordered_json();
  json["dropped"] = queue ? ordered_json(queue->dropped) : ordered_json();
  return json;
}

ordered_json TopEngineJson(const EngineUse& use, const TopLook& look) {
  return {{"time", UtcText(look.time)},
          {"process", Client::Printable(use.engine)},
          {"answers", use.answers},
          {"processor_share", use.processor_share ? ordered_json(*use.processor_share) : ordered_json()},
          {"resident_bytes", use.resident_bytes ? ordered_json(*use.resident_bytes) : ordered_json()}};
}

}  // namespace Lumenar::Mathctl
