// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "client/Error.h"
#include "client/Text.h"
#include "client/Wildcard.h"
#include "client/values.h"
#include "platform/base/Diagnostic.h"
#include "tools/mathctl/command.h"

namespace Lumenar::Mathctl {
namespace {

bool IsMathPattern(std::string_view text) {
  constexpr std::string_view kMathPrefix = "math:";
  return Client::IsWildcard(text) && Client::SameLetters(text.substr(0, kMathPrefix.size()), kMathPrefix);
}

/// Finds readings by several texts, asking the engines once.
class ReadingFinder {
 public:
  explicit ReadingFinder(const Session& session) : session_(session) {}

  std::vector<Client::Reading> FindAll(const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
      if (session_.MathFrom(text)) {
        Take(session_.Find(text));
      } else if (IsMathPattern(text)) {
        FindMath(text);
      } else {
        FindByName(text);
      }
    }
    return std::move(found_);
  }

 private:
  void Take(const Client::Reading& reading) {
    if (taken_.emplace(reading.name.engine, reading.name.item).second) found_.push_back(reading);
  }

  void FindMath(const std::string& pattern) {
    bool any = false;
    for (const Client::MathStatus& object : Objects().List()) {
      if (!Client::WildcardFits(pattern, fmt::format("math:{}", object.id))) continue;
      Take(object.result);
      any = true;
    }
    if (any) return;
    throw Client::Error(Client::ErrorKind::NotFound,
                        fmt::format("no math object \"{}\"; `mathctl list` lists them", Client::Printable(pattern)));
  }

  void FindByName(const std::string& text) {
    AskEngines();
    const bool is_pattern = Client::IsWildcard(text);
    for (const std::size_t index : Client::IndexesFor(text, readings_, engines_)) {
      const Client::Reading& reading = readings_[index];
      if (is_pattern && !Client::HasValue(reading)) continue;
      Take(reading);
    }
    if (is_pattern) SaySilent();
  }

  void AskEngines() {
    if (asked_) return;
    engines_ = session_.connection.Engines();
    readings_ = session_.connection.ReadingsOf(engines_);
    asked_ = true;
  }

  // Once, whatever the number of patterns.
  void SaySilent() {
    for (const Client::Engine& engine : engines_) {
      if (!engine.problem || said_silent_ || session_.options.quiet) continue;
      WriteError(fmt::format("mathctl: {}; its readings are left out", engine.problem->what()));
    }
    said_silent_ = true;
  }

  Client::MathObjects& Objects() {
    if (!objects_) objects_.emplace(session_.Objects());
    return *objects_;
  }

  const Session& session_;
  std::optional<Client::MathObjects> objects_;
  std::vector<Client::Engine> engines_;
  std::vector<Client::Reading> readings_;
  std::vector<Client::Reading> found_;
  std::set<std::pair<std::string, std::string>> taken_;
  bool asked_ = false;
  bool said_silent_ = false;
};

}  // namespace

std::vector<Client::Reading> Session::FindAll(const std::vector<std::string>& texts) const {
  return ReadingFinder(*this).FindAll(texts);
}

}  // namespace Lumenar::Mathctl
