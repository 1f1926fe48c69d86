// SPDX-License-Identifier: Apache-2.0
#include "judge/verify/Report.h"

#include <algorithm>

namespace Lumenar::Judge {

bool Report::IsProven() const {
  const auto is_whole = [](const FileReport& file) { return file.problem.empty(); };
  const auto is_explained = [this](const ObjectReport& object) {
    return object.IsExplained() && (assumes_resets || object.interrupted == 0);
  };
  return !objects.empty() && std::all_of(files.begin(), files.end(), is_whole) &&
         std::all_of(objects.begin(), objects.end(), is_explained);
}

std::string VerdictOf(const ObjectReport& object) {
  if (object.Differs()) return "differs";
  return object.IsExplained() ? "explained" : "not checked";
}

}  // namespace Lumenar::Judge
