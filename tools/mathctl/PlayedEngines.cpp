// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/PlayedEngines.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <set>

#include "client/Error.h"
#include "client/Text.h"

namespace Lumenar::Mathctl {
namespace {

constexpr std::size_t kLongestSetting = 100'000;  // what one variable of the environment may hold, and room to spare
constexpr const char* kOffers = "Lumenar::ReplayInit offers ";
constexpr const char* kPlayed = "Lumenar::ReplayInit played ";
constexpr const char* kThen = ", then: ";

[[noreturn]] void ThrowUsage(const std::string& text) { throw Client::Error(Client::ErrorKind::BadArgument, text); }

std::vector<std::pair<std::string, std::string>> RenamesFrom(const std::vector<std::string>& texts) {
  std::vector<std::pair<std::string, std::string>> renames;
  for (const std::string& text : texts) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == text.size())
      ThrowUsage(fmt::format("--rename {}: expected OLD=NEW, as PROBE/1=BENCH", Client::Printable(text)));
    renames.emplace_back(text.substr(0, equals), text.substr(equals + 1));
  }
  return renames;
}

/// An engine's name and an item, as a rename gives them.
struct NewName {
  std::string engine;
  unsigned long instance = 1;
  std::string item;
};

// "PROBE", "PROBE/1".
void TakeEngine(NewName& name, const std::string& text) {
  const std::size_t slash = text.rfind('/');
  unsigned long instance = 0;
  const char* end = text.data() + text.size();
  const char* digits = text.data() + (slash == std::string::npos ? text.size() : slash + 1);
  const auto [stop, error] = std::from_chars(digits, end, instance);
  const bool has_instance = error == std::errc() && stop == end && instance > 0;
  name.engine = has_instance ? text.substr(0, slash) : text;
  name.instance = has_instance ? instance : 1;
}

// What a reading is called without a rename. A math object's result cannot stand under the math engine's name, which
// belongs to an engine that computes.
NewName UsualName(const Recording::ReadingInfo& reading) {
  NewName name;
  TakeEngine(name, reading.object ? "REPLAY" : reading.engine);
  name.item = reading.object ? fmt::format("MATH_{}", reading.object->id) : reading.item;
  return name;
}

// "ENGINE/1/ITEM", "ENGINE/ITEM" or "ITEM".
void TakeReading(NewName& name, const std::string& text) {
  const std::size_t slash = text.rfind('/');
  name.item = slash == std::string::npos ? text : text.substr(slash + 1);
  if (slash != std::string::npos) TakeEngine(name, text.substr(0, slash));
}

}  // namespace

PlayedEngines::PlayedEngines(const PlayingOptions& options, const RecordingSurvey& survey,
                             const std::vector<std::uint32_t>& chosen, std::chrono::milliseconds limit)
    : options_(options), renames_(RenamesFrom(options.renames)) {
  Plan(survey, chosen);
  for (const auto& [key, items] : plan_) {
    Start(key, items, limit);
    TakeOffers(*hosts_.back(), survey);
  }
  std::sort(offered_.begin(), offered_.end(),
            [](const OfferedReading& a, const OfferedReading& b) { return a.index < b.index; });
}

// All are asked first, so that they end at the same time.
PlayedEngines::~PlayedEngines() {
  for (const auto& host : hosts_) host->AskToEnd();
}

void PlayedEngines::Plan(const RecordingSurvey& survey, const std::vector<std::uint32_t>& chosen) {
  for (const auto& rename : renames_) {
    const std::string& from = rename.first;
    const bool fits = std::any_of(survey.readings.begin(), survey.readings.end(), [&](const auto& reading) {
      return from == reading.name || from == reading.engine || from == UsualName(reading).engine;
    });
    if (!fits) ThrowUsage(fmt::format("--rename: the recording has no engine or reading {}", Client::Printable(from)));
  }
  for (const Recording::ReadingInfo& reading : survey.readings) {
    const bool has_samples = !survey.complete || survey.samples[reading.index] > 0;
    const bool wanted =
        chosen.empty() ? has_samples : std::find(chosen.begin(), chosen.end(), reading.index) != chosen.end();
    if (wanted) Place(reading);
  }
  if (plan_.empty()) throw Client::Error(Client::ErrorKind::Refused, "the recording has no samples");
}

void PlayedEngines::Place(const Recording::ReadingInfo& reading) {
  NewName name = UsualName(reading);
  for (const auto& [from, to] : renames_) {
    if (from == reading.engine || from == UsualName(reading).engine) TakeEngine(name, to);
    if (from == reading.name) TakeReading(name, to);
  }
  if (name.engine.empty() || name.item.empty() || name.item.find(';') != std::string::npos)
    ThrowUsage(fmt::format("{} cannot be offered under this name: give it another with --rename",
                           Client::Printable(reading.name)));
  plan_[{name.engine, name.instance}][reading.index] = name.item;
}

void PlayedEngines::Start(const EngineKey& key, const Items& items, std::chrono::milliseconds limit) {
  std::string readings;
  for (const auto& [index, item] : items) readings += fmt::format("{}{}={}", readings.empty() ? "" : ";", index, item);
  if (readings.size() > kLongestSetting)
    throw Client::Error(Client::ErrorKind::Refused, key.first + ": has more readings than one engine can be told");
  hosts_.push_back(std::make_unique<EngineHost>(
      "replay", std::map<std::string, std::string>{{"REPLAY_ENGINE", key.first},
                                                   {"REPLAY_RECORDING", options_.file},
                                                   {"REPLAY_READINGS", readings},
                                                   {"REPLAY_SPEED", fmt::format("{}", options_.speed)},
                                                   {"REPLAY_LOOP", options_.loop ? "loop" : "once"},
                                                   {"REPLAY_LEVELS", options_.level_units ? "unit" : ""},
                                                   {"REPLAY_GO", std::to_string(EngineHost::kGoDescriptor)}}));
  if (hosts_.back()->WaitForLine("Lumenar::ReplayInit createEngine done", limit)) return;
  throw Client::Error(Client::ErrorKind::Unreachable,
                      fmt::format("the engine {} did not start within {} ms", key.first, limit.count()));
}

// "Lumenar::ReplayInit offers 0 as PROBE/2/WAKEUP"
void PlayedEngines::TakeOffers(const EngineHost& host, const RecordingSurvey& survey) {
  for (const std::string& line : host.Lines()) {
    if (!line.starts_with(kOffers)) continue;
    const std::string rest = line.substr(std::string_view(kOffers).size());
    const std::size_t as = rest.find(" as ");
    std::uint32_t index = 0;
    std::from_chars(rest.data(), rest.data() + rest.size(), index);
    if (as == std::string::npos || index >= survey.readings.size()) continue;
    offered_.push_back({index, survey.readings[index].name, Client::Printable(rest.substr(as + 4))});
  }
}

void PlayedEngines::Go() {
  for (const auto& host : hosts_) host->Go();
}

bool PlayedEngines::WaitForEnd(std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  return std::all_of(hosts_.begin(), hosts_.end(), [&](const auto& host) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
    return host->WaitForLine(kPlayed, std::max(left, std::chrono::milliseconds(1)));
  });
}

// "Lumenar::ReplayInit played 12 samples, then: night.jsonl:17: is damaged"
std::string PlayedEngines::Failure() const {
  for (const auto& host : hosts_) {
    for (const std::string& line : host->Lines()) {
      const std::size_t then = line.starts_with(kPlayed) ? line.find(kThen) : std::string::npos;
      if (then != std::string::npos) return Client::Printable(line.substr(then + std::string_view(kThen).size()));
    }
  }
  return {};
}

void PlayedEngines::WaitForSignal() {
  while (true) hosts_.front()->WaitForLine("\n", std::chrono::hours(1));  // a line that never comes
}

}  // namespace Lumenar::Mathctl
