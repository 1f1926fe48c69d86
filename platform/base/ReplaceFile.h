#pragma once

#include <filesystem>
#include <string>

namespace Lumenar {

/// Replaces a file in one step: whoever reads it, also after a crash in the middle, finds the old text or the new one.
/// Readable by its owner only.
/// Errors   std::system_error; the old file stands then.
void ReplaceFile(const std::filesystem::path& path, const std::string& text);

}  // namespace Lumenar
