// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/units/Units.h"

namespace Lumenar::Replay {

/// Most points of one sweep: the longest trace that the platform carries.
inline constexpr std::size_t kMaxPoints = std::size_t{1} << 24;

/// The recorded sweeps of one reading, all with the same number of points.
struct Recording {
  std::string suffix;  ///< after the name of the file, as "_S11"; often empty
  Value::Units units;
  double x_step = 0;  ///< distance of two points, in the axis' unit without prefix; 0 where they are not even
  Value::Units_list x_unit = Value::U_None;  ///< of the axis
  std::vector<std::vector<float>> sweeps;    ///< never empty
};

/// What one file holds.
struct RecordedFile {
  std::vector<Recording> recordings;   ///< never empty; all with the same number of sweeps
  std::optional<double> sweeps_per_s;  ///< the rate at which they were recorded, where the file tells
};

/// A text that is not of its format: the line, counted from 1, and what is wrong with it.
class FormatError : public std::runtime_error {
 public:
  FormatError(std::size_t line, const std::string& reason) : std::runtime_error(reason), line_(line) {}
  std::size_t Line() const noexcept { return line_; }

 private:
  std::size_t line_;
};

}  // namespace Lumenar::Replay
