// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace Lumenar {

/// Why the engine that is being started cannot be, in words for people, told by the engine's library to the program that
/// loaded it: the library's own line has a form that leaves no room for it. Empty when nothing was told.
/// Threads   any.
__attribute__((visibility("default"))) void TellStartProblem(const std::string& problem) noexcept;
__attribute__((visibility("default"))) std::string StartProblem();

}  // namespace Lumenar
