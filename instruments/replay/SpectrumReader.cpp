// SPDX-License-Identifier: Apache-2.0
#include "instruments/replay/SpectrumReader.h"

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <optional>
#include <utility>

#include "instruments/replay/LineReader.h"

namespace Lumenar::Replay {
namespace {

constexpr double kSurplusLevels = 3;  // the repetition, and two of rounding

/// The whole number in exactly these digits; -1 for anything else.
int Digits(std::string_view text) {
  int number = -1;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && stop == text.data() + text.size() && number >= 0 ? number : -1;
}

/// Three numbers with a separator between, as 2026-02-15 and 12:29:54.
std::array<int, 3> Triple(std::string_view text, char separator) {
  std::optional<std::string_view> rest = text;
  std::array<int, 3> numbers{-1, -1, -1};
  for (int& number : numbers) number = Digits(TakeField(rest, separator).value_or(std::string_view()));
  if (rest) numbers[0] = -1;
  return numbers;
}

/// Seconds since the epoch, in whatever the local time was.
double TimeOf(std::string_view date, std::string_view time, std::size_t line) {
  using namespace std::chrono;
  const auto [y, m, d] = Triple(date, '-');
  const auto [hours, minutes, seconds] = Triple(time, ':');
  const year_month_day day(year(y), month(static_cast<unsigned>(m)), std::chrono::day(static_cast<unsigned>(d)));
  const bool as_written = y >= 0 && y <= 9999 && m >= 0 && m <= 12 && d >= 0 && d <= 31;  // larger ones wrap round
  if (!as_written || !day.ok()) throw FormatError(line, Quoted(date) + " is not a date");
  if (hours < 0 || hours > 23 || minutes < 0 || minutes > 59 || seconds < 0 || seconds > 60) {
    throw FormatError(line, Quoted(time) + " is not a time");
  }
  return static_cast<double>(sys_days(day).time_since_epoch().count()) * 86400 + hours * 3600 + minutes * 60 + seconds;
}

/// What stands before the levels of a line.
struct Stretch {
  double time_s = 0;
  double low_Hz = 0;
  double high_Hz = 0;
  double step_Hz = 0;

  double Bins() const { return std::round((high_Hz - low_Hz) / step_Hz); }
};

std::string_view Require(std::optional<std::string_view>& rest, const char* what, std::size_t line) {
  const auto field = TakeField(rest, ',');
  if (!field) throw FormatError(line, std::string("the line ends before the ") + what);
  return *field;
}

Stretch ParseStretch(std::optional<std::string_view>& rest, std::size_t line) {
  Stretch stretch;
  const std::string_view date = Require(rest, "date", line);
  stretch.time_s = TimeOf(date, Require(rest, "time", line), line);
  stretch.low_Hz = ParseNumber(Require(rest, "lowest frequency", line), line);
  stretch.high_Hz = ParseNumber(Require(rest, "highest frequency", line), line);
  stretch.step_Hz = ParseNumber(Require(rest, "bin step", line), line);
  ParseNumber(Require(rest, "number of samples", line), line);
  if (!(stretch.step_Hz > 0)) throw FormatError(line, "the bin step is not positive");
  if (!(stretch.high_Hz > stretch.low_Hz)) throw FormatError(line, "the highest frequency is not above the lowest");
  return stretch;
}

/// The sweeps as they come in, line by line.
class Sweeps {
 public:
  void Add(const Line& line) {
    std::optional<std::string_view> rest = line.text;
    const Stretch stretch = ParseStretch(rest, line.number);
    if (sweeps_.empty() || stretch.low_Hz <= last_.low_Hz) {
      BeginSweep(stretch, line.number);
    } else {
      RequireNeighbour(stretch, line.number);
    }
    AddLevels(stretch, rest, line.number);
    last_ = stretch;
  }

  RecordedFile Finish(std::size_t line) {
    if (sweeps_.empty()) throw FormatError(line, "there are no sweeps");
    RequireLength(line);
    RecordedFile file;
    const double duration_s = begin_.time_s - first_.time_s;
    if (duration_s > 0) file.sweeps_per_s = static_cast<double>(sweeps_.size() - 1) / duration_s;
    Recording& recording = file.recordings.emplace_back();
    recording.units.is_dB = true;
    recording.x_step = first_.step_Hz;
    recording.x_unit = Value::U_Hertz;
    recording.sweeps = std::move(sweeps_);
    return file;
  }

 private:
  void BeginSweep(const Stretch& stretch, std::size_t line) {
    if (sweeps_.empty()) {
      first_ = stretch;
    } else {
      RequireLength(line - 1);
    }
    begin_ = stretch;
    sweeps_.emplace_back();
    sweeps_.back().reserve(sweeps_.front().size());
  }

  void RequireNeighbour(const Stretch& stretch, std::size_t line) const {
    if (std::abs(stretch.step_Hz - first_.step_Hz) > first_.step_Hz / 1000) {
      throw FormatError(line, fmt::format("bin step {} differs from {}", stretch.step_Hz, first_.step_Hz));
    }
    if (std::abs(stretch.low_Hz - last_.high_Hz) > first_.step_Hz) {
      throw FormatError(line, fmt::format("frequency {} does not follow {}", stretch.low_Hz, last_.high_Hz));
    }
  }

  void RequireLength(std::size_t line) const {
    const std::size_t found = sweeps_.back().size();
    const std::size_t expected = sweeps_.front().size();
    if (found == expected) return;
    throw FormatError(line, fmt::format("sweep {} has {} bins, expected {}", sweeps_.size(), found, expected));
  }

  void AddLevels(const Stretch& stretch, std::optional<std::string_view>& rest, std::size_t line) {
    std::vector<float>& sweep = sweeps_.back();
    const std::size_t before = sweep.size();
    while (const auto field = TakeField(rest, ',')) {
      sweep.push_back(ParseSample(*field, line));
      if (sweep.size() > kMaxPoints) throw FormatError(line, fmt::format("more than {} points", kMaxPoints));
    }
    const auto levels = static_cast<double>(sweep.size() - before);
    const double bins = stretch.Bins();
    if (levels < bins || levels > bins + kSurplusLevels || levels < 1) {
      throw FormatError(line, fmt::format("expected levels of {} bins, found {}", bins, levels));
    }
    if (levels > bins && levels > 1) sweep.pop_back();
  }

  Stretch first_;  // of the file
  Stretch begin_;  // of the last sweep
  Stretch last_;
  std::vector<std::vector<float>> sweeps_;
};

}  // namespace

RecordedFile ReadSpectrum(std::string_view text) {
  LineReader lines(text);
  Sweeps sweeps;
  while (const auto line = lines.Next()) {
    if (!Trim(line->text).empty()) sweeps.Add(*line);
  }
  return sweeps.Finish(lines.Number());
}

}  // namespace Lumenar::Replay
