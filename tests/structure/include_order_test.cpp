// SPDX-License-Identifier: Apache-2.0
// Who includes whom: a folder includes from itself and from the folders above it; tests share what stands in
// tests/support.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/structure/SourceTree.h"

namespace Lumenar::Structure {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

bool MayInclude(const Layer& from, const Layer& to) {
  return std::string(from.folder) == to.folder || to.rank < from.rank;
}

/// Files below `folder` with an include that `is_wrong(path of the file, include)`.
template <class IsWrong>
std::vector<std::string> WrongIncludes(const std::filesystem::path& root, const std::string& folder, IsWrong is_wrong) {
  std::vector<std::string> wrong;
  for (const Source& source : SourcesBelow(root, folder)) {
    for (const std::string& include : source.QuotedIncludes())
      if (is_wrong(source.path, include)) wrong.push_back(source.path + " includes " + include);
  }
  return wrong;
}

std::vector<std::string> UpwardIncludes(const std::filesystem::path& root) {
  std::vector<std::string> upward;
  for (const Layer& layer : Layers()) {
    const auto wrong = WrongIncludes(root, layer.folder, [](const std::string& path, const std::string& include) {
      const auto target = LayerOf(include);
      return target && !MayInclude(*LayerOf(path), *target);
    });
    upward.insert(upward.end(), wrong.begin(), wrong.end());
  }
  return upward;
}

/// Includes of a test's from a folder of other tests.
std::vector<std::string> IncludesOfOthersTests(const std::filesystem::path& root) {
  return WrongIncludes(root, "tests", [](const std::string& path, const std::string& include) {
    if (include.compare(0, 6, "tests/") != 0 || include.compare(0, 14, "tests/support/") == 0) return false;
    const std::string folder = include.substr(0, include.rfind('/') + 1);
    return path.compare(0, folder.size(), folder) != 0;
  });
}

TEST(IncludeOrder, FoldersIncludeOnlyFromThoseAboveThem) { EXPECT_THAT(UpwardIncludes(SOURCE_ROOT), IsEmpty()); }

TEST(IncludeOrder, AnUpwardIncludeIsSeen) {
  const PlantedTree tree;
  tree.Plant("platform/base/Bad.h", "#include \"client/Connection.h\"\n");
  EXPECT_THAT(UpwardIncludes(tree.Root()), ElementsAre("platform/base/Bad.h includes client/Connection.h"));
}

TEST(IncludeOrder, EverySourceStandsInAKnownFolder) {
  std::vector<std::string> strangers;
  for (const char* top : {"platform", "Common_Math", "host", "services", "instruments", "client", "tools", "python"}) {
    for (const Source& source : SourcesBelow(SOURCE_ROOT, top))
      if (!LayerOf(source.path)) strangers.push_back(source.path);
  }
  EXPECT_THAT(strangers, IsEmpty());
}

TEST(IncludeOrder, WhatTestsOfSeveralFoldersUseStandsInSupport) {
  EXPECT_THAT(IncludesOfOthersTests(SOURCE_ROOT), IsEmpty());
}

TEST(IncludeOrder, AnIncludeOfOthersTestsIsSeen) {
  const PlantedTree tree;
  tree.Plant("tests/system/a_test.cpp", "#include \"tests/support/Process.h\"\n#include \"tests/system/Rig.h\"\n");
  tree.Plant("tests/system/road/b_test.cpp", "#include \"tests/system/Rig.h\"\n");
  tree.Plant("tests/faults/c_test.cpp", "#include \"tests/system/Rig.h\"\n");
  EXPECT_THAT(IncludesOfOthersTests(tree.Root()), ElementsAre("tests/faults/c_test.cpp includes tests/system/Rig.h"));
}

}  // namespace
}  // namespace Lumenar::Structure
