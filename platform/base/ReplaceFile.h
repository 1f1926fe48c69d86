// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace Lumenar {

/// Replaces a file in one step: whoever reads it, also after a crash in the middle, finds the old text or the new one.
/// Readable by its owner only. The new text is written beside it, into a new file whose name nobody can foresee; what
/// others put in the file's place, or beside it, is neither followed nor opened. A link in its place is replaced, not
/// what it points at.
/// Errors   std::system_error; the old file stands then.
void ReplaceFile(const std::filesystem::path& path, const std::string& text);

/// Removes what a process that was killed in the middle of ReplaceFile left beside the file.
void RemoveUnfinishedReplacements(const std::filesystem::path& path) noexcept;

/// Adds text to the end of a regular file that is there; anything else in its place is an error.
/// Errors   std::system_error; a part of the text may stand in the file then.
void AppendToFile(const std::filesystem::path& path, const std::string& text);

}  // namespace Lumenar
