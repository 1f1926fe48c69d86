// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "tools/mathctl/command.h"

namespace Lumenar::Mathctl {

/// What the last word of a command line may be completed to.
enum class WordKind {
  Fixed,      ///< one of `fixed`
  Reading,    ///< a reading, or a math object
  Object,     ///< a math object
  Attribute,  ///< an attribute that can be set, or a math object
  Type,       ///< a type of math objects
  File,       ///< a file, or nothing that is known
};

struct WordWanted {
  WordKind kind = WordKind::File;
  std::vector<std::string> fixed;
  Options options;  ///< --naming and --factory, as they stand in the words before
};

/// What is wanted behind `words`, those of a command line without the program's name up to the cursor; the last may be
/// empty. Asks nobody.
WordWanted WantedLast(const CLI::App& app, const std::vector<std::string>& words);

/// The words of a line as a shell's user types it; the last is empty when a blank stands behind the others. The program's
/// name, and what stands before it, is left out.
std::vector<std::string> WordsOfLine(const std::string& line);

/// Those that begin with `begin`; the case of letters does not count.
std::vector<std::string> Beginning(const std::string& begin, const std::vector<std::string>& words);

/// Writes what the last word may be completed to, one a line; asks the platform for names, for a second at most each,
/// and is silent when it does not answer.
void WriteCompletions(const CLI::App& app, const std::vector<std::string>& words);

}  // namespace Lumenar::Mathctl
