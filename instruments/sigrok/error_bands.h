// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "instruments/common/ErrorBand.h"

namespace Lumenar::Sigrok {

/// The error band of one reading, or, without a name, of all that have none of their own.
struct NamedErrorBand {
  std::string reading;
  Instruments::ErrorBand band;
};

/// Reads bands with ';' between, each "BAND" or "READING = BAND", as "0.5 % + 0.003".
/// Errors   std::invalid_argument.
std::vector<NamedErrorBand> ErrorBandsFromText(std::string_view text);

/// The band of a reading; null where there is none.
const Instruments::ErrorBand* FindErrorBand(const std::vector<NamedErrorBand>& bands,
                                            std::string_view reading) noexcept;

}  // namespace Lumenar::Sigrok
