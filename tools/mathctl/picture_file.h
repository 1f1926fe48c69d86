// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/mathctl/plot_script.h"

namespace Lumenar::Mathctl {

/// Whether a path ends as `ending` says (".png"), in any case of letters.
bool EndsAs(std::string_view path, std::string_view ending);

/// The kind of picture that a file's ending names; nothing for another ending.
std::optional<PictureKind> PictureKindOf(std::string_view path);

/// What other programs may be asked to draw a picture, by what they read on standard input: what they wrote to standard
/// output. `program` and its options come as `words`; `package` has it.
/// Errors   Error Refused when it is not installed, fails, or takes longer than a minute.
std::string Drawn(const std::vector<std::string>& words, const std::string& input, const std::string& package);

/// Fails where a file at this path could not be written, before any work is done for it.
/// Errors   Error Refused that names the path and the reason.
void RequireWritable(const std::string& path);

/// Writes a file whole: beside its place first, so that whoever reads it, also after a failure, finds the old one or the
/// new one.
/// Errors   Error Refused that names the path and the reason.
void WriteWhole(const std::string& path, const std::string& bytes);

}  // namespace Lumenar::Mathctl
