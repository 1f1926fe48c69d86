// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Lumenar::Mathctl {

/// A picture of characters: a grid of cells, each of which shows one mark, or eight dots of braille (two across, four
/// down). Dots are counted from the upper left corner; what lies outside is left out.
class Canvas {
 public:
  enum class Form { Marks, Braille };

  Canvas(Form form, int columns, int rows);

  int DotsAcross() const { return columns_ * (form_ == Form::Braille ? 2 : 1); }
  int DotsDown() const { return rows_ * (form_ == Form::Braille ? 4 : 1); }

  /// `pen` is the number of the curve: its mark, and its colour where there are colours.
  void Dot(int x, int y, int pen);
  void Line(int x0, int y0, int x1, int y1, int pen);

  /// A column of an area, thinner than a line.
  void Shade(int x, int y0, int y1, int pen);

  /// A row of cells as text, in UTF-8 where the form is braille; with escape sequences of colours if those are wanted.
  std::string RowText(int row, bool colours) const;

  /// The mark of a pen.
  static char MarkOf(int pen);
  /// The escape sequence that begins a pen's colour, and the one that ends any.
  static std::string ColourOf(int pen);
  static const char* NoColour() { return "\x1b[0m"; }

 private:
  struct Cell {
    unsigned char dots = 0;  // of braille, as its code points count them
    char mark = ' ';
    int pen = -1;
  };

  Cell* CellOf(int x, int y);
  void Mark(int x, int y, char mark, int pen);

  const Form form_;
  const int columns_;
  const int rows_;
  std::vector<Cell> cells_;
};

/// How many characters a text of UTF-8 takes.
std::size_t CharactersOf(const std::string& text);

}  // namespace Lumenar::Mathctl
