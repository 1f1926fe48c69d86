#pragma once

#include <filesystem>
#include <string>

namespace Lumenar {

/// Replaces a file in one step: whoever reads it, also after a crash in the middle, finds the old text or the new one.
/// Readable by its owner only.
/// Errors   std::system_error; the old file stands then.
void ReplaceFile(const std::filesystem::path& path, const std::string& text);

/// Adds text to the end of a file that is there.
/// Errors   std::system_error; a part of the text may stand in the file then.
void AppendToFile(const std::filesystem::path& path, const std::string& text);

}  // namespace Lumenar
