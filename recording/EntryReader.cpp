// SPDX-License-Identifier: Apache-2.0
#include "recording/EntryReader.h"

#include "recording/LineFile.h"
#include "recording/RecordingReader.h"
#include "recording/csv.h"

namespace Lumenar::Recording {
namespace {

constexpr std::size_t kLongestFirstLine = std::size_t{1} << 20;

std::string FirstLineOf(const std::string& path) {
  std::string line;
  LineFile file(path, kLongestFirstLine);
  return file.Next(line) == LineFile::Result::Line ? line : std::string();
}

}  // namespace

std::unique_ptr<EntryReader> OpenRecording(const std::string& path) {
  if (IsCsvRecording(FirstLineOf(path))) return std::make_unique<CsvReader>(path);
  return std::make_unique<RecordingReader>(path);
}

bool IsRecording(const std::string& path) {
  const std::string line = FirstLineOf(path);
  return line.starts_with("{\"lumenar_recording\"") || IsCsvRecording(line);
}

}  // namespace Lumenar::Recording
