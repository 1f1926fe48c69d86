// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/engine_use.h"

#include <fmt/format.h>

#include <future>

#include "client/Text.h"

namespace Lumenar::Mathctl {
namespace {

constexpr std::chrono::seconds kLookForEnginesEach{10};

// Nothing for an engine that does not answer, and a negative time for one that is too old to be asked.
std::optional<Corvanta::ProcessUse> Asked(const Client::Engine& engine) {
  if (engine.problem) return std::nullopt;
  try {
    return engine.registration->Use();
  } catch (const CORBA::BAD_OPERATION&) {
    return Corvanta::ProcessUse{-1, 0};
  } catch (const CORBA::Exception&) {
    return std::nullopt;
  }
}

}  // namespace

std::vector<EngineUse> EngineUses::Look() {
  const auto now = Clock::now();
  if (!found_ || now - *found_ > kLookForEnginesEach) {
    engines_ = connection_.Engines();
    found_ = now;
  }
  std::vector<std::future<std::optional<Corvanta::ProcessUse>>> answers;
  for (const Client::Engine& engine : engines_) {
    answers.push_back(std::async(std::launch::async, [&engine] { return Asked(engine); }));
  }
  std::vector<EngineUse> uses;
  for (std::size_t i = 0; i < engines_.size(); ++i) {
    const auto use = answers[i].get();
    if (!use && !engines_[i].problem) {
      engines_[i].problem = Client::Error(Client::ErrorKind::Unreachable, "did not answer");
    }
    uses.push_back(From(engines_[i].name, use));
  }
  return uses;
}

EngineUse EngineUses::From(const std::string& engine, const std::optional<Corvanta::ProcessUse>& use) {
  EngineUse shown{engine, use.has_value(), std::nullopt, std::nullopt};
  if (!use || use->processor_s < 0) return shown;
  const auto now = Clock::now();
  shown.resident_bytes = use->resident_bytes;
  const auto before = seen_.find(engine);
  if (before != seen_.end() && use->processor_s >= before->second.processor_s && now > before->second.time) {
    const std::chrono::duration<double> passed = now - before->second.time;
    shown.processor_share = (use->processor_s - before->second.processor_s) / passed.count();
  }
  seen_[engine] = {use->processor_s, now};
  return shown;
}

std::string UseText(const EngineUse& use) {
  const std::string name = Client::Printable(use.engine);
  if (!use.answers) return name + " does not answer";
  const std::string share = use.processor_share ? fmt::format(" {:.1f} %", *use.processor_share * 100) : "";
  const std::string memory =
      use.resident_bytes ? fmt::format(" {:.0f} MB", static_cast<double>(*use.resident_bytes) / 1e6) : "";
  return name + share + memory;
}

}  // namespace Lumenar::Mathctl
