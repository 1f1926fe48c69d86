// SPDX-License-Identifier: Apache-2.0
// Who includes whom: a folder includes from itself and from the folders above it; tests share what stands in
// tests/support.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
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

/// What a file includes, and what those include, and so on: paths of ours.
std::set<std::string> AllIncludes(const std::filesystem::path& root, const std::string& path) {
  std::set<std::string> found;
  std::vector<std::string> waiting{path};
  while (!waiting.empty()) {
    const std::string now = waiting.back();
    waiting.pop_back();
    for (const std::string& include : SourceAt(root, now).QuotedIncludes())
      if (found.insert(include).second) waiting.push_back(include);
  }
  return found;
}

/// Files of the judge that know arithmetic of the engine's, on whatever way.
std::vector<std::string> WhereTheJudgeKnowsTheEngine(const std::filesystem::path& root) {
  std::vector<std::string> wrong;
  for (const Source& source : SourcesBelow(root, "judge")) {
    for (const std::string& include : AllIncludes(root, source.path)) {
      for (const std::string arithmetic : {"platform/units/", "platform/value/", "Common_Math/"})
        if (include.compare(0, arithmetic.size(), arithmetic) == 0) wrong.push_back(source.path + " knows " + include);
    }
  }
  return wrong;
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

TEST(IncludeOrder, TheJudgeSharesNoArithmeticWithTheEngine) {
  EXPECT_THAT(WhereTheJudgeKnowsTheEngine(SOURCE_ROOT), IsEmpty());
}

TEST(IncludeOrder, AJudgeThatKnowsTheEngineIsSeen) {
  const PlantedTree tree;
  tree.Plant("judge/verify/A.cpp", "#include \"recording/B.h\"\n");
  tree.Plant("recording/B.h", "#include \"platform/value/C.h\"\n#include \"recording/B.h\"\n");
  EXPECT_THAT(WhereTheJudgeKnowsTheEngine(tree.Root()), ElementsAre("judge/verify/A.cpp knows platform/value/C.h"));
}

TEST(IncludeOrder, EverySourceStandsInAKnownFolder) {
  std::vector<std::string> strangers;
  for (const char* top : {"platform", "judge", "Common_Math", "host", "services", "instruments", "recording", "client",
                          "tools", "python"}) {
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
