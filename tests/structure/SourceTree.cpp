// SPDX-License-Identifier: Apache-2.0
#include "tests/structure/SourceTree.h"

#include <stdlib.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <regex>
#include <stdexcept>

namespace Lumenar::Structure {
namespace {

namespace fs = std::filesystem;

bool IsBelow(const std::string& path, const std::string& folder) {
  return path.size() > folder.size() && path.compare(0, folder.size(), folder) == 0 && path[folder.size()] == '/';
}

bool IsSource(const fs::path& path) {
  const auto extension = path.extension();
  return extension == ".h" || extension == ".cpp" || extension == ".ipp";
}

std::string TextOf(const fs::path& path) {
  std::ifstream stream(path);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// Behind the comment or literal that begins at `at`; `at` itself where none does.
std::size_t SkipFrom(const std::string& text, std::size_t at) {
  const auto end_of = [&](const std::string& mark, std::size_t from) {
    const std::size_t found = text.find(mark, from);
    return found == std::string::npos ? text.size() : found + mark.size();
  };
  if (text.compare(at, 2, "//") == 0) return std::min(text.find('\n', at), text.size());
  if (text.compare(at, 2, "/*") == 0) return end_of("*/", at + 2);
  if (text.compare(at, 2, "R\"") == 0) {
    const std::size_t open = text.find('(', at);
    return end_of(")" + text.substr(at + 2, open - at - 2) + "\"", open);
  }
  const char quote = text[at];
  const bool in_number = quote == '\'' && at > 0 && std::isxdigit(static_cast<unsigned char>(text[at - 1])) != 0;
  if ((quote != '"' && quote != '\'') || in_number) return at;  // 10'000 is a number
  std::size_t end = at + 1;
  while (end < text.size() && text[end] != quote) end += text[end] == '\\' ? 2 : 1;
  return std::min(end + 1, text.size());
}

}  // namespace

const std::vector<Layer>& Layers() {
  static const std::vector<Layer> layers = {
      {"platform/base", 1},
      {"judge/verify", 13},
      {"judge", 1},
      {"platform/units", 2},
      {"platform/value", 3},
      {"platform/records", 4},
      {"platform/signals", 5},
      {"platform/wire", 6},
      {"platform/transport", 7},
      {"platform/orb", 8},
      {"platform/peers", 9},
      {"platform/servants", 9},
      {"platform/program", 9},
      {"platform/dds", 10},
      {"platform/topics", 11},
      {"platform/components", 12},
      {"recording", 12},
      {"Common_Math/src", 13},
      {"host", 13},
      {"services/topic_manager/relay", 13},
      {"services/topic_manager", 14},
      {"services/hw_enumeration", 13},
      {"instruments/common", 13},
      {"instruments/probe", 14},
      {"instruments/replay", 14},
      {"instruments/scpi", 14},
      {"instruments/sim", 14},
      {"instruments/sigrok", 14},
      {"client", 13},
      {"tools/mathctl", 15},
      {"tools/math_web", 15},
      {"python/src", 14},
  };
  return layers;
}

std::optional<Layer> LayerOf(const std::string& path) {
  const auto found =
      std::find_if(Layers().begin(), Layers().end(), [&](const Layer& layer) { return IsBelow(path, layer.folder); });
  if (found == Layers().end()) return std::nullopt;
  return *found;
}

std::string Source::FirstLine() const { return text.substr(0, text.find('\n')); }

std::vector<std::string> Source::QuotedIncludes() const {
  static const std::regex include(R"re(^\s*#\s*include\s*"([^"]+)")re", std::regex::multiline);
  std::vector<std::string> includes;
  for (std::sregex_iterator it(text.begin(), text.end(), include), end; it != end; ++it) includes.push_back((*it)[1]);
  return includes;
}

std::string Source::Code() const {
  static const std::regex include(R"re(^\s*#\s*include[^\n]*)re", std::regex::multiline);
  std::string code = std::regex_replace(text, include, "");
  for (std::size_t at = 0; at < code.size(); ++at) {
    const std::size_t end = SkipFrom(code, at);
    std::replace_if(
        code.begin() + static_cast<std::ptrdiff_t>(at), code.begin() + static_cast<std::ptrdiff_t>(end),
        [](char c) { return c != '\n'; }, ' ');
    at = std::max(at, end - (end > at ? 1 : 0));
  }
  return code;
}

std::vector<Source> SourcesBelow(const fs::path& root, const std::string& folder) {
  std::vector<Source> sources;
  if (!fs::exists(root / folder)) return sources;
  for (const auto& entry : fs::recursive_directory_iterator(root / folder)) {
    if (!entry.is_regular_file() || !IsSource(entry.path())) continue;
    sources.push_back({fs::relative(entry.path(), root).string(), TextOf(entry.path())});
  }
  std::sort(sources.begin(), sources.end(), [](const Source& a, const Source& b) { return a.path < b.path; });
  return sources;
}

Source SourceAt(const fs::path& root, const std::string& path) { return {path, TextOf(root / path)}; }

PlantedTree::PlantedTree() {
  std::string name = (fs::temp_directory_path() / "lumenar-tree-XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder " + name);
  root_ = name;
}

PlantedTree::~PlantedTree() {
  std::error_code ignored;
  fs::remove_all(root_, ignored);
}

void PlantedTree::Plant(const std::string& path, const std::string& text) const {
  fs::create_directories((root_ / path).parent_path());
  std::ofstream(root_ / path) << text;
}

}  // namespace Lumenar::Structure
