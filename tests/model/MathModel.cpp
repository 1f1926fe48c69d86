// SPDX-License-Identifier: Apache-2.0
#include "tests/model/MathModel.h"

#include <utility>

#include "judge/Refused.h"

namespace Lumenar::Model {
namespace {

struct Rule {
  std::size_t inputs;
  const char* complaint;
};

/// By operation. A Peak complains as an Average does.
constexpr Rule kRules[] = {
    {2, "Subtract requires exactly two attributes."},         {2, "Relative Subtract requires exactly two attributes."},
    {1, "Average requires exactly one attribute."},           {1, "Average requires exactly one attribute."},
    {3, "Cumulative Add requires exactly three attributes."},
};

}  // namespace

std::optional<Kind> MathModel::KindOfSource(const Source& source) const {
  if (source.type == Source::Input) return Judge::KindOf(inputs_[static_cast<std::size_t>(source.number)]);
  const auto found = objects_.find(source.number);
  if (source.type == Source::Nil || found == objects_.end()) return std::nullopt;
  return Judge::KindOf(found->second.Result());
}

const Datum& MathModel::ValueOf(const Source& source) const {
  if (source.type == Source::Input) return inputs_[static_cast<std::size_t>(source.number)];
  return objects_.at(source.number).Result();
}

void MathModel::Origins(const Source& source, std::set<Source>& origins) const {
  origins.insert(source);
  if (source.type != Source::Result) return;
  const auto found = objects_.find(source.number);
  const Object& object = found != objects_.end() ? found->second : gone_.at(source.number);
  for (const Source& input : object.inputs) Origins(input, origins);
}

bool MathModel::MeetsItself(const std::vector<Source>& inputs) const {
  std::set<Source> all;
  std::size_t total = 0;
  for (const Source& input : inputs) {
    std::set<Source> origins;
    Origins(input, origins);
    total += origins.size();
    all.insert(origins.begin(), origins.end());
  }
  return all.size() != total;
}

std::optional<Creation> MathModel::Refusal(const std::vector<Source>& inputs) const {
  if (type_ < 0 || type_ >= kOperations) return Creation{Creation::Refused, "Invalid Math Type"};
  const Rule& rule = kRules[type_];
  if (inputs.size() != rule.inputs) return Creation{Creation::Refused, rule.complaint};
  std::vector<Kind> kinds;
  for (const Source& input : inputs) {
    const auto kind = KindOfSource(input);
    if (!kind) return Creation{Creation::Failed, {}};
    kinds.push_back(*kind);
  }
  if (!Judge::Takes(static_cast<Judge::Type>(type_), kinds)) return Creation{Creation::Refused, "Invalid attrib types"};
  return std::nullopt;
}

/// An object that cannot subscribe has had its id.
Creation MathModel::Create(const std::vector<Source>& inputs) {
  Forget();
  if (const auto refusal = Refusal(inputs)) return *refusal;
  const int id = next_id_++;
  if (!topics_) return {Creation::Failed, {}};
  std::vector<Datum> values;
  for (const Source& input : inputs) values.push_back(ValueOf(input));
  try {
    Judge::OperationValue rules(Judge::Operation::Created(static_cast<Judge::Type>(type_), values));
    objects_.emplace(id, Object{static_cast<Operation>(type_), inputs, {}, std::move(rules)});
    return {Creation::Made, {}};
  } catch (const Judge::Refused&) {
    return {Creation::Failed, {}};
  }
}

void MathModel::Delete(int id) {
  Forget();
  const auto found = objects_.find(id);
  if (found == objects_.end()) return;
  gone_.insert(*found);
  objects_.erase(found);
}

void MathModel::Feed(int input, const Datum& datum) {
  Forget();
  inputs_[static_cast<std::size_t>(input)] = datum;
  Deliver({Source::Input, input}, datum);
}

bool MathModel::SetSize(int id, int size) {
  Forget();
  if (size < 1 || size > 99) return false;
  objects_.at(id).rules->SetSize(size);
  return true;
}

void MathModel::Reset(int id) {
  Forget();
  Publish(id, objects_.at(id).rules->Reset());
}

void MathModel::SetType(int type) {
  Forget();
  type_ = type;
}

void MathModel::SwitchTopics(bool on) {
  Forget();
  topics_ = on;
}

void MathModel::Forget() {
  for (auto& [id, object] : objects_) object.published.clear();
}

void MathModel::Deliver(const Source& source, const Datum& datum) {
  if (!topics_) return;
  for (auto& [id, object] : objects_) {
    for (std::size_t i = 0; i < object.inputs.size(); ++i) {
      if (object.inputs[i] < source || source < object.inputs[i]) continue;
      Publish(id, object.rules->Take(i, datum));
    }
  }
}

void MathModel::Publish(int id, const Judge::Outcome& outcome) {
  if (outcome.kind != Judge::Outcome::Published || !topics_) return;
  Object& object = objects_.at(id);
  const Datum result = object.Result();
  object.published.push_back(result);
  Deliver({Source::Result, id}, result);
}

}  // namespace Lumenar::Model
