// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cctype>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "client/Text.h"
#include "client/values.h"
#include "platform/base/Diagnostic.h"
#include "tools/mathctl/RowWriter.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/sample_text.h"

namespace Lumenar::Mathctl {
namespace {

struct GetArguments {
  std::vector<std::string> words;
  std::optional<unsigned> elements;  // of a trace; 0: all
};

/// One thing to get, and what people call it.
struct Wanted {
  Client::Reading reading;
  std::string name;
  std::string object;  // empty for what is no math object's
};

bool IsItemOfObject(const std::string& word) {
  return Client::SameLetters(word, "SIZE") || Client::SameLetters(word, "FULL") || Client::SameLetters(word, "RESULT");
}

/// What the words mean, from left to right: a math object takes the items behind it.
class WantedWords {
 public:
  WantedWords(const Session& session, const std::vector<std::string>& words) : session_(session), words_(words) {}

  std::vector<Wanted> All() {
    while (at_ < words_.size()) session_.MathFrom(words_[at_]) ? TakeObject() : TakeReadings();
    return std::move(wanted_);
  }

 private:
  void TakeObject() {
    const Client::MathName object = session_.RequireMath(words_[at_++]);
    const std::string name = session_.TextOf(object);
    if (at_ == words_.size() || !IsItemOfObject(words_[at_])) {
      wanted_.push_back({session_.ObjectsOf(object).Result(object.id), name, name});
    }
    for (; at_ < words_.size() && IsItemOfObject(words_[at_]); ++at_) {
      Client::Reading item = session_.ObjectsOf(object).Item(object.id, words_[at_]);
      std::string word = words_[at_];
      std::transform(word.begin(), word.end(), word.begin(), [](unsigned char c) { return std::toupper(c); });
      wanted_.push_back({std::move(item), name + " " + word, name});
    }
  }

  // Those that stand together at once, so that the engines are asked once for them.
  void TakeReadings() {
    std::vector<std::string> texts;
    while (at_ < words_.size() && !session_.MathFrom(words_[at_])) texts.push_back(words_[at_++]);
    for (Client::Reading& reading : session_.FindAll(texts)) {
      std::string name = Client::FullName(reading.name);
      wanted_.push_back({std::move(reading), std::move(name), ""});
    }
  }

  const Session& session_;
  const std::vector<std::string>& words_;
  std::size_t at_ = 0;
  std::vector<Wanted> wanted_;
};

nlohmann::ordered_json JsonFor(const Wanted& wanted, const Corvanta::SampleRecord& value,
                               const std::optional<unsigned>& elements) {
  nlohmann::ordered_json json{{"reading", Client::FullName(wanted.reading.name)}};
  if (!wanted.object.empty()) json["object"] = wanted.object;
  json.update(JsonOf(value, elements));
  return json;
}

// Values of several kinds have other fields each.
std::vector<std::string> ColumnsOf(const std::vector<Wanted>& all, const GetArguments& arguments) {
  std::vector<std::string> columns{"reading"};
  if (std::any_of(all.begin(), all.end(), [](const Wanted& wanted) { return !wanted.object.empty(); })) {
    columns.push_back("object");
  }
  for (std::string& column : ValueColumns(arguments.elements.has_value())) columns.push_back(std::move(column));
  return columns;
}

void Get(const Session& session, const GetArguments& arguments) {
  const std::vector<Wanted> all = WantedWords(session, arguments.words).All();
  const bool for_people = session.options.format == Format::Table;
  RowWriter rows(session.options, {});
  rows.UseColumns(ColumnsOf(all, arguments));
  for (const Wanted& wanted : all) {
    const Corvanta::SampleRecord value = Client::GetValue(wanted.reading);
    if (for_people && all.size() == 1) return WriteOut(TextOf(value, arguments.elements));
    for_people ? rows.Add({}, {wanted.name, TextOf(value, arguments.elements)})
               : rows.Add(JsonFor(wanted, value, arguments.elements), {});
  }
  rows.Finish();
}

constexpr const char* kGetFooter =
    "Behind a math object may stand what is wanted of it: RESULT (without more), and of an Average SIZE and FULL.\n"
    "\n"
    "Examples:\n"
    "  mathctl get PROBE/1/WAKEUP\n"
    "  mathctl get math:3 SIZE FULL\n"
    "  mathctl get 'PROBE/1/*' math:3 --json";

}  // namespace

void DefineGet(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("get", "The present values of readings, attributes and math objects");
  const auto arguments = std::make_shared<GetArguments>();
  verb->add_option("READING", arguments->words, "Readings, patterns with * and ?, or math objects as math:3")
      ->required();
  verb->add_option("-#,--elements", arguments->elements, "Also the first so many samples of a trace; 0: all")
      ->check(CheckCountOrZero);
  verb->add_flag_callback(
      "--samples", [arguments] { arguments->elements = 0; }, "The same as --elements 0");
  verb->footer(kGetFooter);
  verb->callback(
      [&command, arguments] { command.run = [arguments](const Session& session) { Get(session, *arguments); }; });
}

}  // namespace Lumenar::Mathctl
