// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/completion_words.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <sstream>

#include "client/Error.h"
#include "client/Text.h"
#include "platform/base/Diagnostic.h"
#include "platform/transport/addresses.h"

namespace Lumenar::Mathctl {
namespace {

bool IsShown(const CLI::App* verb) { return !verb->get_group().empty(); }

std::vector<std::string> ShownVerbs(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* verb : app.get_subcommands(IsShown)) names.push_back(verb->get_name());
  return names;
}

void AddOptions(const CLI::App& app, std::vector<std::string>& names) {
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    for (const std::string& name : option->get_snames()) names.push_back("-" + name);
  }
}

WordKind KindOfPositional(const std::string& name) {
  if (name == "READING" || name == "INPUT" || name == "PATTERN") return WordKind::Reading;
  if (name == "ATTRIBUTE") return WordKind::Attribute;
  if (name == "ID" || name == "OBJECT") return WordKind::Object;
  return name == "TYPE" ? WordKind::Type : WordKind::File;
}

/// Reads words as the parser will.
class WantedReader {
 public:
  explicit WantedReader(const CLI::App& app) : app_(app) {}

  WordWanted Read(const std::vector<std::string>& words) {
    for (std::size_t i = 0; i + 1 < words.size(); ++i) Pass(words[i]);
    return WantedFor(words.empty() ? std::string() : words.back());
  }

 private:
  const CLI::Option* FindOption(const std::string& word) const {
    const std::string name = word.substr(0, word.rfind("--", 0) == 0 ? word.find('=') : 2);
    const CLI::Option* option = verb_ != nullptr ? verb_->get_option_no_throw(name) : nullptr;
    return option != nullptr ? option : app_.get_option_no_throw(name);
  }

  // Of the application, or one below the verb where it has any.
  const CLI::App* FindVerb(const std::string& word) const {
    for (const CLI::App* verb : (verb_ != nullptr ? *verb_ : app_).get_subcommands(IsShown)) {
      if (verb->check_name(word)) return verb;
    }
    return nullptr;
  }

  static bool IsOption(const std::string& word) { return word.size() > 1 && word[0] == '-'; }

  void Pass(const std::string& word) {
    if (pending_ != nullptr) return TakeValue(word);
    if (IsOption(word)) {
      const CLI::Option* option = FindOption(word);
      const bool has_value = word.find('=') != word.npos || (word[1] != '-' && word.size() > 2);
      if (option != nullptr && option->get_type_size() > 0 && !has_value) pending_ = option;
      return;
    }
    const CLI::App* verb = FindVerb(word);
    if (verb != nullptr) {
      verb_ = verb;
    } else if (verb_ != nullptr) {
      positionals_.push_back(word);
    }
  }

  void TakeValue(const std::string& word) {
    if (pending_->check_lname("naming") && Corvanta::HostPortProblem(word).empty()) wanted_.options.naming = word;
    if (pending_->check_lname("factory")) wanted_.options.factory = word;
    pending_ = nullptr;
  }

  WordWanted WantedFor(const std::string& word) {
    if (pending_ != nullptr) return OfOption();
    if (word.rfind('-', 0) == 0) {
      wanted_.kind = WordKind::Fixed;
      if (verb_ != nullptr) AddOptions(*verb_, wanted_.fixed);
      AddOptions(app_, wanted_.fixed);
      return wanted_;
    }
    const CLI::App& app = verb_ != nullptr ? *verb_ : app_;
    if (verb_ == nullptr || (positionals_.empty() && !ShownVerbs(app).empty())) return Fixed(ShownVerbs(app));
    return OfPositional();
  }

  WordWanted Fixed(std::vector<std::string> words) {
    wanted_.kind = WordKind::Fixed;
    wanted_.fixed = std::move(words);
    return wanted_;
  }

  WordWanted OfOption() {
    if (pending_->check_lname("format")) return Fixed({"table", "json", "csv"});
    wanted_.kind = WordKind::File;
    return wanted_;
  }

  WordWanted OfPositional() {
    std::vector<const CLI::Option*> options;
    for (const CLI::Option* option : verb_->get_options()) {
      if (option->get_positional()) options.push_back(option);
    }
    if (verb_->get_name() == "completion") return Fixed({"bash", "zsh", "fish"});
    if (verb_->get_name() == "set" && !positionals_.empty()) {
      return Fixed(Client::MathIdFromText(positionals_[0]) && positionals_.size() == 1
                       ? std::vector<std::string>{"SIZE"}
                       : std::vector<std::string>{});
    }
    const std::size_t place = std::min(positionals_.size(), options.empty() ? 0 : options.size() - 1);
    wanted_.kind = options.empty() ? WordKind::File : KindOfPositional(options[place]->get_name(true));
    return wanted_;
  }

  const CLI::App& app_;
  const CLI::App* verb_ = nullptr;
  const CLI::Option* pending_ = nullptr;
  std::vector<std::string> positionals_;
  WordWanted wanted_;
};

/// Names of the platform that fit a kind of word; those of what does not answer are missing.
class LiveNames {
 public:
  LiveNames(Client::Connection& connection, const Options& options) : connection_(connection), options_(options) {}

  std::vector<std::string> Of(WordKind kind) {
    if (kind == WordKind::Type) Try([this] { AddTypes(); });
    if (kind == WordKind::Reading) Try([this] { AddReadings(false); });
    if (kind == WordKind::Attribute) Try([this] { AddReadings(true); });
    if (kind != WordKind::Type) Try([this] { AddObjects(); });
    return std::move(names_);
  }

 private:
  template <class Ask>
  void Try(Ask&& ask) {
    try {
      ask();
    } catch (const Client::Error&) {  // a completion has nowhere to complain
    }
  }

  Client::MathObjects Objects() { return Client::MathObjects(connection_, options_.factory); }

  void AddTypes() {
    for (const Client::MathType& type : Objects().Types()) names_.push_back(Client::Printable(type.name));
  }

  void AddReadings(bool settable_only) {
    for (const Client::Reading& reading : connection_.Readings()) {
      if (!settable_only || reading.settable) names_.push_back(Client::FullName(reading.name));
    }
  }

  void AddObjects() {
    for (const Client::MathStatus& object : Objects().List()) names_.push_back(fmt::format("math:{}", object.id));
  }

  Client::Connection& connection_;
  const Options& options_;
  std::vector<std::string> names_;
};

}  // namespace

WordWanted WantedLast(const CLI::App& app, const std::vector<std::string>& words) {
  return WantedReader(app).Read(words);
}

std::vector<std::string> WordsOfLine(const std::string& line) {
  std::istringstream stream(line);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) words.push_back(word);
  if (line.empty() || line.back() == ' ') words.emplace_back();
  const auto is_program = [](const std::string& word) { return word.substr(word.rfind('/') + 1) == "mathctl"; };
  const auto program = std::find_if(words.begin(), words.end(), is_program);
  if (program != words.end()) words.erase(words.begin(), program + 1);
  return words;
}

std::vector<std::string> Beginning(const std::string& begin, const std::vector<std::string>& words) {
  std::vector<std::string> fitting;
  for (const std::string& word : words) {
    if (Client::SameLetters(std::string_view(word).substr(0, begin.size()), begin)) fitting.push_back(word);
  }
  return fitting;
}

void WriteCompletions(const CLI::App& app, const std::vector<std::string>& words) {
  constexpr std::chrono::milliseconds kPatience{500};  // of each call; nobody waits longer for a key
  try {
    WordWanted wanted = WantedLast(app, words);
    const std::string begin = words.empty() ? std::string() : words.back();
    if (wanted.kind != WordKind::Fixed && wanted.kind != WordKind::File) {
      if (!wanted.options.naming.empty()) setenv("LUMENAR_NAMING", wanted.options.naming.c_str(), 1);
      Client::Connection connection(kPatience);
      wanted.fixed = LiveNames(connection, wanted.options).Of(wanted.kind);
    }
    for (const std::string& word : Beginning(begin, wanted.fixed)) WriteOut(word);
  } catch (const std::exception&) {  // an unusable configuration: the verb itself will tell
  }
}

}  // namespace Lumenar::Mathctl
