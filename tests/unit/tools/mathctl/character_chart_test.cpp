// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/character_chart.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tools/mathctl/Canvas.h"

namespace Lumenar::Mathctl {
namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

Curve DrawnCurve(const std::string& name, const std::vector<double>& values, const std::string& units = "W") {
  Curve curve;
  curve.name = name;
  curve.units = units;
  curve.values = values;
  return curve;
}

CharacterForm FormOf(int columns, int rows, bool utf8 = false, bool colours = false) {
  CharacterForm form;
  form.columns = columns;
  form.rows = rows;
  form.utf8 = utf8;
  form.colours = colours;
  return form;
}

std::string Picture(const std::vector<Curve>& curves, const CharacterForm& form) {
  std::string text;
  for (const std::string& line : CharacterChart(ChartOf(curves), form)) text += line + "\n";
  return text;
}

TEST(Canvas, DrawsLinesOfMarks) {
  Canvas canvas(Canvas::Form::Marks, 5, 3);
  canvas.Line(0, 2, 4, 0, 0);
  canvas.Dot(9, 9, 0);
  canvas.Dot(-1, 0, 0);
  EXPECT_EQ(canvas.RowText(0, false), "   **");
  EXPECT_EQ(canvas.RowText(1, false), " **  ");
  EXPECT_EQ(canvas.RowText(2, false), "*    ");
}

TEST(Canvas, PutsEightDotsIntoACharacter) {
  Canvas canvas(Canvas::Form::Braille, 2, 1);
  EXPECT_EQ(canvas.DotsAcross(), 4);
  EXPECT_EQ(canvas.DotsDown(), 4);
  canvas.Dot(0, 0, 0);
  canvas.Dot(1, 3, 0);
  EXPECT_EQ(canvas.RowText(0, false), "\u2881 ");
  for (int x = 0; x < 4; ++x) canvas.Line(x, 0, x, 3, 0);
  EXPECT_EQ(canvas.RowText(0, false), "\u28ff\u28ff");
}

TEST(Canvas, ShadesThinnerThanALine) {
  Canvas marks(Canvas::Form::Marks, 2, 1);
  marks.Shade(0, 0, 0, 0);
  EXPECT_EQ(marks.RowText(0, false), ": ");
  Canvas braille(Canvas::Form::Braille, 1, 1);
  braille.Shade(0, 3, 0, 0);
  braille.Shade(1, 0, 3, 0);
  EXPECT_EQ(braille.RowText(0, false), "\u2895");
}

TEST(Canvas, ColoursBeginAndEndWithTheCurve) {
  Canvas canvas(Canvas::Form::Marks, 3, 1);
  canvas.Dot(1, 0, 0);
  EXPECT_EQ(canvas.RowText(0, true), " \x1b[36m*\x1b[0m ");
}

TEST(CharacterChart, DrawsAPictureOfAscii) {
  EXPECT_EQ(Picture({DrawnCurve("LEVEL", {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10})}, FormOf(26, 12)),
            "W  * LEVEL\n"
            "10 +                    **\n"
            "   |                  **\n"
            "   |              ****\n"
            "   |          ****\n"
            "   |       ***\n"
            "   |   ****\n"
            "   | **\n"
            " 0 +*\n"
            "   ++--------------------+\n"
            "    0                   10\n"
            "          point\n");
}

TEST(CharacterChart, DrawsAPictureOfBraille) {
  EXPECT_EQ(Picture({DrawnCurve("LEVEL", {0, 1, 0, 1, 0})}, FormOf(30, 10, true)),
            "W  LEVEL\n"
            "1 ┤      ⡔⡄           ⢠⢢\n"
            "  │    ⢀⠜ ⠈⢆         ⡠⠃ ⠣⡀\n"
            "  │   ⢠⠊    ⠣⡀      ⡔⠁   ⠑⡄\n"
            "  │  ⡠⠃      ⠑⡄   ⢀⠜      ⠘⢄\n"
            "  │ ⡔⠁        ⠈⢆ ⢠⠊        ⠈⢢\n"
            "0 ┤⠜            ⠣⠃           ⠣\n"
            "  └┬────────────┬────────────┬\n"
            "   0            2            4\n"
            "            point\n");
}

TEST(CharacterChart, KeepsToItsSize) {
  const std::vector<Curve> curves{DrawnCurve("a curve of a very long name indeed", {1, 2, 3}),
                                  DrawnCurve("b", {1e-9, 2e-9, -3e-9}, "V"), DrawnCurve("c", {4, 5}, "K")};
  for (const auto& [columns, rows] : {std::pair(80, 24), {40, 30}, {200, 60}, {30, 100}}) {
    for (const bool utf8 : {false, true}) {
      const auto lines = CharacterChart(ChartOf(curves), FormOf(columns, rows, utf8));
      EXPECT_LE(lines.size(), static_cast<std::size_t>(rows)) << columns;
      for (const std::string& line : lines) EXPECT_LE(CharactersOf(line), static_cast<std::size_t>(columns)) << line;
    }
  }
}

TEST(CharacterChart, PanelsStandAboveEachOther) {
  const auto lines =
      CharacterChart(ChartOf({DrawnCurve("a", {100000, 200000}), DrawnCurve("b", {1, 2}, "V")}), FormOf(60, 30));
  std::vector<std::size_t> corners;
  for (const std::string& line : lines) {
    if (line.find("+---") != std::string::npos) corners.push_back(line.find('+'));
  }
  ASSERT_EQ(corners.size(), 2u);
  EXPECT_EQ(corners[0], corners[1]);
}

/// Where there are so many lines that a twentieth of the panel is one.
TEST(CharacterChart, KeepsALineFreeAboveAndBelowTheCurve) {
  for (const bool utf8 : {false, true}) {
    const auto lines = CharacterChart(ChartOf({DrawnCurve("a", {0, 100, 0})}), FormOf(60, 40, utf8));
    const auto is_empty = [&](std::size_t line) { return CharactersOf(lines.at(line)) <= 6; };  // number and frame
    EXPECT_TRUE(is_empty(1)) << lines[1];
    EXPECT_FALSE(is_empty(2) && is_empty(3)) << "the curve is as high as there is room";
    EXPECT_TRUE(is_empty(lines.size() - 4)) << lines[lines.size() - 4];
  }
}

TEST(CharacterChart, CurvesOfOnePanelDiffer) {
  const std::vector<Curve> curves{DrawnCurve("a", {1, 1}), DrawnCurve("b", {2, 2})};
  EXPECT_THAT(Picture(curves, FormOf(40, 12)), AllOf(HasSubstr("* a"), HasSubstr("+ b"), HasSubstr("****")));
  EXPECT_THAT(Picture(curves, FormOf(40, 12, true)), AllOf(HasSubstr("* a"), HasSubstr("┤****")))
      << "dots of braille alone would not tell which is which";
  EXPECT_THAT(Picture(curves, FormOf(40, 12, true, true)),
              AllOf(HasSubstr("\x1b[36m  a\x1b[0m"), HasSubstr("\x1b[33m")));
}

TEST(CharacterChart, ShadesTheErrorBand) {
  Curve curve = DrawnCurve("a", {5, 5});
  curve.low = {0, 0};
  curve.high = {10, 10};
  EXPECT_THAT(Picture({curve}, FormOf(40, 14)), AllOf(HasSubstr("::::"), HasSubstr("****")));
}

TEST(CharacterChart, LeavesGapsAndSurvivesWhatCannotBeDrawn) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  EXPECT_THAT(Picture({DrawnCurve("a", {NAN, 1, NAN})}, FormOf(40, 10)), HasSubstr("*"));
  EXPECT_THAT(Picture({DrawnCurve("a", {NAN, NAN})}, FormOf(40, 10)), HasSubstr("W  * a\n"));
  EXPECT_THAT(Picture({DrawnCurve("a", {})}, FormOf(1, 1)), Not(testing::IsEmpty()));
  EXPECT_THAT(Picture({DrawnCurve("a", {-kInfinity, 1, kInfinity, 1e308, -1e308})}, FormOf(40, 10)), HasSubstr("*"));
}

TEST(CharacterChart, IsOfAsciiWhereThatIsAskedFor) {
  Curve curve = DrawnCurve("Überpegel", {1, 2});
  const std::string picture = Picture({curve}, FormOf(40, 10));
  for (const char c : picture) EXPECT_LT(static_cast<unsigned char>(c), 0x80);
  EXPECT_THAT(picture, HasSubstr("?berpegel"));
}

TEST(CharacterChart, MillionsOfPointsCostNoMoreThanTheirColumns) {
  std::vector<double> values(4000000);
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = std::sin(static_cast<double>(i) * 1e-5);
  const auto lines = CharacterChart(ChartOf({DrawnCurve("a", values)}), FormOf(120, 40, true));
  EXPECT_THAT(lines, Each(Not(HasSubstr("\n"))));
  EXPECT_LE(lines.size(), 40u);
}

}  // namespace
}  // namespace Lumenar::Mathctl
