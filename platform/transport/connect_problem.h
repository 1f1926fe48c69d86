// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

namespace Corvanta {

/// Why nobody can be reached at "HOST:PORT" or "unix:PATH", found out by one connection that is closed at once: as
/// "connection refused" or "no answer within 250 ms". Empty when a connection is accepted. A name of a host is looked up,
/// which takes as long as the system's resolver does.
std::string ConnectProblem(const std::string& address,
                           std::chrono::milliseconds limit = std::chrono::milliseconds(250));

}  // namespace Corvanta
