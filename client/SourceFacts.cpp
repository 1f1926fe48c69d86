// SPDX-License-Identifier: Apache-2.0
#include "client/SourceFacts.h"

#include <algorithm>
#include <variant>

#include "client/Text.h"
#include "client/values.h"
#include "platform/records/Records.h"

namespace Lumenar::Client {
namespace {

using Corvanta::BASIC_TRACE::BT_DATA;
using Seconds = std::chrono::duration<double>;

bool PublishedBy(const Engine& engine, const std::string& topic) {
  return topic.size() > engine.name.size() && topic.rfind(engine.name, 0) == 0 && topic[engine.name.size()] == '/';
}

// Nothing when no item of the engine has the topic.
std::optional<Reading> ReadingOfTopic(const Engine& engine, const std::string& topic) {
  const Corvanta::ItemSeq_var items = Remote(Printable(engine.name), [&] { return engine.registration->Items(); });
  for (CORBA::ULong i = 0; i < items->length(); ++i) {
    const Corvanta::Item& item = items.in()[i];
    if (topic != item.topic.in()) continue;
    return Reading{{engine.name, item.name.in()},
                   item.type_name.in(),
                   static_cast<bool>(item.settable),
                   topic,
                   Corvanta::EngineReadingBase::_duplicate(item.reference)};
  }
  return std::nullopt;
}

// The time since the capture that a trace tells; nothing when it tells none.
std::optional<Seconds> SinceCapture(const BT_DATA& trace) {
  const std::uint64_t captured_ns = std::uint64_t{trace.header[0]} << 32 | trace.header[1];
  if (captured_ns == 0) return std::nullopt;
  const Seconds now = std::chrono::system_clock::now().time_since_epoch();
  return now - Seconds(static_cast<double>(captured_ns) * 1e-9);
}

void TakeValue(const Corvanta::SampleRecord& value, SourceFacts& facts) {
  facts.points = 1;
  if (const auto* trace = std::get_if<BT_DATA>(&value)) {
    facts.points = trace->samples.length();
    facts.units = VALUE::UnitsFromCorba(trace->units);
    facts.captured_ago = SinceCapture(*trace);
  } else if (const auto* scalar = std::get_if<Corvanta::VALUE_DOUBLE::VALUE>(&value)) {
    facts.units = VALUE::UnitsFromCorba(scalar->units);
  } else if (const auto* number = std::get_if<CORBA::Long>(&value)) {
    facts.number = *number;
  }
}

}  // namespace

SourceFacts AskSource(const std::string& topic, const std::vector<Engine>& engines) {
  SourceFacts facts;
  try {
    const auto engine =
        std::find_if(engines.begin(), engines.end(), [&](const Engine& one) { return PublishedBy(one, topic); });
    if (engine == engines.end()) throw Error(ErrorKind::NotFound, "no engine of this name is registered");
    facts.engine = engine->name;
    facts.address = engine->address;
    if (engine->problem) throw *engine->problem;
    const auto reading = ReadingOfTopic(*engine, topic);
    if (!reading) throw Error(ErrorKind::NotFound, Printable(engine->name) + " has no such reading any more");
    facts.kind = reading->type_name;
    TakeValue(GetValue(*reading), facts);
  } catch (const Error& error) {
    facts.problem = Printable(error.what());
  }
  return facts;
}

}  // namespace Lumenar::Client
