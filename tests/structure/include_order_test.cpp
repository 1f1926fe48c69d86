// SPDX-License-Identifier: Apache-2.0
// Reads every #include of the source tree: a folder includes only from itself and from the folders it may see.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <regex>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

// The folders in the order of the arrows: each may include from those above it. Folders with the same number are
// neighbours that do not know each other.
struct Layer {
  const char* folder;
  int rank;
};

constexpr Layer kLayers[] = {
    {"platform/base", 1},
    {"platform/units", 2},
    {"platform/value", 3},
    {"platform/records", 4},
    {"platform/signals", 5},
    {"platform/wire", 6},
    {"platform/transport", 7},
    {"platform/orb", 8},
    {"platform/servants", 9},
    {"platform/program", 9},
    {"platform/dds", 10},
    {"platform/topics", 11},
    {"platform/components", 12},
    {"Common_Math/src", 13},
    {"host", 13},
    {"services/topic_manager/relay", 13},
    {"services/topic_manager", 14},
    {"services/hw_enumeration", 13},
    {"instruments/common", 13},
    {"instruments/probe", 14},
    {"instruments/replay", 14},
    {"instruments/sim", 14},
    {"client", 13},
    {"tools/mathctl", 15},
};

bool IsBelow(const std::string& path, const std::string& folder) {
  return path.size() > folder.size() && path.compare(0, folder.size(), folder) == 0 && path[folder.size()] == '/';
}

std::optional<Layer> LayerOf(const std::string& path) {
  const auto* found = std::find_if(std::begin(kLayers), std::end(kLayers),
                                   [&](const Layer& layer) { return IsBelow(path, layer.folder); });
  if (found == std::end(kLayers)) return std::nullopt;
  return *found;
}

bool MayInclude(const Layer& from, const Layer& to) {
  return std::string(from.folder) == to.folder || to.rank < from.rank;
}

bool IsSource(const fs::path& path) {
  const auto extension = path.extension();
  return extension == ".h" || extension == ".cpp" || extension == ".ipp";
}

std::vector<std::string> QuotedIncludes(const fs::path& file) {
  static const std::regex kInclude(R"re(^\s*#\s*include\s*"([^"]+)")re");
  std::vector<std::string> includes;
  std::ifstream stream(file);
  for (std::string line; std::getline(stream, line);) {
    std::smatch match;
    if (std::regex_search(line, match, kInclude)) includes.push_back(match[1]);
  }
  return includes;
}

std::vector<fs::path> SourcesBelow(const fs::path& root, const std::string& folder) {
  std::vector<fs::path> sources;
  if (!fs::exists(root / folder)) return sources;
  for (const auto& entry : fs::recursive_directory_iterator(root / folder)) {
    if (entry.is_regular_file() && IsSource(entry.path())) sources.push_back(entry.path());
  }
  return sources;
}

std::vector<std::string> UpwardIncludes(const fs::path& root) {
  std::vector<std::string> upward;
  for (const Layer& layer : kLayers) {
    for (const fs::path& source : SourcesBelow(root, layer.folder)) {
      for (const std::string& include : QuotedIncludes(source)) {
        const auto target = LayerOf(include);
        if (target && !MayInclude(layer, *target)) {
          upward.push_back(fmt::format("{} includes {}", fs::relative(source, root).string(), include));
        }
      }
    }
  }
  return upward;
}

TEST(Structure, FoldersIncludeOnlyFromThoseAboveThem) { EXPECT_THAT(UpwardIncludes(SOURCE_ROOT), testing::IsEmpty()); }

TEST(Structure, EverySourceStandsInAKnownFolder) {
  std::vector<std::string> strangers;
  for (const char* top : {"platform", "Common_Math", "host", "services", "instruments", "client", "tools"}) {
    for (const fs::path& source : SourcesBelow(SOURCE_ROOT, top)) {
      const std::string relative = fs::relative(source, SOURCE_ROOT).string();
      if (!LayerOf(relative)) strangers.push_back(relative);
    }
  }
  EXPECT_THAT(strangers, testing::IsEmpty());
}

/// The folders in which the ORB's own names stand; all others use the standard mapping alone.
bool KnowsTheOrb(const Layer& layer) {
  const std::string folder = layer.folder;
  return folder == "platform/wire" || folder == "platform/transport" || folder == "platform/orb";
}

TEST(Structure, OnlyTheFoldersOfTheOrbKnowItsParticulars) {
  std::vector<std::string> leaks;
  for (const Layer& layer : kLayers) {
    if (KnowsTheOrb(layer)) continue;
    for (const fs::path& source : SourcesBelow(SOURCE_ROOT, layer.folder)) {
      std::ifstream stream(source);
      const std::string text{std::istreambuf_iterator<char>(stream), {}};
      if (text.find("omniORB::") != std::string::npos || text.find("omniCallDescriptor") != std::string::npos) {
        leaks.push_back(fs::relative(source, SOURCE_ROOT).string());
      }
    }
  }
  EXPECT_THAT(leaks, testing::IsEmpty());
}

TEST(Structure, TheCheckSeesAnUpwardInclude) {
  const fs::path root = fs::temp_directory_path() / fmt::format("include_order_{}", ::getpid());
  fs::create_directories(root / "platform/base");
  std::ofstream(root / "platform/base/Bad.h") << "#include \"client/Connection.h\"\n";
  EXPECT_THAT(UpwardIncludes(root), testing::ElementsAre("platform/base/Bad.h includes client/Connection.h"));
  fs::remove_all(root);
}

}  // namespace
