// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Lumenar::Client {

/// A math object of one of the math engines.
struct MathName {
  std::string engine;  ///< its registered name, as "MATHFACTORY/1"
  std::int32_t id = 0;
  friend bool operator==(const MathName&, const MathName&) = default;
};

/// The object that a text means: "math:3" and "3" are one of `factory`, the engine that the user works with;
/// "MATHFACTORY/2/math:3" is one of the engine that it names. The case of letters does not count. Nothing when the text
/// has another form.
std::optional<MathName> MathNameFromText(std::string_view text, const std::string& factory);

/// The name that MathNameFromText understands: "math:3" where the object's engine and `factory` are the first math
/// engine, so that the text means the same everywhere; else "MATHFACTORY/2/math:3".
std::string MathText(const MathName& name, const std::string& factory);

/// Whether a registered name is one of a math engine.
bool IsMathEngine(std::string_view engine);

}  // namespace Lumenar::Client
