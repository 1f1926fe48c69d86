// SPDX-License-Identifier: Apache-2.0
#include "client/Wildcard.h"

#include <cstddef>

#include "client/Text.h"

namespace Lumenar::Client {

bool IsWildcard(std::string_view text) { return text.find_first_of("*?") != text.npos; }

// When the rest does not fit, the last * takes one byte more: what the ones before it took need not be tried again.
bool WildcardFits(std::string_view pattern, std::string_view name) {
  std::size_t at = 0, in_pattern = 0, star = pattern.npos, taken = 0;
  while (at < name.size()) {
    if (in_pattern < pattern.size() && pattern[in_pattern] == '*') {
      star = in_pattern++;
      taken = at;
    } else if (in_pattern < pattern.size() &&
               (pattern[in_pattern] == '?' || LowerCase(pattern[in_pattern]) == LowerCase(name[at]))) {
      ++in_pattern;
      ++at;
    } else if (star != pattern.npos) {
      in_pattern = star + 1;
      at = ++taken;
    } else {
      return false;
    }
  }
  while (in_pattern < pattern.size() && pattern[in_pattern] == '*') ++in_pattern;
  return in_pattern == pattern.size();
}

}  // namespace Lumenar::Client
