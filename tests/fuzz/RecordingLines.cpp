// SPDX-License-Identifier: Apache-2.0
// Recordings: as files, of both forms, and line by line with a CRC that fits, since no random line has one.
#include <algorithm>
#include <stdexcept>
#include <string>
#include <variant>

#include "recording/EntryReader.h"
#include "recording/RecordingReader.h"
#include "recording/lines.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/MemoryFile.h"
#include "tests/fuzz/Violation.h"
#include "tests/fuzz/targets.h"

namespace Lumenar::Fuzz {
namespace {

void CheckReason(const std::string& reason) {
  Require(!reason.empty() && reason.size() < 400, "the reason is short");
  Require(std::all_of(reason.begin(), reason.end(), [](char c) { return c >= ' ' && c <= '~'; }),
          "the reason can be shown");
}

void ReadWhole(const std::string& text) {
  const MemoryFile file(text);
  try {
    const auto reader = Recording::OpenRecording(file.Path());
    std::size_t readings = 0;
    while (const auto entry = reader->Next()) {
      if (std::holds_alternative<Recording::ReadingInfo>(*entry)) ++readings;
      if (const auto* sample = std::get_if<Recording::Sample>(&*entry))
        Require(sample->reading < readings, "a sample is of a reading that came before");
    }
    Require(reader->GetEnd().has_value() != !reader->CutOff().empty(), "a file ends or breaks off");
  } catch (const Recording::RecordingError& error) {
    CheckReason(error.what());
  }
}

// What a line says is what it says again when it was written.
void ReadLine(const std::string& fields) {
  const std::string line = Recording::SealedLine(fields);
  try {
    const Recording::ParsedLine first = Recording::ParseLine(std::string_view(line).substr(0, line.size() - 1));
    const std::string again = std::visit([](const auto& held) { return Recording::LineOf(held); }, first);
    const Recording::ParsedLine second = Recording::ParseLine(std::string_view(again).substr(0, again.size() - 1));
    Require(first.index() == second.index(), "a line is of the same kind again");
    const auto* sample = std::get_if<Recording::Sample>(&first);
    if (sample == nullptr) return;
    const auto& repeated = std::get<Recording::Sample>(second);
    Require(Recording::SameBits(sample->record, repeated.record), "a sample is the same again, bit for bit");
    Require(sample->time_ns == repeated.time_ns && sample->present == repeated.present, "and its time");
  } catch (const std::invalid_argument& error) {
    CheckReason(error.what());
  }
}

}  // namespace

void RecordingLines(Bytes input) {
  const std::string text = TextOf(input);
  ReadWhole(text);
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    ReadLine(text.substr(begin, end - begin));
    begin = end + 1;
  }
}

}  // namespace Lumenar::Fuzz
