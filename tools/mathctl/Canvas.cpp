// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/Canvas.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace Lumenar::Mathctl {
namespace {

constexpr std::string_view kMarks = "*+ox#@";
constexpr char kShade = ':';
constexpr int kColours[] = {36, 33, 32, 35, 34, 31};

// The bit of a dot in a braille character, by row and column of the dot.
constexpr unsigned char kBrailleBits[4][2] = {{0x01, 0x08}, {0x02, 0x10}, {0x04, 0x20}, {0x40, 0x80}};

std::string Braille(unsigned char dots) {
  if (dots == 0) return " ";
  return {'\xe2', static_cast<char>(0xa0 | dots >> 6), static_cast<char>(0x80 | (dots & 0x3f))};
}

}  // namespace

Canvas::Canvas(Form form, int columns, int rows)
    : form_(form),
      columns_(std::max(columns, 1)),
      rows_(std::max(rows, 1)),
      cells_(static_cast<std::size_t>(columns_) * static_cast<std::size_t>(rows_)) {}

Canvas::Cell* Canvas::CellOf(int x, int y) {
  if (x < 0 || y < 0 || x >= DotsAcross() || y >= DotsDown()) return nullptr;
  const int column = form_ == Form::Braille ? x / 2 : x, row = form_ == Form::Braille ? y / 4 : y;
  return &cells_[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) + static_cast<std::size_t>(column)];
}

void Canvas::Mark(int x, int y, char mark, int pen) {
  Cell* cell = CellOf(x, y);
  if (cell == nullptr) return;
  cell->dots |= kBrailleBits[y % 4][x % 2];
  cell->mark = mark;
  cell->pen = pen;
}

void Canvas::Dot(int x, int y, int pen) { Mark(x, y, MarkOf(pen), pen); }

void Canvas::Line(int x0, int y0, int x1, int y1, int pen) {
  const int across = std::abs(x1 - x0), down = -std::abs(y1 - y0);
  const int step_x = x0 < x1 ? 1 : -1, step_y = y0 < y1 ? 1 : -1;
  for (int error = across + down;;) {
    Dot(x0, y0, pen);
    if (x0 == x1 && y0 == y1) return;
    const int twice = 2 * error;
    if (twice >= down) {
      error += down;
      x0 += step_x;
    }
    if (twice <= across) {
      error += across;
      y0 += step_y;
    }
  }
}

void Canvas::Shade(int x, int y0, int y1, int pen) {
  for (int y = std::min(y0, y1); y <= std::max(y0, y1); ++y) {
    const bool every_other = form_ == Form::Marks || (x + y) % 2 == 0;
    if (every_other) Mark(x, y, kShade, pen);
  }
}

std::string Canvas::RowText(int row, bool colours) const {
  std::string text;
  int pen = -1;
  for (int column = 0; column < columns_; ++column) {
    const Cell& cell =
        cells_[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) + static_cast<std::size_t>(column)];
    if (colours && cell.pen != pen) text += cell.pen < 0 ? NoColour() : ColourOf(cell.pen);
    pen = cell.pen;
    text += form_ == Form::Braille ? Braille(cell.dots) : std::string(1, cell.mark);
  }
  if (colours && pen >= 0) text += NoColour();
  return text;
}

char Canvas::MarkOf(int pen) { return kMarks[static_cast<std::size_t>(pen) % kMarks.size()]; }

std::string Canvas::ColourOf(int pen) {
  return fmt::format("\x1b[{}m", kColours[static_cast<std::size_t>(pen) % std::size(kColours)]);
}

std::size_t CharactersOf(const std::string& text) {
  const auto begins = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), begins));
}

}  // namespace Lumenar::Mathctl
