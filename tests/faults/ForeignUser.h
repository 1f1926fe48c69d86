// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace Lumenar::Test {

/// A user of the system who owns nothing and runs nothing else, for processes that must not be root's.
namespace ForeignUser {

inline constexpr unsigned kId = 54321;

/// Why no process can be started as this user, as that the test is not root's; empty when it can.
std::string Obstacle(const std::string& program);

/// A command that runs as this user, and ends when the process that started it does.
std::vector<std::string> Run(std::vector<std::string> command);

}  // namespace ForeignUser

}  // namespace Lumenar::Test
