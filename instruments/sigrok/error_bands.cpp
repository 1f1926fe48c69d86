// SPDX-License-Identifier: Apache-2.0
#include "instruments/sigrok/error_bands.h"

#include <algorithm>

namespace Lumenar::Sigrok {
namespace {

std::string_view WithoutSpaces(std::string_view text) {
  constexpr std::string_view kSpaces = " \t";
  const std::size_t first = text.find_first_not_of(kSpaces);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kSpaces) - first + 1);
}

}  // namespace

std::vector<NamedErrorBand> ErrorBandsFromText(std::string_view text) {
  std::vector<NamedErrorBand> bands;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(';'), text.size());
    const std::string_view item = WithoutSpaces(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (item.empty()) continue;
    const std::size_t equals = item.find('=');
    const bool named = equals != std::string_view::npos;
    bands.push_back({std::string(named ? WithoutSpaces(item.substr(0, equals)) : std::string_view()),
                     Instruments::ErrorBandFromText(named ? item.substr(equals + 1) : item)});
  }
  return bands;
}

const Instruments::ErrorBand* FindErrorBand(const std::vector<NamedErrorBand>& bands,
                                            std::string_view reading) noexcept {
  const Instruments::ErrorBand* general = nullptr;
  for (const NamedErrorBand& named : bands) {
    if (named.reading == reading) return &named.band;
    if (named.reading.empty()) general = &named.band;
  }
  return general;
}

}  // namespace Lumenar::Sigrok
