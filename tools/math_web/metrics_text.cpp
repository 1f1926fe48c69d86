// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/metrics_text.h"

#include <prometheus/metric_family.h>
#include <prometheus/text_serializer.h>

#include <chrono>
#include <optional>
#include <sstream>
#include <utility>

#include "client/MathState.h"
#include "client/Text.h"
#include "platform/base/Version.h"
#include "tools/math_web/state_text.h"

namespace Lumenar::Web {
namespace {

using Labels = std::vector<prometheus::ClientMetric::Label>;
using prometheus::MetricType;

/// Families of metrics, in the order in which they are begun; what follows Begin belongs to that one.
class Families {
 public:
  void Gauge(const char* name, const char* help) { Begin(name, help, MetricType::Gauge); }
  void Counter(const char* name, const char* help) { Begin(name, help, MetricType::Counter); }

  void Add(double value, Labels labels = {}) {
    prometheus::ClientMetric metric;
    metric.label = std::move(labels);
    metric.gauge.value = value;
    metric.counter.value = value;
    families_.back().metric.push_back(std::move(metric));
  }

  template <class T>
  void AddKnown(const std::optional<T>& value, Labels labels) {
    if (value) Add(static_cast<double>(*value), std::move(labels));
  }

  std::string Text() const {
    std::vector<prometheus::MetricFamily> told;
    for (const auto& family : families_)
      if (!family.metric.empty()) told.push_back(family);
    std::ostringstream text;
    prometheus::TextSerializer().Serialize(text, told);
    return text.str();
  }

 private:
  void Begin(const char* name, const char* help, MetricType type) { families_.push_back({name, help, type, {}}); }

  std::vector<prometheus::MetricFamily> families_;
};

void AddHealth(const Snapshot& snapshot, Families& families) {
  families.Gauge("lumenar_build_info", "Version of the gateway, always 1.");
  families.Add(1, {{"version", Version()}});
  families.Gauge("lumenar_well", "1 when naming service, topic manager and all engines answer.");
  families.Add(snapshot.problems.empty() ? 1 : 0);
  const ManagerFacts& manager = snapshot.manager;
  families.Gauge("lumenar_manager_up", "1 when the topic manager answers.");
  families.Add(manager.alive ? 1 : 0);
  families.Gauge("lumenar_manager_topics", "Topics that the topic manager knows.");
  families.Add(static_cast<double>(manager.topics));
  families.Gauge("lumenar_manager_subscriptions", "Subscriptions that stand.");
  families.Add(static_cast<double>(manager.subscriptions));
  families.Gauge("lumenar_manager_queued_samples", "Samples that wait for subscribers.");
  families.Add(static_cast<double>(manager.queued));
  families.Gauge("lumenar_manager_dropped_samples", "Samples that the subscriptions that stand now have lost.");
  families.Add(static_cast<double>(manager.dropped));
}

void AddEngines(const Snapshot& snapshot, Families& families) {
  families.Gauge("lumenar_engine_up", "1 when the engine answers.");
  for (const auto& one : snapshot.engines) families.Add(one.problem.empty() ? 1 : 0, {{"engine", one.name}});
  families.Gauge("lumenar_engine_resident_memory_bytes", "Memory that the engine's process holds.");
  for (const auto& one : snapshot.engines) families.AddKnown(one.resident_bytes, {{"engine", one.name}});
  families.Counter("lumenar_engine_processor_seconds_total", "Processor time of the engine's process.");
  for (const auto& one : snapshot.engines) families.AddKnown(one.processor_s, {{"engine", one.name}});
  families.Counter("lumenar_engine_unsent_samples_total", "Samples that the engine could not send.");
  for (const auto& one : snapshot.engines) families.AddKnown(one.lost, {{"engine", one.name}});
}

void AddReadings(const Snapshot& snapshot, Families& families) {
  families.Counter("lumenar_reading_samples_total", "Samples that were published.");
  for (const auto& one : snapshot.readings) families.AddKnown(one.published, {{"reading", one.name}});
  families.Gauge("lumenar_reading_rate", "Samples a second, between the last two looks.");
  for (const auto& one : snapshot.readings) families.AddKnown(one.rate, {{"reading", one.name}});
  families.Gauge("lumenar_reading_age_seconds", "Time since a sample was seen to come.");
  for (const auto& one : snapshot.readings) families.AddKnown(one.age_s, {{"reading", one.name}});
}

Labels LabelsOf(const ObjectFacts& object) {
  return {{"object", object.name}, {"type", Client::Printable(object.report.type)}};
}

void AddObjects(const Snapshot& snapshot, Families& families) {
  const auto& objects = snapshot.objects;
  families.Gauge("lumenar_object_live", "1 while results come; 0 when it waits, is stale or refuses.");
  for (const auto& one : objects)
    families.Add(Client::StateOf(one.report) == Client::MathState::Live ? 1 : 0, LabelsOf(one));
  families.Counter("lumenar_object_results_total", "Results that were computed.");
  for (const auto& one : objects) families.Add(static_cast<double>(one.report.results), LabelsOf(one));
  families.Counter("lumenar_object_refused_samples_total", "Samples that the operation refused.");
  for (const auto& one : objects) families.Add(static_cast<double>(one.report.refused), LabelsOf(one));
  families.Gauge("lumenar_object_rate", "Results a second.");
  for (const auto& one : objects) families.AddKnown(RateOf(one.report), LabelsOf(one));
  families.Gauge("lumenar_object_age_seconds", "Time since the last result.");
  for (const auto& one : objects)
    if (one.report.age) families.Add(std::chrono::duration<double>(*one.report.age).count(), LabelsOf(one));
}

void AddNumbers(const std::vector<PresentNumber>& numbers, Families& families) {
  families.Gauge("lumenar_value", "Present value of a scalar or a whole number, in the unit of the label.");
  for (const PresentNumber& one : numbers) families.Add(one.value, {{"reading", one.name}, {"unit", one.unit}});
}

void AddGateway(const GatewayCounts& counts, Families& families) {
  const auto number = [](auto count) { return static_cast<double>(count); };
  families.Gauge("lumenar_web_clients", "Clients that are connected by WebSocket.");
  families.Add(number(counts.clients));
  families.Gauge("lumenar_web_streams", "Streams of all clients.");
  families.Add(number(counts.streams));
  families.Gauge("lumenar_web_readings", "Readings that the gateway is subscribed to.");
  families.Add(number(counts.readings));
  families.Counter("lumenar_web_frames_total", "Pictures of samples that were sent.");
  families.Add(number(counts.frames));
  families.Counter("lumenar_web_skipped_samples_total", "Samples that streams passed over.");
  families.Add(number(counts.skipped));
  families.Counter("lumenar_web_sent_bytes_total", "Bytes of all messages to clients.");
  families.Add(number(counts.bytes));
  families.Counter("lumenar_web_requests_total", "Requests of clients.");
  families.Add(number(counts.requests));
  families.Counter("lumenar_web_refused_total", "Requests and connections that were turned away.");
  families.Add(number(counts.refused));
  families.Counter("process_cpu_seconds_total", "Processor time of the gateway.");
  families.Add(counts.use.processor_s);
  families.Gauge("process_resident_memory_bytes", "Memory that the gateway holds.");
  families.Add(number(counts.use.resident_bytes));
}

}  // namespace

std::string MetricsText(const Snapshot& snapshot, const std::vector<PresentNumber>& numbers,
                        const GatewayCounts& counts) {
  Families families;
  AddHealth(snapshot, families);
  AddEngines(snapshot, families);
  AddReadings(snapshot, families);
  AddObjects(snapshot, families);
  AddNumbers(numbers, families);
  AddGateway(counts, families);
  return families.Text();
}

}  // namespace Lumenar::Web
