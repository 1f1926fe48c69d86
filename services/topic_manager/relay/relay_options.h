// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "platform/transport/SettingsFile.h"
#include "services/topic_manager/relay/CycloneRelay.h"

namespace Corvanta {

/// What the settings say of the relay between machines; nothing when there is to be none.
std::optional<CycloneRelay::Options> RelayOptions(const SettingsFile& settings);

}  // namespace Corvanta
