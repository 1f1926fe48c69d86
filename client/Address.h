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
/// form; where none is the same, the case of letters does not count.
/// Errors   Error NotFound, naming what is near; Error BadArgument, naming the candidates, when several fit.
std::size_t MatchReading(std::string_view text, const std::vector<ReadingName>& names);

/// The indexes of all readings that `text` means, ascending: that of MatchReading; of a text with * or ?, which is not
/// itself the name of a reading, all that fit it in one of the three forms (see WildcardFits).
/// Errors   as MatchReading.
std::vector<std::size_t> MatchReadings(std::string_view text, const std::vector<ReadingName>& names);

}  // namespace Lumenar::Client
