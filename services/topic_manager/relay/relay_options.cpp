// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/relay/relay_options.h"

namespace Corvanta {

std::optional<CycloneRelay::Options> RelayOptions(const SettingsFile& settings) {
  if (!settings.Truth("dds.enabled", false)) return std::nullopt;
  CycloneRelay::Options options;
  options.domain = static_cast<unsigned>(settings.Number("dds.domain", options.domain));
  options.interface_address = settings.Text("dds.interface", options.interface_address);
  const auto topics = settings.Values("dds.topic");
  options.topics.insert(topics.begin(), topics.end());
  return options;
}

}  // namespace Corvanta
