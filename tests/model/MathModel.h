// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "judge/Operation.h"

namespace Lumenar::Model {

using Judge::Datum;
using Judge::Kind;

/// Where a value comes from: one of the testbench's readings, the RESULT of an object that lives or is gone, or
/// nowhere.
struct Source {
  enum Type { Input, Result, Nil } type = Nil;
  int number = 0;  ///< of the input, or the object's id
  friend bool operator<(const Source& a, const Source& b) {
    return std::pair(a.type, a.number) < std::pair(b.type, b.number);
  }
};

/// The numbers of TYPE.
enum Operation { kSubtract, kRelativeSubtract, kAverage, kPeak, kCumulativeAdd, kOperations };

/// A math object; what it computes is the judge's.
struct Object {
  Operation operation = kSubtract;
  std::vector<Source> inputs;
  std::vector<Datum> published;  ///< during the last command
  Judge::OperationValue rules;

  const Datum& Result() const { return rules->Result().value(); }
};

/// What comes out of CreateMath.
struct Creation {
  enum Kind { Made, Refused, Failed } kind = Failed;  ///< Failed: a system exception
  std::string text;                                   ///< of a refusal
};

/// The math engine and the topics around it, as simple as can be: one sample after the other, each handed on to the
/// end.
class MathModel {
 public:
  MathModel() = default;
  explicit MathModel(std::vector<Datum> inputs) : inputs_(std::move(inputs)) {}

  // What is done to the system. Each call forgets what the one before has published.
  Creation Create(const std::vector<Source>& inputs);
  void Delete(int id);
  void Feed(int input, const Datum& datum);
  bool SetSize(int id, int size);  ///< false when the size is refused
  void Reset(int id);
  void SetType(int type);
  void SwitchTopics(bool on);

  int Type() const { return type_; }
  bool HasTopics() const { return topics_; }
  int NextId() const { return next_id_; }
  const std::vector<Datum>& Inputs() const { return inputs_; }
  const std::map<int, Object>& Objects() const { return objects_; }

  /// Whether there is or was an object of this id.
  bool Knows(int id) const { return objects_.count(id) + gone_.count(id) > 0; }

  /// The kind of what a source gives; nothing when it gives nothing.
  std::optional<Kind> KindOfSource(const Source& source) const;

  /// Whether samples of one origin reach an object over these inputs on two ways. Their order is then nobody's promise,
  /// so that the model could not tell the results.
  bool MeetsItself(const std::vector<Source>& inputs) const;

 private:
  const Datum& ValueOf(const Source& source) const;
  void Origins(const Source& source, std::set<Source>& origins) const;
  std::optional<Creation> Refusal(const std::vector<Source>& inputs) const;
  void Forget();
  void Deliver(const Source& source, const Datum& datum);
  void Publish(int id, const Judge::Outcome& outcome);

  std::vector<Datum> inputs_;
  std::map<int, Object> objects_;
  std::map<int, Object> gone_;  ///< deleted ones; their results are nobody's input any more, but were
  int next_id_ = 0;
  int type_ = 0;
  bool topics_ = true;
};

}  // namespace Lumenar::Model
