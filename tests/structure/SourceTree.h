// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Lumenar::Structure {

/// The folders of the source in the order of the arrows: each may include from those with a smaller rank. Folders of
/// the same rank are neighbours that do not know each other.
struct Layer {
  const char* folder;
  int rank;
};

const std::vector<Layer>& Layers();

/// The layer of a file, by its path from the root; nothing for one in no known folder.
std::optional<Layer> LayerOf(const std::string& path);

/// A file of the tree.
struct Source {
  std::string path;  ///< from the root
  std::string text;

  std::string FirstLine() const;
  /// What it includes in quotes: ours, and what is generated from IDL.
  std::vector<std::string> QuotedIncludes() const;
  /// The text with comments, literals and #include lines blanked.
  std::string Code() const;
};

/// The C++ files below a folder, in order; none when there is no such folder.
std::vector<Source> SourcesBelow(const std::filesystem::path& root, const std::string& folder);

/// One file; without text when there is none, as one that is generated.
Source SourceAt(const std::filesystem::path& root, const std::string& path);

/// A small tree that a test makes to see a check fail; gone with this.
class PlantedTree {
 public:
  PlantedTree();
  ~PlantedTree();
  void Plant(const std::string& path, const std::string& text) const;
  const std::filesystem::path& Root() const { return root_; }

 private:
  std::filesystem::path root_;
};

}  // namespace Lumenar::Structure
