// SPDX-License-Identifier: Apache-2.0
// The page that says what each folder is for has a row for every one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/structure/SourceTree.h"

namespace Lumenar::Structure {
namespace {

/// The folders that have no row "| `FOLDER/` | SUBJECT |" in a page.
std::vector<std::string> FoldersWithoutRow(const std::string& page) {
  std::vector<std::string> missing;
  for (const Layer& layer : Layers()) {
    const std::string row = "\n| `" + std::string(layer.folder) + "/` | ";
    const std::size_t at = page.find(row);
    if (at == std::string::npos || page[at + row.size()] == '|') missing.emplace_back(layer.folder);
  }
  return missing;
}

TEST(ArchitecturePage, TellsTheSubjectOfEachFolder) {
  EXPECT_THAT(FoldersWithoutRow(SourceAt(SOURCE_ROOT, "docs/architecture.md").text), testing::IsEmpty());
}

TEST(ArchitecturePage, AFolderWithoutASubjectIsSeen) {
  const std::string page = SourceAt(SOURCE_ROOT, "docs/architecture.md").text;
  const std::string row = "\n| `client/` | ";
  std::string without_row = page, without_subject = page;
  without_row.erase(without_row.find(row), row.size());
  without_subject.insert(without_subject.find(row) + row.size(), "| ");
  EXPECT_THAT(FoldersWithoutRow(without_row), testing::ElementsAre("client"));
  EXPECT_THAT(FoldersWithoutRow(without_subject), testing::ElementsAre("client"));
}

}  // namespace
}  // namespace Lumenar::Structure
