// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <termios.h>

#include <optional>

#include "tools/mathctl/character_chart.h"

namespace Lumenar::Mathctl {

/// Whether standard output is a terminal.
bool OutputIsTerminal();

/// What a picture on standard output may use now: the size of the terminal, else that of COLUMNS and LINES, else 80 by
/// 24; UTF-8 where the locale's variables name it; colours on a terminal, unless NO_COLOR is set or TERM is "dumb".
/// `ascii` forbids UTF-8.
CharacterForm FormOfOutput(bool ascii);

/// While it lives, keys come from standard input as they are pressed, and are not shown; where standard input is no
/// terminal, none come.
/// Threads   one.
class Keyboard {
 public:
  Keyboard();
  ~Keyboard();
  Keyboard(const Keyboard&) = delete;
  Keyboard& operator=(const Keyboard&) = delete;

  /// A key that was pressed; nothing when none was. Never waits.
  std::optional<char> Key() const;

 private:
  bool is_terminal_ = false;
  termios before_{};
};

}  // namespace Lumenar::Mathctl
