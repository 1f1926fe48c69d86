// SPDX-License-Identifier: Apache-2.0
#include "client/MathState.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "client/Duration.h"
#include "client/Text.h"
#include "client/TopicNames.h"

namespace Lumenar::Client {
namespace {

constexpr std::chrono::duration<double> kSoonestStale{3};
constexpr double kIntervalsUntilStale = 5;

constexpr std::string_view kOfUnits[] = {"UnitDimensionNotSame", "UnitDimensionNotProper",
                                         "MissingUnitInFirstParameter", "OperationNotValid"};
constexpr std::string_view kOfLengths = "traces of different lengths";
constexpr std::string_view kNotFinite = "Value is out of range";

bool NoSampleYet(const InputReport& input) { return input.samples == 0; }

bool IsAway(const InputReport& input) { return input.away; }

// "A, B" of the inputs that are such; of all where none is. None twice.
template <class Is>
std::string NamesOf(const MathReport& report, const NameOfTopic& name, Is is) {
  const bool none = std::none_of(report.inputs.begin(), report.inputs.end(), is);
  std::vector<std::string> names;
  for (const InputReport& input : report.inputs) {
    if (!none && !is(input)) continue;
    std::string text = name ? name(input.topic) : FullName(ReadingOfTopic(input.topic));
    if (std::find(names.begin(), names.end(), text) == names.end()) names.push_back(std::move(text));
  }
  return fmt::format("{}", fmt::join(names, ", "));
}

std::string RefusalInWords(const MathReport& report) {
  const std::string& reason = report.last_reason;
  if (std::find(std::begin(kOfUnits), std::end(kOfUnits), reason) != std::end(kOfUnits)) {
    return "units cannot be combined";
  }
  if (reason.rfind(kOfLengths, 0) == 0) return "lengths differ" + Printable(reason.substr(kOfLengths.size()));
  // Of an Average the number stays in the mean.
  if (reason == kNotFinite) return report.size > 0 ? "not finite: RESET" : "not finite";
  return reason.empty() ? "the last sample was refused" : Printable(reason);
}

std::string Words(const MathReport& report, const NameOfTopic& name) {
  switch (StateOf(report)) {
    case MathState::InputAway: return "input away: " + NamesOf(report, name, IsAway);
    case MathState::Refusing: return RefusalInWords(report);
    case MathState::Waiting: return "waiting for a first sample of " + NamesOf(report, name, NoSampleYet);
    case MathState::Stale: return "stale for " + DurationText(report.age.value_or(std::chrono::microseconds(0)));
    case MathState::Live: break;
  }
  return "live";
}

}  // namespace

std::chrono::duration<double> StaleAfter(const MathReport& report) {
  return std::max(kSoonestStale, report.interval * kIntervalsUntilStale);
}

MathState StateOf(const MathReport& report) {
  if (std::any_of(report.inputs.begin(), report.inputs.end(), IsAway)) return MathState::InputAway;
  if (report.refusing) return MathState::Refusing;
  const bool no_sample = std::all_of(report.inputs.begin(), report.inputs.end(), NoSampleYet);
  if (no_sample || report.results == 0) return MathState::Waiting;
  if (report.age && *report.age > StaleAfter(report)) return MathState::Stale;
  return MathState::Live;
}

const char* WordOf(MathState state) {
  switch (state) {
    case MathState::Live: return "live";
    case MathState::Waiting: return "waiting";
    case MathState::Stale: return "stale";
    case MathState::InputAway: return "input away";
    case MathState::Refusing: break;
  }
  return "refusing";
}

std::string StateInWords(const MathReport& report, const NameOfTopic& name) {
  const std::string words = Words(report, name);
  if (report.refused == 0) return words;
  return fmt::format("{}, refused {} sample{}", words, report.refused, report.refused == 1 ? "" : "s");
}

}  // namespace Lumenar::Client
