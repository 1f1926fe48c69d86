// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <termios.h>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "platform/base/Mutex.h"
#include "tools/mathctl/Wakeup.h"

namespace Lumenar::Mathctl {

/// The terminal that standard output is, taken over for a picture that is drawn again and again: an alternate screen
/// without a cursor, and keys one by one. What was there before comes back at the end.
/// Threads   one; Leave any.
class Terminal {
 public:
  enum class Key { Quit, Up, Down, PageUp, PageDown, First, Last, Other };

  struct Size {
    std::size_t columns = 80;
    std::size_t rows = 24;
  };

  /// Whether standard output is a terminal that can be drawn on.
  static bool IsThere();

  /// Whether colours are wanted: unless NO_COLOR is set to something.
  static bool WantsColor();

  Terminal();
  ~Terminal();
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  /// Gives the terminal back as it was; a second call does nothing.
  void Leave() noexcept;

  /// As it is now; the window may change.
  Size GetSize() const;

  /// The picture from now on: lines that are no wider than the terminal, of which as many are shown as there is room for.
  void Draw(const std::vector<std::string>& lines);

  /// The next key; nothing after `limit`, or when `wakeup` was called.
  std::optional<Key> NextKey(Wakeup& wakeup, std::chrono::milliseconds limit);

 private:
  std::optional<Key> ReadKey();

  bool keys_ = false;  ///< standard input is a terminal, too
  termios before_{};
  Mutex mutex_;
  bool taken_ GUARDED_BY(mutex_) = false;
};

/// The first columns of a line: characters, not bytes.
std::string CutTo(const std::string& line, std::size_t columns);

}  // namespace Lumenar::Mathctl
