// SPDX-License-Identifier: Apache-2.0
#include "client/FittingInputs.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "client/Computation.h"
#include "platform/wire/record_kinds.h"

namespace Lumenar::Client {
namespace {

using Corvanta::RecordKind;

/// What an operation takes.
struct InputRule {
  std::string_view type;
  std::vector<std::string> names;
  bool takes_range;  ///< a trace and two whole numbers; else traces or scalars, all of one kind
};

const std::vector<InputRule>& Rules() {
  static const std::vector<InputRule> rules = {
      {"Subtract", {"FIRST", "SECOND"}, false},
      {"RelativeSubtract", {"FIRST", "SECOND"}, false},
      {"Average", {"INPUT"}, false},
      {"Peak", {"INPUT"}, false},
      {"CumulativeAdd", {"TRACE", "START", "STOP"}, true},
  };
  return rules;
}

const InputRule* RuleOf(const std::string& type) {
  const auto rule =
      std::find_if(Rules().begin(), Rules().end(), [&](const InputRule& one) { return one.type == type; });
  return rule == Rules().end() ? nullptr : &*rule;
}

bool IsTrace(const PossibleInput& input) { return input.kind == RecordKind<Corvanta::BASIC_TRACE::BT_DATA>::kTypeName; }
bool IsScalar(const PossibleInput& input) { return input.kind == RecordKind<Corvanta::VALUE_DOUBLE::VALUE>::kTypeName; }
bool IsWhole(const PossibleInput& input) { return input.kind == RecordKind<CORBA::Long>::kTypeName; }

bool GoTogether(const std::string& type, const PossibleInput& first, const PossibleInput& second) {
  if (first.kind != second.kind) return false;
  if (first.points != second.points && first.points > 0 && second.points > 0) return false;
  if (!first.units || !second.units) return true;
  const auto operand = [](const PossibleInput& input) { return Operand{input.name, input.units, IsTrace(input), {}}; };
  return ComputationOf(type, {operand(first), operand(second)}, 0).obstacle.empty();
}

}  // namespace

std::vector<std::string> KnownTypes() {
  std::vector<std::string> names;
  for (const InputRule& rule : Rules()) names.emplace_back(rule.type);
  return names;
}

std::vector<std::string> InputNames(const std::string& type) {
  const InputRule* rule = RuleOf(type);
  return rule == nullptr ? std::vector<std::string>{} : rule->names;
}

bool Fits(const std::string& type, std::size_t place, const std::vector<std::optional<PossibleInput>>& chosen,
          const PossibleInput& candidate) {
  const InputRule* rule = RuleOf(type);
  if (rule == nullptr) return IsTrace(candidate) || IsScalar(candidate) || IsWhole(candidate);
  if (place >= rule->names.size()) return false;
  if (rule->takes_range) return place == 0 ? IsTrace(candidate) : IsWhole(candidate);
  if (!IsTrace(candidate) && !IsScalar(candidate)) return false;
  const std::size_t other = 1 - std::min<std::size_t>(place, 1);
  if (rule->names.size() < 2 || other >= chosen.size() || !chosen[other]) return true;
  return place == 0 ? GoTogether(type, candidate, *chosen[other]) : GoTogether(type, *chosen[other], candidate);
}

}  // namespace Lumenar::Client
