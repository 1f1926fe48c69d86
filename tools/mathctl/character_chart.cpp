// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/character_chart.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/mathctl/Canvas.h"

namespace Lumenar::Mathctl {
namespace {

constexpr int kLeastRows = 4;      // of a panel's curves
constexpr int kLeastColumns = 16;  // of the same
constexpr int kRowsPerTick = 4, kColumnsPerTick = 12;

// The lines of a frame.
struct FrameSigns {
  const char *side, *tick, *corner, *floor, *floor_tick, *dots;
};
constexpr FrameSigns kUnicodeSigns{"│", "┤", "└", "─", "┬", "…"};
constexpr FrameSigns kAsciiSigns{"|", "+", "+", "-", "+", "~"};

std::string InForm(const std::string& text, const CharacterForm& form) {
  if (form.utf8) return text;
  std::string plain;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0xC0) != 0x80) plain += byte < 0x80 ? c : '?';
  }
  return plain;
}

std::string Shortened(const std::string& text, std::size_t characters, const char* dots) {
  if (CharactersOf(text) <= characters) return text;
  std::size_t at = 0;
  for (std::size_t taken = 0; at < text.size(); ++at) {
    const bool begins = (static_cast<unsigned char>(text[at]) & 0xC0) != 0x80;
    if (begins && ++taken >= std::max<std::size_t>(characters, 1)) break;
  }
  return text.substr(0, at) + dots;
}

int DotAt(double number, const Range& range, int dots) {
  const double part = std::clamp((number - range.low) / range.Length(), -0.5, 1.5);
  return static_cast<int>(std::lround(part * (dots - 1)));
}

// Draws one curve. Points that share a column of dots become one upright line, so that a trace of millions of points
// costs no more than its columns.
class CurvePen {
 public:
  CurvePen(Canvas& canvas, const Panel& panel, const Curve& curve, int pen)
      : canvas_(canvas), panel_(panel), curve_(curve), pen_(pen) {}

  void DrawBand() {
    if (curve_.low.empty() || curve_.high.empty()) return;
    Stretch last;
    for (std::size_t i = 0; i < curve_.low.size(); ++i) {
      if (!std::isfinite(curve_.low[i]) || !std::isfinite(curve_.high[i])) continue;
      const Stretch here{true, Column(i), Row(curve_.high[i]), Row(curve_.low[i]), 0};
      if (last.begun) Bridge(last, here);
      canvas_.Shade(here.column, here.top, here.bottom, pen_);
      last = here;
    }
  }

  void DrawValues() {
    Stretch stretch;
    for (std::size_t i = 0; i < curve_.values.size(); ++i) {
      if (!std::isfinite(curve_.values[i])) {
        End(stretch);
        continue;
      }
      const int column = Column(i), row = Row(curve_.values[i]);
      if (stretch.begun && stretch.column == column) {
        stretch.top = std::min(stretch.top, row);
        stretch.bottom = std::max(stretch.bottom, row);
        stretch.last = row;
        continue;
      }
      if (stretch.begun) canvas_.Line(stretch.column, stretch.last, column, row, pen_);
      End(stretch);
      stretch = {true, column, row, row, row};
    }
    End(stretch);
  }

 private:
  // The points that share a column of dots.
  struct Stretch {
    bool begun = false;
    int column = 0, top = 0, bottom = 0, last = 0;
  };

  int Column(std::size_t i) const { return DotAt(curve_.X(i), panel_.x, canvas_.DotsAcross()); }
  int Row(double value) const { return canvas_.DotsDown() - 1 - DotAt(value, panel_.y, canvas_.DotsDown()); }

  void End(Stretch& stretch) {
    if (stretch.begun) canvas_.Line(stretch.column, stretch.top, stretch.column, stretch.bottom, pen_);
    stretch.begun = false;
  }

  // The band between two columns, its ends on straight lines.
  void Bridge(const Stretch& from, const Stretch& to) {
    for (int column = from.column + 1; column < to.column; ++column) {
      const double part = static_cast<double>(column - from.column) / (to.column - from.column);
      canvas_.Shade(column, static_cast<int>(std::lround(from.top + part * (to.top - from.top))),
                    static_cast<int>(std::lround(from.bottom + part * (to.bottom - from.bottom))), pen_);
    }
  }

  Canvas& canvas_;
  const Panel& panel_;
  const Curve& curve_;
  const int pen_;
};

// One panel with its frame.
class PanelPainter {
 public:
  PanelPainter(const Chart& chart, const Panel& panel, const CharacterForm& form, int rows)
      : chart_(chart),
        panel_(panel),
        form_(form),
        rows_(rows),
        signs_(form.utf8 ? kUnicodeSigns : kAsciiSigns),
        y_step_(TickStep(panel.y, std::max(rows / kRowsPerTick, 2))) {}

  // The width that the numbers at the left take.
  std::size_t LabelWidth() const {
    std::size_t width = 0;
    for (const double tick : TicksOf(panel_.y, y_step_)) width = std::max(width, TickText(tick, y_step_).size());
    return width;
  }

  void Paint(std::size_t label_width, std::vector<std::string>& lines) const {
    const int columns = std::max(form_.columns - static_cast<int>(label_width) - 2, kLeastColumns);
    const auto form = UsesMarks() ? Canvas::Form::Marks : Canvas::Form::Braille;
    Canvas canvas(form, columns, rows_);
    for (std::size_t i = 0; i < panel_.curves.size(); ++i) Pen(canvas, i).DrawBand();
    for (std::size_t i = 0; i < panel_.curves.size(); ++i) Pen(canvas, i).DrawValues();
    lines.push_back(Legend());
    PaintRows(canvas, label_width, lines);
    PaintAxis(columns, label_width, lines);
  }

 private:
  bool UsesMarks() const { return !form_.utf8 || (panel_.curves.size() > 1 && !form_.colours); }

  CurvePen Pen(Canvas& canvas, std::size_t i) const {
    return {canvas, panel_, chart_.curves[panel_.curves[i]], static_cast<int>(i)};
  }

  // The units, and the names of the curves.
  std::string Legend() const {
    std::string line = InForm(panel_.units, form_);
    auto room = static_cast<std::size_t>(std::max(form_.columns, kLeastColumns));
    room -= std::min(room, CharactersOf(line));
    for (std::size_t i = 0; i < panel_.curves.size(); ++i) {
      const int pen = static_cast<int>(i);
      std::string entry = UsesMarks() ? fmt::format("  {} ", Canvas::MarkOf(pen)) : "  ";
      entry += InForm(chart_.curves[panel_.curves[i]].name, form_);
      if (room < 6) break;
      entry = Shortened(entry, room, signs_.dots);
      room -= std::min(room, CharactersOf(entry));
      line += form_.colours ? Canvas::ColourOf(pen) + entry + Canvas::NoColour() : entry;
    }
    return line;
  }

  void PaintRows(const Canvas& canvas, std::size_t label_width, std::vector<std::string>& lines) const {
    std::vector<std::string> labels(static_cast<std::size_t>(rows_));
    for (const double tick : TicksOf(panel_.y, y_step_)) {
      labels[static_cast<std::size_t>(rows_ - 1 - DotAt(tick, panel_.y, rows_))] = TickText(tick, y_step_);
    }
    for (int row = 0; row < rows_; ++row) {
      const std::string& label = labels[static_cast<std::size_t>(row)];
      std::string line = fmt::format("{:>{}} {}", label, label_width, label.empty() ? signs_.side : signs_.tick);
      line += canvas.RowText(row, form_.colours);
      line.erase(line.find_last_not_of(' ') + 1);
      lines.push_back(std::move(line));
    }
  }

  void PaintAxis(int columns, std::size_t label_width, std::vector<std::string>& lines) const {
    const double step = TickStep(panel_.x, std::max(columns / kColumnsPerTick, 1));
    std::vector<const char*> floor(static_cast<std::size_t>(columns), signs_.floor);
    std::string numbers(label_width + 2 + static_cast<std::size_t>(columns), ' ');
    for (const double tick : TicksOf(panel_.x, step)) {
      const auto column = static_cast<std::size_t>(DotAt(tick, panel_.x, columns));
      floor[column] = signs_.floor_tick;
      WriteNumber(TickText(tick, step), label_width + 2 + column, numbers);
    }
    std::string line(label_width + 1, ' ');
    line += signs_.corner;
    for (const char* sign : floor) line += sign;
    lines.push_back(std::move(line));
    if (panel_.shares_axis) return;
    numbers.erase(numbers.find_last_not_of(' ') + 1);
    lines.push_back(std::move(numbers));
    const std::string label = InForm(panel_.axis, form_);
    const std::size_t room = label_width + 2 + static_cast<std::size_t>(columns);
    lines.push_back(std::string((room - std::min(room, CharactersOf(label))) / 2, ' ') + label);
  }

  // A number centred below its tick, where there is room beside the last one.
  static void WriteNumber(const std::string& text, std::size_t column, std::string& numbers) {
    std::size_t begin = column - std::min(column, text.size() / 2);
    if (begin + text.size() > numbers.size()) begin = numbers.size() - std::min(numbers.size(), text.size());
    const std::size_t left = begin == 0 ? 0 : begin - 1;
    if (numbers.find_first_not_of(' ', left) != std::string::npos) return;
    numbers.replace(begin, text.size(), text);
  }

  const Chart& chart_;
  const Panel& panel_;
  const CharacterForm& form_;
  const int rows_;
  const FrameSigns& signs_;
  const double y_step_;
};

// How many lines of curve each panel gets.
int RowsOfPanels(const Chart& chart, const CharacterForm& form) {
  constexpr int kRowsBeside = 2, kRowsOfAxis = 2;  // legend and floor; numbers and quantity
  int beside = chart.title.empty() ? 0 : 1;
  for (const Panel& panel : chart.panels) beside += kRowsBeside + (panel.shares_axis ? 0 : kRowsOfAxis);
  return std::max((form.rows - beside) / std::max(static_cast<int>(chart.panels.size()), 1), kLeastRows);
}

}  // namespace

std::vector<std::string> CharacterChart(const Chart& chart, const CharacterForm& form) {
  std::vector<std::string> lines;
  const int rows = RowsOfPanels(chart, form);
  std::vector<PanelPainter> painters;
  std::size_t label_width = 0;
  for (const Panel& panel : chart.panels) {
    painters.emplace_back(chart, panel, form, rows);
    label_width = std::max(label_width, painters.back().LabelWidth());
  }
  if (!chart.title.empty()) lines.push_back(chart.title);
  for (const PanelPainter& painter : painters) painter.Paint(label_width, lines);
  return lines;
}

}  // namespace Lumenar::Mathctl
