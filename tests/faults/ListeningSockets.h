// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace Lumenar::Test {

/// The internet addresses at which a process listens, without ports, as "127.0.0.1"; of TCP and of bound UDP sockets,
/// both versions of the protocol, as the system shows them.
std::vector<std::string> ListeningAddresses(pid_t pid);

}  // namespace Lumenar::Test
