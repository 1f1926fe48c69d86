// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/Request.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

#include "client/Text.h"

namespace Lumenar::Web {
namespace {

using nlohmann::json;
using Deed = Request::Deed;

constexpr int kDeepest = 3;  // a message, the list of its inputs
constexpr std::size_t kLongestName = 1024;
constexpr std::size_t kMostInputs = 16;

struct DeedWord {
  std::string_view word;
  Deed deed;
};
constexpr DeedWord kDeedWords[] = {
    {"subscribe", Deed::Subscribe},
    {"unsubscribe", Deed::Unsubscribe},
    {"ready", Deed::Ready},
    {"create", Deed::Create},
    {"fits", Deed::Fits},
    {"set", Deed::Set},
    {"reset", Deed::Reset},
    {"delete", Deed::Delete},
    {"save", Deed::Save},
    {"csv", Deed::Csv},
    {"get", Deed::Get},
};

struct ScaleWord {
  std::string_view word;
  Scale scale;
};
constexpr ScaleWord kScaleWords[] = {{"as_is", Scale::AsIs}, {"db", Scale::Decibel}, {"linear", Scale::Linear}};

json ParsedObject(std::string_view text) {
  const auto shallow = [](int depth, json::parse_event_t, const json&) {
    if (depth > kDeepest) throw RequestError(std::nullopt, "the message is nested too deep");
    return true;
  };
  try {
    json message = json::parse(text, shallow);
    if (message.is_object()) return message;
  } catch (const json::exception&) {}
  throw RequestError(std::nullopt, "the message is no JSON object");
}

/// The fields of one message.
class Fields {
 public:
  explicit Fields(std::string_view text) : message_(ParsedObject(text)) {
    const auto number = message_.find("request");
    if (number != message_.end() && number->is_number_unsigned()) number_ = number->get<std::uint64_t>();
  }

  const std::optional<std::uint64_t>& Number() const { return number_; }

  [[noreturn]] void Fail(const std::string& text) const { throw RequestError(number_, text); }

  std::string Text(const char* name) const {
    const json* field = Find(name);
    if (field == nullptr || !field->is_string()) Fail(fmt::format("\"{}\" has to be a text", name));
    return Checked(*field, name);
  }

  template <class T>
  T Whole(const char* name, T least, T most) const {
    const json* field = Find(name);
    if (field != nullptr && field->is_number_integer()) {
      const bool is_huge =
          field->is_number_unsigned() && field->get<std::uint64_t>() > static_cast<std::uint64_t>(most);
      const auto number = is_huge ? std::int64_t{-1} : field->get<std::int64_t>();
      const bool fits = number >= static_cast<std::int64_t>(least) && number <= static_cast<std::int64_t>(most);
      if (!is_huge && fits) return static_cast<T>(number);
    }
    Fail(fmt::format("\"{}\" has to be a whole number from {} to {}", name, least, most));
  }

  bool Has(const char* name) const { return Find(name) != nullptr; }

  std::optional<double> Real(const char* name) const {
    const json* field = Find(name);
    if (field == nullptr) return std::nullopt;
    if (!field->is_number() || !std::isfinite(field->get<double>()))
      Fail(fmt::format("\"{}\" has to be a number or null", name));
    return field->get<double>();
  }

  std::vector<std::optional<std::string>> Inputs(bool may_lack) const {
    const json* field = Find("inputs");
    if (field == nullptr || !field->is_array() || field->size() > kMostInputs)
      Fail(fmt::format("\"inputs\" has to be a list of {} names at most", kMostInputs));
    std::vector<std::optional<std::string>> inputs;
    for (const json& input : *field) {
      if (input.is_null() && may_lack) {
        inputs.emplace_back();
      } else if (input.is_string()) {
        inputs.emplace_back(Checked(input, "inputs"));
      } else {
        Fail("an input has to be a name");
      }
    }
    return inputs;
  }

 private:
  /// Null counts as not being there.
  const json* Find(const char* name) const {
    const auto field = message_.find(name);
    return field == message_.end() || field->is_null() ? nullptr : &*field;
  }

  std::string Checked(const json& text, const char* name) const {
    auto held = text.get<std::string>();
    if (held.size() > kLongestName) Fail(fmt::format("\"{}\" is longer than {} bytes", name, kLongestName));
    return held;
  }

  const json message_;
  std::optional<std::uint64_t> number_;
};

Deed DeedFrom(const Fields& fields) {
  const std::string word = fields.Text("type");
  const auto known =
      std::find_if(std::begin(kDeedWords), std::end(kDeedWords), [&](const DeedWord& one) { return one.word == word; });
  if (known == std::end(kDeedWords)) fields.Fail(fmt::format("no message \"{}\" is known", Client::Printable(word)));
  return known->deed;
}

Scale ScaleFrom(const Fields& fields) {
  if (!fields.Has("scale")) return Scale::AsIs;
  const std::string word = fields.Text("scale");
  const auto known = std::find_if(std::begin(kScaleWords), std::end(kScaleWords),
                                  [&](const ScaleWord& one) { return one.word == word; });
  if (known == std::end(kScaleWords)) fields.Fail("\"scale\" has to be as_is, db or linear");
  return known->scale;
}

std::uint32_t StreamFrom(const Fields& fields) {
  return fields.Whole<std::uint32_t>("stream", 0, std::numeric_limits<std::uint32_t>::max());
}

View ViewFrom(const Fields& fields) {
  View view;
  if (fields.Has("columns")) view.columns = fields.Whole<std::uint32_t>("columns", 0, kMostColumns);
  view.from = fields.Real("from");
  view.to = fields.Real("to");
  if (view.from && view.to && *view.from > *view.to) std::swap(view.from, view.to);
  view.scale = ScaleFrom(fields);
  return view;
}

void TakeMath(const Fields& fields, Request& request) {
  request.math = fields.Text("math");
  request.inputs = fields.Inputs(request.deed == Deed::Fits);
  if (request.deed == Deed::Create && fields.Has("size"))
    request.size = fields.Whole<std::int32_t>("size", 1, std::numeric_limits<std::int32_t>::max());
}

void TakeFields(const Fields& fields, Request& request) {
  switch (request.deed) {
    case Deed::Unsubscribe:
    case Deed::Ready: request.stream = StreamFrom(fields); return;
    case Deed::Subscribe:
      request.stream = StreamFrom(fields);
      request.view = ViewFrom(fields);
      break;
    case Deed::Create:
    case Deed::Fits: return TakeMath(fields, request);
    case Deed::Save: return;
    case Deed::Set: request.value = fields.Text("value"); break;
    default: break;
  }
  request.name = fields.Text("name");
}

}  // namespace

bool Changes(Deed deed) {
  return deed == Deed::Create || deed == Deed::Set || deed == Deed::Reset || deed == Deed::Delete;
}

Request ParseRequest(std::string_view text) {
  const Fields fields(text);
  Request request;
  request.deed = DeedFrom(fields);
  request.number = fields.Number();
  const bool needs_number = request.deed != Deed::Unsubscribe && request.deed != Deed::Ready;
  if (needs_number && !request.number) fields.Fail("\"request\" has to be a whole number");
  TakeFields(fields, request);
  return request;
}

}  // namespace Lumenar::Web
