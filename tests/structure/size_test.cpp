// SPDX-License-Identifier: Apache-2.0
// The engine stays as small as one person can hold in the head, and each file as short as one sitting takes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/structure/SourceTree.h"

namespace Lumenar::Structure {
namespace {

constexpr std::ptrdiff_t kMostLines = 4000;
constexpr std::ptrdiff_t kMostLinesOfAFile = 400;

std::ptrdiff_t LinesOf(const Source& source) { return std::count(source.text.begin(), source.text.end(), '\n'); }

std::ptrdiff_t LinesBelow(const std::string& folder) {
  std::ptrdiff_t lines = 0;
  for (const Source& source : SourcesBelow(SOURCE_ROOT, folder)) lines += LinesOf(source);
  return lines;
}

/// The C++ files of product, tests and benchmarks that are longer than the rule allows.
std::vector<std::string> LongFiles(const std::filesystem::path& root) {
  std::vector<std::string> found;
  for (const char* top : {"platform", "judge", "recording", "Common_Math", "host", "services", "instruments", "client",
                          "tools", "python", "examples", "tests", "bench"})
    for (const Source& source : SourcesBelow(root, top))
      if (LinesOf(source) > kMostLinesOfAFile) found.push_back(source.path);
  return found;
}

TEST(Size, TheEnginesCoreIsSmall) {
  const std::ptrdiff_t lines = LinesBelow("Common_Math/src");
  EXPECT_GT(lines, kMostLines / 4) << "it is looked for in the wrong place";
  EXPECT_LE(lines, kMostLines);
}

TEST(Size, EveryFileIsShort) { EXPECT_THAT(LongFiles(SOURCE_ROOT), testing::IsEmpty()); }

TEST(Size, ALongFileIsSeen) {
  const PlantedTree tree;
  const auto lines = [](std::ptrdiff_t count) { return std::string(static_cast<std::size_t>(count), '\n'); };
  tree.Plant("client/just.cpp", lines(kMostLinesOfAFile));
  tree.Plant("client/one_more.cpp", lines(kMostLinesOfAFile + 1));
  tree.Plant("tests/unit/one_more.h", lines(kMostLinesOfAFile + 1));
  EXPECT_THAT(LongFiles(tree.Root()), testing::ElementsAre("client/one_more.cpp", "tests/unit/one_more.h"));
}

}  // namespace
}  // namespace Lumenar::Structure
