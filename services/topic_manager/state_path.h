// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace Lumenar {

/// Where a service keeps what it has to know after a restart, unless it is told another place:
/// `service`-HOST-PORT.state, by the address of its naming service, in the directory "lumenar" of $XDG_STATE_HOME;
/// without that variable, of /var/lib for root and of ~/.local/state for others. Nothing for who has no home.
std::optional<std::filesystem::path> DefaultStatePath(const std::string& service, const std::string& naming_address);

/// Makes the directory of a file, and those above it, for its owner alone (0700) where they are not there.
/// Errors   none: whoever writes the file finds out.
void MakeDirectoryOf(const std::filesystem::path& file) noexcept;

}  // namespace Lumenar
