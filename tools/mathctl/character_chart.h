// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "tools/mathctl/Chart.h"

namespace Lumenar::Mathctl {

/// What a picture of characters may use.
struct CharacterForm {
  int columns = 80;
  int rows = 24;
  bool utf8 = false;     ///< lines and dots of braille; else plain ASCII
  bool colours = false;  ///< escape sequences of colours
};

/// A chart as lines of characters, as many as `rows` at most where its panels have room in them (a panel has four lines
/// of curve at least). Several curves of a panel differ by colour, or by their marks where there are no colours.
std::vector<std::string> CharacterChart(const Chart& chart, const CharacterForm& form);

}  // namespace Lumenar::Mathctl
