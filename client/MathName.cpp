// SPDX-License-Identifier: Apache-2.0
#include "client/MathName.h"

#include <fmt/format.h>

#include "client/Address.h"
#include "client/Text.h"
#include "platform/orb/names.h"

namespace Lumenar::Client {
namespace {

// As it is registered, however it was typed.
std::string EngineFromText(std::string_view text) {
  const std::string_view stem = Corvanta::NameWithoutInstance(text);
  if (!SameLetters(stem, Corvanta::kMathEngineName)) return std::string(text);
  return Corvanta::kMathEngineName + std::string(text.substr(stem.size()));
}

}  // namespace

bool IsMathEngine(std::string_view engine) {
  return Corvanta::NameWithoutInstance(engine) == Corvanta::kMathEngineName;
}

std::optional<MathName> MathNameFromText(std::string_view text, const std::string& factory) {
  constexpr std::string_view kObject = "math:";
  if (const auto id = MathIdFromText(text)) return MathName{factory, *id};
  const std::size_t slash = text.rfind('/');
  if (slash == std::string_view::npos || slash == 0) return std::nullopt;
  const std::string_view object = text.substr(slash + 1);
  if (!SameLetters(object.substr(0, kObject.size()), kObject)) return std::nullopt;
  const auto id = MathIdFromText(object);
  if (!id) return std::nullopt;
  return MathName{EngineFromText(text.substr(0, slash)), *id};
}

std::string MathText(const MathName& name, const std::string& factory) {
  const bool plain = name.engine == Corvanta::kFirstMathFactory && factory == Corvanta::kFirstMathFactory;
  return plain ? fmt::format("math:{}", name.id) : fmt::format("{}/math:{}", Printable(name.engine), name.id);
}

}  // namespace Lumenar::Client
