// SPDX-License-Identifier: Apache-2.0
#include "tests/model/MathModel.h"

#include "tests/model/operations.h"

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

bool Fits(int type, const std::vector<Kind>& kinds) {
  if (type == kCumulativeAdd) return kinds == std::vector<Kind>{Kind::Trace, Kind::Long, Kind::Long};
  return kinds.front() != Kind::Long && kinds.front() == kinds.back();
}

}  // namespace

std::optional<Kind> MathModel::KindOfSource(const Source& source) const {
  if (source.type == Source::Input) return KindOf(inputs_[static_cast<std::size_t>(source.number)]);
  const auto found = objects_.find(source.number);
  if (source.type == Source::Nil || found == objects_.end()) return std::nullopt;
  return KindOf(found->second.result);
}

const Datum& MathModel::ValueOf(const Source& source) const {
  if (source.type == Source::Input) return inputs_[static_cast<std::size_t>(source.number)];
  return objects_.at(source.number).result;
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
  if (!Fits(type_, kinds)) return Creation{Creation::Refused, "Invalid attrib types"};
  return std::nullopt;
}

/// An object that cannot subscribe has had its id.
Creation MathModel::Create(const std::vector<Source>& inputs) {
  Forget();
  if (const auto refusal = Refusal(inputs)) return *refusal;
  const int id = next_id_++;
  if (!topics_) return {Creation::Failed, {}};
  Object object;
  object.operation = static_cast<Operation>(type_);
  object.inputs = inputs;
  std::vector<Datum> values;
  for (const Source& input : inputs) values.push_back(ValueOf(input));
  Begin(object, values);
  objects_[id] = object;
  return {Creation::Made, {}};
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
  objects_.at(id).size = size;
  return true;
}

void MathModel::Reset(int id) {
  Forget();
  if (const auto result = ResetOf(objects_.at(id))) Publish(id, *result);
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
      if (const auto result = Update(object, i, datum)) Publish(id, *result);
    }
  }
}

void MathModel::Publish(int id, const Datum& result) {
  Object& object = objects_.at(id);
  object.result = result;
  if (!topics_) return;
  object.published.push_back(result);
  Deliver({Source::Result, id}, result);
}

}  // namespace Lumenar::Model
