// SPDX-License-Identifier: Apache-2.0
#include "client/ObjectSet.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <unordered_map>
#include <utility>

#include "client/Error.h"
#include "client/MathName.h"
#include "client/TopicNames.h"
#include "platform/base/Version.h"

namespace Lumenar::Client {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;

constexpr std::size_t kMostObjects = 100'000;
constexpr std::size_t kMostInputs = 16;
constexpr int kSetFormat = 1;
constexpr int kDeepestSet = 8;

[[noreturn]] void ThrowSet(const std::string& reason) { throw Error(ErrorKind::BadArgument, reason); }

/// Places in order of dependency.
class Ordering {
 public:
  explicit Ordering(const std::vector<SetObject>& objects) : objects_(objects), states_(objects.size(), State::New) {}

  std::vector<std::size_t> Find() {
    for (std::size_t place = 0; place < objects_.size(); ++place) VisitFrom(place);
    return std::move(order_);
  }

 private:
  enum class State { New, Open, Done };

  struct Visit {
    std::size_t place;
    std::size_t next_input;
  };

  // With a stack of its own: a chain may be as long as the set.
  void VisitFrom(std::size_t first) {
    std::vector<Visit> visits;
    Open(first, visits);
    while (!visits.empty()) {
      Visit& visit = visits.back();
      const std::vector<SetInput>& inputs = objects_[visit.place].inputs;
      if (visit.next_input == inputs.size()) {
        states_[visit.place] = State::Done;
        order_.push_back(visit.place);
        visits.pop_back();
        continue;
      }
      const std::size_t place = visit.place;
      const SetInput& input = inputs[visit.next_input++];
      if (!input.object) continue;
      if (*input.object >= objects_.size())
        ThrowSet(fmt::format("object {}: there is no object {}", place, *input.object));
      if (states_[*input.object] == State::Open)
        ThrowSet(fmt::format("object {}: is an input of itself", *input.object));
      Open(*input.object, visits);
    }
  }

  void Open(std::size_t place, std::vector<Visit>& visits) {
    if (states_[place] != State::New) return;
    states_[place] = State::Open;
    visits.push_back({place, 0});
  }

  const std::vector<SetObject>& objects_;
  std::vector<State> states_;
  std::vector<std::size_t> order_;
};

json ParseSet(std::string_view text) {
  const auto limit = [](int depth, json::parse_event_t, const json&) {
    if (depth > kDeepestSet) ThrowSet("is no set of objects: nested too deep");
    return true;
  };
  try {
    return json::parse(text, limit);
  } catch (const json::exception&) {
    ThrowSet("is no set of objects: not JSON");
  }
}

const json& Field(const json& object, const char* name, const std::string& subject) {
  if (!object.is_object() || !object.contains(name)) ThrowSet(fmt::format("{}: has no \"{}\"", subject, name));
  return object.at(name);
}

std::size_t PlaceFrom(const json& place, const std::string& subject) {
  if (!place.is_number_unsigned()) ThrowSet(subject + ": \"object\" is not a number of an object");
  constexpr std::uint64_t kMost = std::numeric_limits<std::size_t>::max();  // what is larger is no place either
  return static_cast<std::size_t>(std::min(place.get<std::uint64_t>(), kMost));
}

SetInput InputFrom(const json& input, const std::string& subject) {
  if (input.is_string() && !input.get_ref<const std::string&>().empty())
    return {input.get<std::string>(), std::nullopt};
  if (!input.is_object()) ThrowSet(subject + ": an input is neither a name nor {\"object\": number}");
  return {"", PlaceFrom(Field(input, "object", subject), subject)};
}

SetObject ObjectFrom(const json& object, const std::string& subject) {
  const json& type = Field(object, "type", subject);
  const json& inputs = Field(object, "inputs", subject);
  if (!type.is_string()) ThrowSet(subject + ": \"type\" is not a text");
  if (!inputs.is_array() || inputs.size() > kMostInputs) ThrowSet(subject + ": \"inputs\" is not a short list");
  SetObject made{type.get<std::string>(), {}, 0};
  for (const json& input : inputs) made.inputs.push_back(InputFrom(input, subject));
  if (!object.contains("size")) return made;
  const json& size = object.at("size");
  const bool is_size = size.is_number_unsigned() && size.get<std::uint64_t>() <= 0x7FFFFFFF;
  if (!is_size) ThrowSet(subject + ": \"size\" is not a number of samples");
  made.size = static_cast<std::int32_t>(size.get<std::uint64_t>());
  return made;
}

ordered_json JsonOfObject(const SetObject& object) {
  ordered_json inputs = ordered_json::array();
  for (const SetInput& input : object.inputs)
    inputs.push_back(input.object ? ordered_json{{"object", *input.object}} : ordered_json(input.reading));
  ordered_json made{{"type", object.type}, {"inputs", std::move(inputs)}};
  if (object.size > 0) made["size"] = object.size;
  return made;
}

}  // namespace

ObjectSet::ObjectSet(std::vector<SetObject> objects) : objects_(std::move(objects)) {
  order_ = Ordering(objects_).Find();
}

ObjectSet ObjectSet::FromJson(std::string_view text) {
  const json parsed = ParseSet(text);
  const json& format = Field(parsed, "lumenar_objects", "the set");
  if (format != kSetFormat) ThrowSet(fmt::format("is a set of objects of another form than {}", kSetFormat));
  const json& objects = Field(parsed, "objects", "the set");
  if (!objects.is_array() || objects.size() > kMostObjects)
    ThrowSet(fmt::format("\"objects\" is not a list of {} at most", kMostObjects));
  std::vector<SetObject> made;
  for (const json& object : objects) made.push_back(ObjectFrom(object, fmt::format("object {}", made.size())));
  return ObjectSet(std::move(made));
}

std::string ObjectSet::Json() const {
  std::string text =
      fmt::format("{{\"lumenar_objects\": {}, \"version\": \"{}\", \"objects\": [", kSetFormat, Version());
  for (std::size_t i = 0; i < objects_.size(); ++i) {
    text += i == 0 ? "\n  " : ",\n  ";
    text += JsonOfObject(objects_[i]).dump(-1, ' ', false, ordered_json::error_handler_t::replace);
  }
  return text + "\n]}\n";
}

PresentSet PresentObjects(Connection& connection, MathObjects& objects) {
  const std::vector<MathReport> reports = objects.Reports();
  TopicNames names(connection, objects.Engine());
  names.Learn(objects.Engine(), reports);
  std::unordered_map<std::string, std::size_t> places;  // of those in the set, by the topics of their results
  PresentSet present;
  std::vector<SetObject> made;
  for (const MathReport& report : reports) {  // an object's inputs are older, so that their ids are smaller
    SetObject object{report.type, {}, static_cast<std::int32_t>(report.size)};
    std::string gone;
    for (const InputReport& input : report.inputs) {
      const auto place = places.find(input.topic);
      const std::string name = names.Of(input.topic);
      const auto math = MathNameFromText(name, objects.Engine());
      const bool is_own = (math && math->engine == objects.Engine()) || name.ends_with(" (gone)");
      if (place == places.end() && is_own) gone = name;
      object.inputs.push_back(place != places.end() ? SetInput{"", place->second} : SetInput{name, std::nullopt});
    }
    if (gone.empty()) {
      places.emplace(report.result_topic, made.size());
      made.push_back(std::move(object));
    } else {
      present.left_out.push_back(fmt::format("{} cannot be made again: its input {} is not there",
                                             MathText({objects.Engine(), report.id}, objects.Engine()), gone));
    }
  }
  present.set = ObjectSet(std::move(made));
  return present;
}

}  // namespace Lumenar::Client
