// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace Lumenar::Client {

/// Whether a text is a pattern: whether it has * or ? in it.
bool IsWildcard(std::string_view text);

/// Whether a name fits a pattern, in which * is any characters, also none and also "/", and ? is one byte; the case of
/// letters does not count.
/// Numbers   at most as many steps as the product of both lengths.
bool WildcardFits(std::string_view pattern, std::string_view name);

}  // namespace Lumenar::Client
