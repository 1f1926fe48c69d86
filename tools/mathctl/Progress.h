// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

namespace Lumenar::Mathctl {

/// One line on a terminal at standard error that says how far long work has come, written over and over; nothing where
/// standard error is no terminal, or when it is to be quiet. Gone when this goes.
class Progress {
 public:
  explicit Progress(bool quiet);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Whether the line is old enough to be written again: a few times a second.
  bool IsDue() const;

  /// Writes the line, cut to the terminal's width.
  void Show(const std::string& text);

  /// Takes the line away, so that others can be written.
  void Clear();

 private:
  const bool shown_;
  bool there_ = false;
  std::chrono::steady_clock::time_point last_{};
};

}  // namespace Lumenar::Mathctl
