// SPDX-License-Identifier: Apache-2.0
// The engine stays as small as one person can hold in the head.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>

#include "tests/structure/SourceTree.h"

namespace Lumenar::Structure {
namespace {

constexpr std::ptrdiff_t kMostLines = 4000;

std::ptrdiff_t LinesBelow(const std::string& folder) {
  std::ptrdiff_t lines = 0;
  for (const Source& source : SourcesBelow(SOURCE_ROOT, folder))
    lines += std::count(source.text.begin(), source.text.end(), '\n');
  return lines;
}

TEST(Size, TheEnginesCoreIsSmall) {
  const std::ptrdiff_t lines = LinesBelow("Common_Math/src");
  EXPECT_GT(lines, kMostLines / 4) << "it is looked for in the wrong place";
  EXPECT_LE(lines, kMostLines);
}

}  // namespace
}  // namespace Lumenar::Structure
