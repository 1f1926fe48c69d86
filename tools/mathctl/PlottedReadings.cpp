// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/PlottedReadings.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "client/TopicNames.h"
#include "client/values.h"
#include "platform/wire/record_kinds.h"
#include "tools/mathctl/sample_text.h"

namespace Lumenar::Mathctl {
namespace {

using Client::Error;
using Client::ErrorKind;
using Corvanta::BASIC_TRACE::BT_DATA;
using Scalar = Corvanta::VALUE_DOUBLE::VALUE;

constexpr std::size_t kLongestHistory = 1000000;

bool IsTrace(const Client::Reading& reading) { return reading.type_name == Corvanta::RecordKind<BT_DATA>::kTypeName; }

}  // namespace

std::vector<std::string> NamesForPeople(const Session& session, const std::vector<Client::Reading>& readings) {
  Client::TopicNames names(session.connection, session.options.factory);
  std::vector<std::string> texts;
  for (const Client::Reading& reading : readings) texts.push_back(names.Of(reading.topic));
  return texts;
}

PlottedReadings::PlottedReadings(const Session& session, const std::vector<std::string>& texts) {
  const std::vector<Client::Reading> readings = session.FindAll(texts);
  std::vector<std::string> names = NamesForPeople(session, readings);
  for (std::size_t i = 0; i < readings.size(); ++i) {
    if (readings[i].type_name == "void")
      throw Error(ErrorKind::BadArgument, Client::FullName(readings[i].name) + ": an action has no value to draw");
    Plotted plotted;
    plotted.reading = readings[i];
    plotted.name = std::move(names[i]);
    plotted.is_trace = IsTrace(readings[i]);
    plotted_.push_back(std::move(plotted));
  }
}

void PlottedReadings::ReadTraces() {
  for (Plotted& plotted : plotted_) {
    if (plotted.is_trace && plotted.samples == 0) plotted.trace = Client::GetValue(plotted.reading);
  }
}

std::string PlottedReadings::FirstWithoutTrace() const {
  for (const Plotted& plotted : plotted_) {
    if (!plotted.is_trace) return Client::FullName(plotted.reading.name);
  }
  return {};
}

void PlottedReadings::SubscribeTo(Client::Subscription& subscription) {
  for (const Plotted& plotted : plotted_) subscription.Add(plotted.reading);
}

void PlottedReadings::Take(Client::Delivery&& delivery) {
  Plotted& plotted = plotted_.at(delivery.source);
  ++plotted.samples;
  ++all_;
  if (!plotted.is_trace) return AddToHistory(plotted, delivery);
  if (std::holds_alternative<BT_DATA>(delivery.record)) plotted.trace = std::move(delivery.record);
}

// A history is of one unit: where that changes, it begins anew.
void PlottedReadings::AddToHistory(Plotted& plotted, const Client::Delivery& delivery) {
  Sample sample{delivery.time, 0, 0, 0};
  std::string units = "(no unit)";
  const auto* scalar = std::get_if<Scalar>(&delivery.record);
  if (scalar != nullptr) {
    sample = {delivery.time, scalar->val, scalar->val + scalar->minus_err, scalar->val + scalar->plus_err};
    units = UnitsForPeople(scalar->units);
  } else if (const auto* number = std::get_if<CORBA::Long>(&delivery.record)) {
    sample.value = *number;
  } else if (const auto* truth = std::get_if<bool>(&delivery.record)) {
    sample.value = *truth ? 1 : 0;
  } else {
    return;
  }
  if (units != plotted.units) plotted.history.clear();
  plotted.units = units;
  plotted.has_band = scalar != nullptr;
  plotted.history.push_back(sample);
  if (plotted.history.size() > kLongestHistory) plotted.history.pop_front();
}

unsigned long PlottedReadings::Fewest() const {
  unsigned long fewest = plotted_.empty() ? 0 : plotted_.front().samples;
  for (const Plotted& plotted : plotted_) fewest = std::min(fewest, plotted.samples);
  return fewest;
}

std::string PlottedReadings::FirstEmpty() const {
  for (const Plotted& plotted : plotted_) {
    const bool empty = plotted.is_trace ? !std::holds_alternative<BT_DATA>(plotted.trace) : plotted.history.empty();
    if (empty) return Client::FullName(plotted.reading.name);
  }
  return {};
}

void PlottedReadings::RequireAll() const {
  for (const Plotted& plotted : plotted_) {
    const CORBA::String_var name =
        Client::Remote(Client::FullName(plotted.reading.name), [&] { return plotted.reading.reference->Name(); });
  }
}

std::chrono::system_clock::time_point PlottedReadings::Origin() const {
  auto origin = std::chrono::system_clock::time_point::max();
  for (const Plotted& plotted : plotted_) {
    if (!plotted.history.empty()) origin = std::min(origin, plotted.history.front().time);
  }
  return origin;
}

Curve PlottedReadings::HistoryOf(const Plotted& plotted, std::chrono::system_clock::time_point origin) const {
  Curve curve;
  curve.name = plotted.name;
  curve.units = plotted.units;
  curve.along = Along::Time;
  if (plotted.history.empty()) return curve;
  curve.from = origin;
  curve.to = plotted.history.back().time;
  for (const Sample& sample : plotted.history) {
    curve.at.push_back(std::chrono::duration<double>(sample.time - origin).count());
    curve.values.push_back(sample.value);
    if (!plotted.has_band) continue;
    curve.low.push_back(sample.low);
    curve.high.push_back(sample.high);
  }
  return curve;
}

std::vector<Curve> PlottedReadings::Curves() const {
  std::vector<Curve> curves;
  const auto origin = Origin();
  for (const Plotted& plotted : plotted_) {
    if (!plotted.is_trace) {
      curves.push_back(HistoryOf(plotted, origin));
    } else if (const auto* trace = std::get_if<BT_DATA>(&plotted.trace)) {
      curves.push_back(CurveOfTrace(plotted.name, *trace));
    }
  }
  return curves;
}

}  // namespace Lumenar::Mathctl
