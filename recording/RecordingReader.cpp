// SPDX-License-Identifier: Apache-2.0
#include "recording/RecordingReader.h"

#include <fmt/format.h>

#include <stdexcept>
#include <utility>
#include <variant>

#include "recording/lines.h"

namespace Lumenar::Recording {
namespace {

constexpr std::size_t kMostReadings = 100'000;

ParsedLine Parsed(const std::string& path, std::size_t number, const std::string& line) {
  try {
    return ParseLine(line);
  } catch (const std::invalid_argument& reason) {
    throw RecordingError(path, number, reason.what());
  }
}

}  // namespace

RecordingReader::RecordingReader(const std::string& path) : path_(path), file_(path, kLongestLine) {
  if (!ReadLine()) {
    line_number_ = 1;
    Fail("is no recording: the file has no whole line");
  }
  const ParsedLine first = Parsed(path_, line_number_, line_);
  if (!std::holds_alternative<Header>(first)) Fail("is no recording: the first line is no header");
  header_ = std::get<Header>(first);
  digest_.Add(line_);
  digest_.Add("\n");
}

void RecordingReader::Fail(const std::string& reason) const { throw RecordingError(path_, line_number_, reason); }

// False at the end of the file. `line_` is a whole line otherwise.
bool RecordingReader::ReadLine() {
  const LineFile::Result result = file_.Next(line_);
  ++line_number_;
  switch (result) {
    case LineFile::Result::Line: return true;
    case LineFile::Result::TooLong: Fail(fmt::format("is longer than {} bytes", kLongestLine));
    case LineFile::Result::Damaged: Fail("the compressed data is damaged");
    case LineFile::Result::Unended:
    case LineFile::Result::NoMore: break;
  }
  NoteCutOff();
  return false;
}

void RecordingReader::NoteCutOff() {
  cut_off_ = fmt::format("{}:{}: the recording breaks off here: what stands before is whole", path_, line_number_);
}

std::optional<Entry> RecordingReader::Next() {
  if (over_ || !ReadLine()) {
    over_ = true;
    return std::nullopt;
  }
  ParsedLine parsed = Parsed(path_, line_number_, line_);
  std::visit([this](const auto& line) { Take(line); }, parsed);
  if (over_) return std::nullopt;
  digest_.Add(line_);
  digest_.Add("\n");
  return std::visit(
      []<class T>(T& line) -> std::optional<Entry> {
        if constexpr (std::is_constructible_v<Entry, T&&>) return Entry(std::move(line));
        return std::nullopt;
      },
      parsed);
}

void RecordingReader::Take(const Header&) { Fail("is a second header"); }

void RecordingReader::Take(const ReadingInfo& reading) {
  if (reading.index != readings_.size()) Fail(fmt::format("is reading {}, not {}", reading.index, readings_.size()));
  if (readings_.size() >= kMostReadings) Fail(fmt::format("are more than {} readings", kMostReadings));
  if (!names_.insert(reading.name).second) Fail("has a name that another reading has");
  readings_.push_back(reading);
}

void RecordingReader::RequireReading(std::uint32_t reading) const {
  if (reading >= readings_.size()) Fail(fmt::format("is of reading {}, which was not introduced", reading));
}

void RecordingReader::Take(const Sample& sample) {
  RequireReading(sample.reading);
  ++samples_;
}

void RecordingReader::Take(const Event& event) {
  if (event.reading) RequireReading(*event.reading);
}

// Nothing may stand behind the last line.
void RecordingReader::Take(const End& end) {
  over_ = true;
  if (end.lines != line_number_ - 1)
    Fail(fmt::format("counts {} lines, but there are {}", end.lines, line_number_ - 1));
  if (end.samples != samples_) Fail(fmt::format("counts {} samples, but there are {}", end.samples, samples_));
  if (end.sha256 != digest_.Text()) Fail("has another SHA-256 than the lines before: the recording was changed");
  const LineFile::Result behind = file_.Next(line_);
  ++line_number_;
  if (behind == LineFile::Result::Unended && line_.empty())
    return NoteCutOff();  // a compressed file without its checksum
  if (behind != LineFile::Result::NoMore) Fail("stands behind the last line");
  end_ = end;
}

}  // namespace Lumenar::Recording
