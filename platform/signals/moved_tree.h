// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

namespace Lumenar {

/// Where a file stands that was to be installed at `path`: there, or, when this library stands elsewhere than it was to be
/// installed, where the file was moved with it. Files outside of the prefix have not moved, nor has
/// one that is not found at its new place.
__attribute__((visibility("default"))) std::filesystem::path InMovedTree(const std::filesystem::path& path);

/// The same rule for a tree of this prefix, whose libraries were to stand at `libraries_then`, and stand at
/// `libraries_now`; where a file would stand that moved with them.
__attribute__((visibility("default"))) std::filesystem::path MovedWith(const std::filesystem::path& path,
                                                                       const std::filesystem::path& prefix,
                                                                       const std::filesystem::path& libraries_then,
                                                                       const std::filesystem::path& libraries_now);

}  // namespace Lumenar
