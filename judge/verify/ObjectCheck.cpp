// SPDX-License-Identifier: Apache-2.0
#include "judge/verify/ObjectCheck.h"

#include <algorithm>
#include <utility>

namespace Lumenar::Judge {
namespace {

constexpr std::size_t kMostInterruptions = 100;

}  // namespace

ObjectCheck::ObjectCheck(ObjectFacts facts, std::optional<int> size, const SearchLimits& limits,
                         std::shared_ptr<const std::size_t> sharing)
    : facts_(std::move(facts)), limits_(limits), sharing_(std::move(sharing)), size_(size) {
  present_.inputs.resize(facts_.inputs.size());
  report_.name = facts_.name;
  report_.type = facts_.type_name;
  report_.inputs = facts_.inputs;
}

void ObjectCheck::GiveUp(const std::string& problem) {
  if (report_.problem.empty()) report_.problem = problem;
}

void ObjectCheck::TakePresentInput(std::size_t input, const Datum& value) {
  if (KindOf(value) == InputKind(input) && search_ == nullptr) present_.inputs.at(input) = value;
}

void ObjectCheck::TakePresentResult(const Datum& value) {
  if (KindOf(value) == facts_.kind && search_ == nullptr) present_.result = value;
}

void ObjectCheck::TakeSample(std::size_t input, const Arrival& sample) {
  ++report_.samples;
  if (!report_.problem.empty() || !IsOfKind(*sample.sample, InputKind(input), sample.time_ns)) return;
  Stretch(sample.time_ns).AddSample(input, sample);
}

void ObjectCheck::TakeResult(const Arrival& result) {
  ++report_.results;
  if (!report_.problem.empty() || !IsOfKind(*result.sample, facts_.kind, result.time_ns)) return;
  Stretch(result.time_ns).AddResult(result);
}

void ObjectCheck::TakeChange(const Arrival& change) {
  if (!report_.problem.empty()) return;
  Stretch(change.time_ns).AddChange(change);
  if (change.what == Arrival::Size) size_ = change.size;
}

void ObjectCheck::Advance(std::int64_t now_ns) {
  if (search_ != nullptr) search_->Advance(now_ns);
}

void ObjectCheck::Interrupt(std::int64_t since_ns, const std::string& reason) {
  if (search_ != nullptr) TakeFindings(search_->EndAtGap(since_ns));
  present_ = {};
  present_.inputs.resize(facts_.inputs.size());
  if (report_.interrupted++ < kMostInterruptions) report_.interruptions.push_back(reason);
}

ObjectReport ObjectCheck::End(std::int64_t now_ns) {
  if (search_ != nullptr) TakeFindings(search_->End(now_ns));
  return report_;
}

Search& ObjectCheck::Stretch(std::int64_t time_ns) {
  if (search_ == nullptr) {
    auto possibilities = Operation::AtWorkWith(facts_.type, facts_.kind, size_, present_);
    SearchLimits limits = limits_;
    limits.pending_bytes /= *sharing_;
    limits.state_bytes /= *sharing_;
    const bool knows_inputs = std::any_of(present_.inputs.begin(), present_.inputs.end(),
                                          [](const auto& input) { return input.has_value(); });
    search_ = std::make_unique<Search>(facts_, limits, std::move(possibilities), time_ns, knows_inputs);
  }
  return *search_;
}

void ObjectCheck::TakeFindings(const Findings& findings) {
  report_.findings.Append(findings);
  report_.bounded += search_->Bounded();
  if (!search_->Guessed().empty()) report_.guessed = search_->Guessed();
  search_.reset();
}

bool ObjectCheck::IsOfKind(const Datum& value, Kind kind, std::int64_t now_ns) {
  if (KindOf(value) == kind) return true;
  Interrupt(now_ns, "a value of another kind");
  return false;
}

Kind ObjectCheck::InputKind(std::size_t input) const {
  if (facts_.type != Type::CumulativeAdd) return facts_.kind;
  return input == 0 ? Kind::Trace : Kind::Long;
}

}  // namespace Lumenar::Judge
