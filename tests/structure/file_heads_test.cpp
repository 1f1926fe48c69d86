// SPDX-License-Identifier: Apache-2.0
// Every file of ours begins with its licence, in the one line that tools look for.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/structure/SourceTree.h"

namespace Lumenar::Structure {
namespace {

namespace fs = std::filesystem;

/// How a file's first line must begin; empty for one that has no place for it: data, pictures, the licence itself.
std::string HeadOf(const fs::path& path) {
  const std::string extension = path.extension().string();
  const std::vector<std::string> code = {".h", ".cpp", ".ipp", ".idl", ".js"};
  if (std::find(code.begin(), code.end(), extension) != code.end()) return "// ";
  if (extension == ".cmake" || path.filename() == "CMakeLists.txt") return "# ";
  if (extension == ".md" || extension == ".html") return "<!-- ";
  if (extension == ".css") return "/* ";
  return path.parent_path().filename() == "scripts" || path.parent_path().filename() == ".ci" ? "# " : "";
}

/// A script's first line says what runs it, the second is its head.
std::string HeadLine(const fs::path& path) {
  std::ifstream stream(path);
  std::string line;
  std::getline(stream, line);
  if (line.compare(0, 2, "#!") == 0) std::getline(stream, line);
  return line;
}

/// The one folder of others' code in the tree; its README.md says what it is and under which licence.
bool IsOthersCode(const fs::path& path) {
  return path.parent_path() == "tools/math_web/page/vendor" && path.extension() != ".md";
}

std::vector<std::string> FilesWithoutLicence(const fs::path& root) {
  std::vector<std::string> without;
  for (auto entry = fs::recursive_directory_iterator(root); entry != fs::recursive_directory_iterator(); ++entry) {
    const std::string name = entry->path().filename().string();
    if (entry.depth() == 0 && (name == "build" || name == ".git")) entry.disable_recursion_pending();
    if (!entry->is_regular_file() || IsOthersCode(fs::relative(entry->path(), root))) continue;
    const std::string head = HeadOf(entry->path());
    const std::string expected = head + "SPDX-License-Identifier: Apache-2.0";
    if (!head.empty() && HeadLine(entry->path()).compare(0, expected.size(), expected) != 0)
      without.push_back(fs::relative(entry->path(), root).string());
  }
  std::sort(without.begin(), without.end());
  return without;
}

TEST(FileHeads, NameTheLicence) { EXPECT_THAT(FilesWithoutLicence(SOURCE_ROOT), testing::IsEmpty()); }

TEST(FileHeads, AMissingOneIsSeen) {
  const PlantedTree tree;
  const std::string line = "SPDX-License-Identifier: Apache-2.0";
  tree.Plant("a.cpp", "// " + line + "\n");
  tree.Plant("b.cpp", "\n// " + line + "\n");
  tree.Plant("c.h", "#pragma once\n");
  tree.Plant("scripts/d", "#!/bin/sh\n# " + line + "\n");
  tree.Plant("scripts/e", "#!/bin/sh\nexit\n");
  tree.Plant("f/CMakeLists.txt", "");
  tree.Plant("page.md", "<!-- " + line + " -->\n");
  tree.Plant("h.js", "export {};\n");
  tree.Plant("i.css", "/* " + line + " */\n");
  tree.Plant("tools/math_web/page/vendor/others.js", "/* theirs */\n");
  tree.Plant("tools/math_web/page/vendor/more/others.js", "/* theirs */\n");
  tree.Plant("data.csv", "1\n");
  tree.Plant("build/g.cpp", "generated\n");
  EXPECT_THAT(FilesWithoutLicence(tree.Root()),
              testing::ElementsAre("b.cpp", "c.h", "f/CMakeLists.txt", "h.js", "scripts/e",
                                   "tools/math_web/page/vendor/more/others.js"));
}

}  // namespace
}  // namespace Lumenar::Structure
