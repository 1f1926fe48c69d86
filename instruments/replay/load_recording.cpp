// SPDX-License-Identifier: Apache-2.0
#include "instruments/replay/load_recording.h"

#include <fmt/format.h>

#include <filesystem>
#include <stdexcept>

#include "instruments/replay/LineReader.h"
#include "instruments/replay/OtdrReader.h"
#include "instruments/replay/SampleCsvReader.h"
#include "instruments/replay/ScopeReader.h"
#include "instruments/replay/SessionReader.h"
#include "instruments/replay/SpectrumReader.h"
#include "instruments/replay/TouchstoneReader.h"
#include "platform/base/TextFile.h"

namespace Lumenar::Replay {
namespace {

namespace fs = std::filesystem;

std::string Ending(std::string_view name) {
  std::string ending = fs::path(name).extension().string();
  for (char& c : ending) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return ending;
}

/// Whether a first field looks like 2026-02-15.
bool LooksLikeDate(std::string_view field) {
  return field.size() == 10 && field[4] == '-' && field[7] == '-' && field[0] >= '0' && field[0] <= '9';
}

RecordedFile ReadCsv(std::string_view text) {
  const auto first = LineReader(text).Next();
  std::optional<std::string_view> rest = first ? first->text : std::string_view();
  if (LooksLikeDate(*TakeField(rest, ','))) return ReadSpectrum(text);
  if (first && first->text.find('[') != std::string_view::npos) return ReadOtdr(text);
  return ReadScope(text);
}

/// Cut, where the options say so.
RecordedFile Cut(RecordedFile file, const ReadOptions& options) {
  if (options.points > 0) CutSweeps(file, options.points);
  return file;
}

RecordedFile ReadByEnding(const std::string& ending, std::string_view text, const ReadOptions& options) {
  if (ending == ".s1p") return ReadTouchstone(text, 1);
  if (ending == ".s2p") return ReadTouchstone(text, 2);
  if (ending == ".csv") return IsSampleCsv(text) ? Cut(ReadSampleCsv(text, options), options) : ReadCsv(text);
  if (ending == ".sr") return Cut(ReadSession(text, options), options);
  throw std::invalid_argument("is no recording that can be read (.s1p, .s2p, .csv, .sr)");
}

}  // namespace

Value::Units LevelUnits(const Value::Units& units) noexcept { return units == kPlainDecibels ? kRatioDecibels : units; }

RecordedFile ReadRecording(std::string_view name, std::string_view text, const ReadOptions& options) {
  RecordedFile file = ReadByEnding(Ending(name), text, options);
  for (Recording& recording : file.recordings) recording.units = LevelUnits(recording.units);
  return file;
}

RecordedFile LoadRecording(const std::string& path, const ReadOptions& options) {
  try {
    return ReadRecording(path, TextFile(path).Rest(kMaxFileBytes), options);
  } catch (const FormatError& error) {
    throw std::runtime_error(fmt::format("{}:{}: {}", path, error.Line(), error.what()));
  } catch (const std::invalid_argument& error) {
    throw std::runtime_error(path + ": " + error.what());
  }
}

}  // namespace Lumenar::Replay
