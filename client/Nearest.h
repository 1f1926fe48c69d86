// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Lumenar::Client {

/// How many letters have to be put in, taken away, changed or swapped with their neighbour until one word is the other;
/// the case of letters does not count. `limit` + 1 when there are more than `limit`.
std::size_t EditDistance(std::string_view a, std::string_view b, std::size_t limit);

/// How far a word may be from another that it is meant to be: a third of its letters, one at least and eight at most.
std::size_t NearLimit(std::string_view word);

/// Those of `known` that `word` may be meant to be: three at most, the nearest first, and none that is
/// more than one letter farther; none twice.
std::vector<std::string> Nearest(std::string_view word, const std::vector<std::string>& known);

/// "; near: A, B" for the end of an error; empty when there are none. The words can be printed.
std::string NearText(const std::vector<std::string>& near);

}  // namespace Lumenar::Client
