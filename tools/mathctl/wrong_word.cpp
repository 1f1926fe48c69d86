// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/wrong_word.h"

#include <fmt/format.h>

#include <cstddef>

#include "client/Nearest.h"
#include "client/Text.h"

namespace Lumenar::Mathctl {
namespace {

std::vector<std::string> VerbNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* verb : app.get_subcommands([](const CLI::App* each) { return !each->get_group().empty(); })) {
    names.push_back(verb->get_name());
  }
  return names;
}

void AddOptionNames(const CLI::App& app, std::vector<std::string>& names) {
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
}

/// Reads a command line word by word, as far as needed to tell verbs and options from values.
class WordReader {
 public:
  explicit WordReader(const CLI::App& app) : verbs_{&app} {}

  std::string FirstWrong(const std::vector<std::string>& words) {
    for (std::size_t i = 0; i < words.size() && words[i] != "--"; ++i) {
      const std::string& word = words[i];
      if (!IsOption(word)) {
        const CLI::App* verb = FindVerb(word);
        if (verb != nullptr) verbs_.push_back(verb);
        if (verbs_.size() == 1) return WrongVerb(word);
        continue;
      }
      const std::string name = word.substr(0, word[1] == '-' ? word.find('=') : 2);
      const CLI::Option* option = Find(name);
      if (option == nullptr) return WrongOption(name);
      const bool has_its_value = name.size() < word.size();
      if (option->get_expected_min() > 0 && option->get_type_size() > 0 && !has_its_value) ++i;
    }
    return {};
  }

 private:
  // A negative number is a value.
  static bool IsOption(const std::string& word) {
    return word.size() > 1 && word[0] == '-' && word[1] != '.' && (word[1] < '0' || word[1] > '9');
  }

  const CLI::App* FindVerb(const std::string& word) const {
    for (const CLI::App* verb : verbs_.back()->get_subcommands([](const CLI::App*) { return true; })) {
      if (verb->check_name(word)) return verb;
    }
    return nullptr;
  }

  const CLI::Option* Find(const std::string& name) const {
    for (const CLI::App* verb : verbs_) {
      if (const CLI::Option* option = verb->get_option_no_throw(name)) return option;
    }
    return nullptr;
  }

  std::string WrongVerb(const std::string& word) const {
    const std::string near = Client::NearText(Client::Nearest(word, VerbNames(*verbs_.front())));
    return fmt::format("no verb \"{}\"{}", Client::Printable(word),
                       near.empty() ? "; mathctl --help shows the verbs" : near);
  }

  std::string WrongOption(const std::string& name) const {
    std::vector<std::string> known;
    for (auto verb = verbs_.rbegin(); verb != verbs_.rend(); ++verb) AddOptionNames(**verb, known);
    const std::string near = Client::NearText(Client::Nearest(name, known));
    std::string verb;
    for (std::size_t i = 1; i < verbs_.size(); ++i) verb += verbs_[i]->get_name() + " ";
    return fmt::format("no option {}{}", Client::Printable(name),
                       near.empty() ? fmt::format("; mathctl {}--help shows those there are", verb) : near);
  }

  std::vector<const CLI::App*> verbs_;  // the application, the verb, and one below it where there are any
};

}  // namespace

std::string WrongWord(const CLI::App& app, const std::vector<std::string>& words) {
  return WordReader(app).FirstWrong(words);
}

}  // namespace Lumenar::Mathctl
