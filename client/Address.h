// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Lumenar::Client {

/// The full name of a reading: its engine's registered name ("PROBE/1") and its item name ("WAKEUP").
struct ReadingName {
  std::string engine;
  std::string item;
  friend bool operator==(const ReadingName&, const ReadingName&) = default;
};

/// "PROBE/1/WAKEUP", printable; what people type to mean this reading.
std::string FullName(const ReadingName& name);

/// The id in "math:3" or "3"; nothing when the text has another form or the number is no id.
std::optional<std::int32_t> MathIdFromText(std::string_view text);

/// The index of the reading that `text` means: "ENGINE/INSTANCE/ITEM" in full; "ENGINE/ITEM" or "ITEM" alone when just
/// one reading fits. The fullest form that fits at all decides. Names are compared byte for byte, or in their printable
/// form.
/// Errors   Error NotFound; Error BadArgument, naming the candidates, when several fit.
std::size_t MatchReading(std::string_view text, const std::vector<ReadingName>& names);

}  // namespace Lumenar::Client
