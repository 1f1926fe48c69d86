// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace Lumenar::Mathctl {

/// The first word of a command line (without the program's name) that is no verb, or no option of its verb, and what is
/// near it: "no verb \"lst\"; near: list". Empty when there is none: what else is wrong, the parser says.
std::string WrongWord(const CLI::App& app, const std::vector<std::string>& words);

}  // namespace Lumenar::Mathctl
