// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/relay/relay_options.h"

#include "platform/transport/addresses.h"

namespace Corvanta {

std::optional<CycloneRelay::Options> RelayOptions(const SettingsFile& settings) {
  if (!settings.Truth("dds.enabled", false)) return std::nullopt;
  CycloneRelay::Options options;
  options.domain = static_cast<unsigned>(settings.Number("dds.domain", options.domain));
  options.interface_address = settings.Text("dds.interface", options.interface_address);
  if (!settings.Values("dds.interface").empty() && !HasInterface(options.interface_address)) {
    settings.Refuse({"dds.interface"},
                    "dds.interface: no interface of this machine has the address " + options.interface_address);
  }
  const auto topics = settings.Values("dds.topic");
  options.topics.insert(topics.begin(), topics.end());
  return options;
}

}  // namespace Corvanta
