// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "judge/verify/ObjectCheck.h"

namespace Lumenar::Judge {

/// One file of a recording.
struct FileReport {
  std::string path;
  std::string sha256;          ///< of the file as it is stored
  std::string content_sha256;  ///< of its lines, as its last line tells and as it was found; empty without one
  std::string recorded_by;     ///< version of the software that recorded
  std::string comment;
  std::int64_t started_ns = 0;
  std::uint32_t part = 1;
  std::uint64_t samples = 0;
  std::uint64_t lost = 0;  ///< samples that the recorder knows to be missing
  std::string problem;     ///< why the file is not whole; else empty
};

/// Where a recording was computed again.
struct Workplace {
  std::string version;  ///< of this software
  std::string compiler;
  std::string processor;  ///< "x86_64"
  std::string c_library;  ///< whose log10 and pow the rules of scalars use
  std::string mpfr;       ///< which proves the rounding of the decibels of traces
};

/// All that came of a check.
struct Report {
  Workplace workplace;
  std::int64_t checked_ns = 0;  ///< when
  bool assumes_resets = true;
  std::vector<FileReport> files;
  std::vector<std::string> notes;  ///< about the recording as a whole
  std::vector<ObjectReport> objects;

  /// Every file is whole, there are objects, and each is explained; where RESETs are not assumed, without a gap.
  bool IsProven() const;
};

/// "explained", "differs", "not checked".
std::string VerdictOf(const ObjectReport& object);

/// For people, in Markdown; and for programs, one JSON object, laid out in lines.
std::string MarkdownOf(const Report& report);
std::string JsonOf(const Report& report);

}  // namespace Lumenar::Judge
