// SPDX-License-Identifier: Apache-2.0
#include "instruments/replay/TouchstoneReader.h"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <optional>
#include <span>

#include "instruments/replay/LineReader.h"
#include "instruments/replay/XyTable.h"

namespace Lumenar::Replay {
namespace {

constexpr std::array kSuffixes = {"_S11", "_S21", "_S12", "_S22"};
constexpr std::size_t kMostNumbers = 9;  // a frequency and four pairs
constexpr std::size_t kNoiseNumbers = 5;

/// How a pair of numbers stands for a parameter.
enum class Pair { RealImaginary, MagnitudeAngle, DecibelAngle };

struct Options {
  double Hz_per_unit = 1e9;
  Pair pair = Pair::MagnitudeAngle;
};

std::string Upper(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  return upper;
}

struct FrequencyUnit {
  const char* name;
  double Hz;
};
constexpr std::array kFrequencyUnits = {FrequencyUnit{"HZ", 1}, FrequencyUnit{"KHZ", 1e3}, FrequencyUnit{"MHZ", 1e6},
                                        FrequencyUnit{"GHZ", 1e9}};

struct PairName {
  const char* name;
  Pair pair;
};
constexpr std::array kPairNames = {PairName{"RI", Pair::RealImaginary}, PairName{"MA", Pair::MagnitudeAngle},
                                   PairName{"DB", Pair::DecibelAngle}};

/// False for a word that is none of the options.
bool TakeOption(Options& options, const std::string& word) {
  for (const auto& unit : kFrequencyUnits) {
    if (word != unit.name) continue;
    options.Hz_per_unit = unit.Hz;
    return true;
  }
  for (const auto& pair : kPairNames) {
    if (word != pair.name) continue;
    options.pair = pair.pair;
    return true;
  }
  return word == "S";
}

/// The option line behind its "#". The reference resistance changes no level; it is checked to be a number.
Options ParseOptions(std::string_view text, std::size_t line) {
  Options options;
  while (!text.empty()) {
    const std::string_view written = TakeWord(text);
    const std::string word = Upper(written);
    if (word.empty()) break;
    if (word == "R") {
      ParseNumber(TakeWord(text), line);
    } else if (word == "Y" || word == "Z" || word == "G" || word == "H") {
      throw FormatError(line, "only S parameters are read, not " + word);
    } else if (!TakeOption(options, word)) {
      throw FormatError(line, "option " + Quoted(written) + " is not known");
    }
  }
  return options;
}

/// The numbers of one data line.
struct Row {
  std::array<double, kMostNumbers> numbers{};
  std::size_t count = 0;
};

Row ParseRow(std::string_view text, std::size_t line) {
  Row row;
  for (std::string_view word = TakeWord(text); !word.empty(); word = TakeWord(text)) {
    if (row.count == kMostNumbers) throw FormatError(line, fmt::format("more than {} numbers", kMostNumbers));
    row.numbers[row.count++] = ParseNumber(word, line);
  }
  return row;
}

double LevelOf(Pair pair, double first, double second) {
  switch (pair) {
    case Pair::RealImaginary: return 20 * std::log10(std::hypot(first, second));
    case Pair::MagnitudeAngle: return 20 * std::log10(std::abs(first));
    case Pair::DecibelAngle: break;
  }
  return first;
}

/// The network data as they come in, line by line.
class Network {
 public:
  explicit Network(std::size_t parameters) : levels_(parameters) {}

  bool HasOptions() const { return options_.has_value(); }
  void Take(const Options& options) { options_ = options; }

  /// False for the row that begins the noise parameters.
  bool Add(const Row& row, std::size_t line) {
    if (!options_) throw FormatError(line, "data before the option line");
    if (BeginsNoise(row)) return false;
    Require(row, line);
    axis_.push_back(row.numbers[0]);
    for (std::size_t i = 0; i < levels_.size(); ++i) {
      const double level = LevelOf(options_->pair, row.numbers[1 + 2 * i], row.numbers[2 + 2 * i]);
      levels_[i].push_back(SampleOf(level, line));
    }
    return true;
  }

  RecordedFile Finish(std::size_t line) {
    if (axis_.empty()) throw FormatError(line, "there are no points");
    RecordedFile file;
    for (std::size_t i = 0; i < levels_.size(); ++i) {
      Recording& recording = file.recordings.emplace_back();
      recording.suffix = kSuffixes[i];
      recording.units.is_dB = true;
      recording.x_step = StepOf(axis_, options_->Hz_per_unit);
      recording.x_unit = Value::U_Hertz;
      recording.sweeps.push_back(std::move(levels_[i]));
    }
    return file;
  }

 private:
  bool BeginsNoise(const Row& row) const {
    return levels_.size() == kSuffixes.size() && row.count == kNoiseNumbers && !axis_.empty() &&
           row.numbers[0] <= axis_.back();
  }

  void Require(const Row& row, std::size_t line) const {
    const std::size_t expected = 1 + 2 * levels_.size();
    if (row.count != expected)
      throw FormatError(line, fmt::format("expected {} numbers, found {}", expected, row.count));
    if (!axis_.empty() && row.numbers[0] <= axis_.back()) {
      throw FormatError(line, fmt::format("frequency {} does not follow {}", row.numbers[0], axis_.back()));
    }
    if (axis_.size() == kMaxPoints) throw FormatError(line, fmt::format("more than {} points", kMaxPoints));
  }

  std::optional<Options> options_;
  std::vector<double> axis_;  // in the file's unit
  std::vector<std::vector<float>> levels_;
};

}  // namespace

RecordedFile ReadTouchstone(std::string_view text, int ports) {
  LineReader lines(text);
  Network network(ports == 1 ? 1 : kSuffixes.size());
  while (const auto line = lines.Next()) {
    const std::string_view content = Trim(line->text.substr(0, line->text.find('!')));
    if (content.empty()) continue;
    if (content[0] == '[') throw FormatError(line->number, "keyword " + Quoted(content) + ": only version 1 is read");
    if (content[0] == '#') {
      const Options options = ParseOptions(content.substr(1), line->number);
      if (!network.HasOptions()) network.Take(options);
    } else if (!network.Add(ParseRow(content, line->number), line->number)) {
      break;
    }
  }
  return network.Finish(lines.Number());
}

}  // namespace Lumenar::Replay
