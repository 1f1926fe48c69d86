// SPDX-License-Identifier: Apache-2.0
// Makes an engine have the objects of a set.
#include <algorithm>
#include <map>
#include <optional>
#include <unordered_map>
#include <utility>

#include "client/Error.h"
#include "client/MathName.h"
#include "client/ObjectSet.h"
#include "client/Text.h"
#include "client/TopicNames.h"

namespace Lumenar::Client {
namespace {

using Deed = AppliedObject::Deed;

/// Something that two objects have in common when they compute the same from the same.
std::string KeyOf(const std::string& type, const std::vector<std::string>& inputs) {
  std::string key = type;
  for (char& c : key) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  for (const std::string& input : inputs) key += '\n' + input;
  return key;
}

/// One application of a set.
class Application {
 public:
  Application(Connection& connection, MathObjects& objects, const ObjectSet& set, bool dry_run)
      : connection_(connection),
        objects_(objects),
        set_(set),
        dry_run_(dry_run),
        names_(connection, objects.Engine()),
        results_(set.Objects().size()) {}

  std::vector<AppliedObject> Run() {
    LearnPresent();
    for (const std::size_t place : set_.Order()) results_[place] = Apply(place);
    return std::move(results_);
  }

 private:
  void LearnPresent() {
    std::unordered_map<std::string, std::int32_t> ids;
    reports_ = objects_.Reports();
    names_.Learn(objects_.Engine(), reports_);
    for (const MathReport& report : reports_) ids.emplace(report.result_topic, report.id);
    for (std::size_t i = 0; i < reports_.size(); ++i) {
      std::vector<std::string> inputs;
      for (const InputReport& input : reports_[i].inputs) {
        const auto id = ids.find(input.topic);
        inputs.push_back(id == ids.end() ? names_.Of(input.topic) : IdText(id->second));
      }
      present_[KeyOf(reports_[i].type, inputs)].push_back(i);
    }
    for (auto& [key, places] : present_) std::reverse(places.begin(), places.end());  // the oldest is taken first
  }

  static std::string IdText(std::int32_t id) { return "#" + std::to_string(id); }

  AppliedObject Apply(std::size_t place) {
    const SetObject& object = set_.Objects()[place];
    AppliedObject applied{place, Deed::Created, std::nullopt, ""};
    if (const auto report = TakePresent(object)) {
      applied.deed = Deed::There;
      applied.id = report->id;
      if (object.size > 0 && object.size != static_cast<std::int32_t>(report->size))
        SetSize(object, applied, Deed::SizeSet);
      return applied;
    }
    if (const std::string missing = MissingInput(object); !missing.empty()) {
      applied.deed = Deed::Waiting;
      applied.why = missing;
    } else if (!dry_run_) {
      Create(object, applied);
    }
    return applied;
  }

  /// The object of the engine that stands for this one of the set, which is nobody else's then.
  std::optional<MathReport> TakePresent(const SetObject& object) {
    std::vector<std::string> inputs;
    for (const SetInput& input : object.inputs) {
      if (input.object && !results_[*input.object].id) return std::nullopt;
      inputs.push_back(input.object ? IdText(*results_[*input.object].id) : input.reading);
    }
    if (const auto report = TakeByKey(KeyOf(object.type, inputs))) return report;
    for (std::size_t i = 0; i < inputs.size(); ++i) {  // a set that people wrote may have short names
      const Reading* reading = object.inputs[i].object ? nullptr : Find(inputs[i]).first;
      if (reading != nullptr) inputs[i] = names_.Of(reading->topic);
    }
    return TakeByKey(KeyOf(object.type, inputs));
  }

  std::optional<MathReport> TakeByKey(const std::string& key) {
    const auto found = present_.find(key);
    if (found == present_.end() || found->second.empty()) return std::nullopt;
    const std::size_t report = found->second.back();
    found->second.pop_back();
    return reports_[report];
  }

  /// Why an object cannot be created now; empty when it can.
  std::string MissingInput(const SetObject& object) {
    for (const SetInput& input : object.inputs) {
      if (input.object) {
        const Deed deed = results_[*input.object].deed;
        if (deed == Deed::Waiting || deed == Deed::Failed)
          return "object " + std::to_string(*input.object) + " of the set is not there";
      } else if (const std::string reason = Find(input.reading).second; !reason.empty()) {
        return reason;
      }
    }
    return {};
  }

  /// The reading of a name, or why there is none. Each name is looked up once.
  std::pair<const Reading*, std::string> Find(const std::string& name) {
    const auto [found, is_new] = found_.try_emplace(name);
    Found& what = found->second;
    if (is_new) {
      try {
        what.reading = LookUp(name);
      } catch (const Error& error) {
        what.why = error.what();
      }
    }
    return {what.reading ? &*what.reading : nullptr, what.why};
  }

  // Errors   Error.
  Reading LookUp(const std::string& name) {
    if (const auto math = MathNameFromText(name, objects_.Engine()))
      return MathObjects(connection_, math->engine).Result(math->id);
    if (!asked_) {
      engines_ = connection_.Engines();
      readings_ = connection_.ReadingsOf(engines_);
      asked_ = true;
    }
    const auto found = IndexesFor(name, readings_, engines_);
    if (found.size() == 1) return readings_[found.front()];
    throw Error(ErrorKind::BadArgument, Printable(name) + " means several readings");
  }

  Reading InputOf(const SetInput& input) {
    if (input.object) return objects_.Result(*results_[*input.object].id);
    return *Find(input.reading).first;
  }

  void Create(const SetObject& object, AppliedObject& applied) {
    try {
      std::vector<Reading> inputs;
      for (const SetInput& input : object.inputs) inputs.push_back(InputOf(input));
      applied.id = objects_.Create(objects_.TypeFrom(object.type), inputs).id;
    } catch (const Error& error) {
      if (error.Kind() == ErrorKind::Unreachable) throw;
      applied.deed = Deed::Failed;
      applied.why = error.what();
      return;
    }
    if (object.size > 0) SetSize(object, applied, Deed::Created);
  }

  void SetSize(const SetObject& object, AppliedObject& applied, Deed done) {
    applied.deed = done;
    if (dry_run_) return;
    try {
      objects_.SetSize(*applied.id, object.size);
    } catch (const Error& error) {
      if (error.Kind() == ErrorKind::Unreachable) throw;
      applied.deed = Deed::Failed;
      applied.why = error.what();
    }
  }

  Connection& connection_;
  MathObjects& objects_;
  const ObjectSet& set_;
  const bool dry_run_;
  TopicNames names_;
  std::vector<AppliedObject> results_;
  std::vector<MathReport> reports_;
  std::map<std::string, std::vector<std::size_t>> present_;  // places in reports_, by KeyOf
  struct Found {
    std::optional<Reading> reading;
    std::string why;
  };
  std::map<std::string, Found> found_;
  bool asked_ = false;
  std::vector<Engine> engines_;
  std::vector<Reading> readings_;
};

}  // namespace

std::vector<AppliedObject> ApplyObjects(Connection& connection, MathObjects& objects, const ObjectSet& set,
                                        bool dry_run) {
  return Application(connection, objects, set, dry_run).Run();
}

}  // namespace Lumenar::Client
