// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

#include "recording/EntryReader.h"
#include "tests/system/mathctl/ObjectsFixture.h"

namespace Lumenar::Test {

/// The whole of a recording, by kinds of entry.
struct WholeRecording {
  std::vector<Recording::ReadingInfo> readings;
  std::vector<Recording::Sample> present;
  std::vector<Recording::Sample> samples;
  std::vector<Recording::Event> events;
  bool ended = false;
  Recording::End end;

  std::vector<const Recording::Sample*> SamplesOf(std::uint32_t reading) const {
    std::vector<const Recording::Sample*> of;
    for (const auto& sample : samples)
      if (sample.reading == reading) of.push_back(&sample);
    return of;
  }
};

/// A platform of real processes, and files in its private folder.
class RecordingsFixture : public ObjectsFixture {
 protected:
  using ObjectsFixture::ObjectsFixture;

  std::string File(const std::string& name) const { return (platform_.Directory() / name).string(); }

  static std::string TextOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  static void WriteFile(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
  }

  /// What stands in a file so far; nothing yet in one that is not begun.
  static WholeRecording Read(const std::string& path) {
    WholeRecording whole;
    std::error_code none;
    if (const auto size = std::filesystem::file_size(path, none); none || size == 0) return whole;
    const auto reader = Recording::OpenRecording(path);
    while (const auto entry = reader->Next()) {
      if (const auto* reading = std::get_if<Recording::ReadingInfo>(&*entry)) whole.readings.push_back(*reading);
      if (const auto* event = std::get_if<Recording::Event>(&*entry)) whole.events.push_back(*event);
      if (const auto* sample = std::get_if<Recording::Sample>(&*entry))
        (sample->present ? whole.present : whole.samples).push_back(*sample);
    }
    whole.ended = reader->GetEnd().has_value();
    if (whole.ended) whole.end = *reader->GetEnd();
    return whole;
  }

  std::unique_ptr<Process> StartRecord(Words words, std::size_t subscriptions) {
    return StartSubscribed("record", std::move(words), subscriptions);
  }
};

}  // namespace Lumenar::Test
