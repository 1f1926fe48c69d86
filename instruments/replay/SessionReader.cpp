// SPDX-License-Identifier: Apache-2.0
#include "instruments/replay/SessionReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "instruments/replay/Archive.h"
#include "instruments/replay/LineReader.h"

namespace Lumenar::Replay {
namespace {

constexpr std::size_t kLargestIndex = 1'000'000;

/// What the file "metadata" tells.
struct Metadata {
  double rate_Hz = 0;                           // 0: none
  std::map<std::size_t, std::string> channels;  // by their index
};

/// A whole number up to kLargestIndex.
std::optional<std::size_t> IndexFrom(std::string_view text) {
  std::size_t index = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), index);
  const bool good = error == std::errc() && end == text.data() + text.size() && index <= kLargestIndex;
  return good ? std::optional(index) : std::nullopt;
}

/// Takes `begin` off the front of a text; false where it does not stand there.
bool TakeBeginning(std::string_view& text, std::string_view begin) {
  if (text.substr(0, begin.size()) != begin) return false;
  text.remove_prefix(begin.size());
  return true;
}

void TakeEntry(Metadata& metadata, const Line& line) {
  std::string_view key = Trim(line.text);
  if (TakeBeginning(key, "[device ") && key != "1]")
    throw FormatError(1, "the archive holds the samples of more than one device");
  const std::size_t equals = key.find('=');
  if (equals == std::string_view::npos) return;
  const std::string_view value = Trim(key.substr(equals + 1));
  key = Trim(key.substr(0, equals));
  if (key == "samplerate") metadata.rate_Hz = RateFromText(value, 1);
  if (!TakeBeginning(key, "analog")) return;
  if (const auto index = IndexFrom(key)) metadata.channels[*index] = value;
}

Metadata ReadMetadata(std::string_view text) {
  Metadata metadata;
  LineReader lines(text);
  while (const auto line = lines.Next()) TakeEntry(metadata, *line);
  if (metadata.channels.empty()) throw FormatError(1, "the archive has no analog channel");
  return metadata;
}

/// The places in the archive of the pieces of each channel, in their order.
using Pieces = std::map<std::size_t, std::map<std::size_t, std::size_t>>;

Pieces FindPieces(const std::vector<std::string>& names) {
  Pieces pieces;
  for (std::size_t place = 0; place < names.size(); ++place) {
    std::string_view name = names[place];
    if (!TakeBeginning(name, "analog-1-")) continue;
    const std::size_t dash = name.find('-');
    const auto channel = IndexFrom(name.substr(0, dash));
    const auto number =
        dash == std::string_view::npos ? std::optional<std::size_t>(0) : IndexFrom(name.substr(dash + 1));
    if (channel && number) pieces[*channel][*number] = place;
  }
  return pieces;
}

void AddSamples(std::vector<float>& samples, const std::string& bytes) {
  constexpr std::size_t kSize = sizeof(float);
  if (bytes.size() % kSize != 0) throw FormatError(1, "a piece of the samples is cut off");
  samples.reserve(samples.size() + bytes.size() / kSize);
  for (std::size_t at = 0; at < bytes.size(); at += kSize) {
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < kSize; ++i) bits |= std::uint32_t{static_cast<unsigned char>(bytes[at + i])} << (8 * i);
    samples.push_back(std::bit_cast<float>(bits));
  }
}

/// The end of a reading's name for one of several channels: letters and digits in capitals, "_" for all else.
std::string SuffixOf(const std::string& channel) {
  std::string suffix = "_" + channel;
  for (char& c : suffix) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    const bool good = (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    if (!good) c = '_';
  }
  return suffix;
}

Value::Units RequireUnits(const ReadOptions& options, const std::string& channel) {
  if (const auto units = ToldUnits(options, channel)) return *units;
  throw FormatError(1, fmt::format("the file tells no unit of {}: {} has to", Quoted(channel), kUnitsSetting));
}

std::string Contents(Archive& archive, const std::string& name) {
  const auto& names = archive.Names();
  const auto found = std::find(names.begin(), names.end(), name);
  if (found == names.end()) throw FormatError(1, "the archive has no file " + name);
  return archive.Read(static_cast<std::size_t>(found - names.begin()));
}

}  // namespace

RecordedFile ReadSession(std::string_view bytes, const ReadOptions& options) {
  Archive archive(bytes);
  const Metadata metadata = ReadMetadata(Contents(archive, "metadata"));
  Pieces pieces = FindPieces(archive.Names());
  RecordedFile file;
  for (const auto& [index, channel] : metadata.channels) {
    std::vector<float> samples;
    for (const auto& [number, place] : pieces[index]) AddSamples(samples, archive.Read(place));
    if (samples.empty()) throw FormatError(1, "there are no samples of " + Quoted(channel));
    if (samples.size() > kMaxPoints && options.points == 0)
      throw FormatError(1, fmt::format("more than {} points: REPLAY_POINTS cuts them", kMaxPoints));
    Recording& recording = file.recordings.emplace_back();
    if (metadata.channels.size() > 1) recording.suffix = SuffixOf(channel);
    recording.units = RequireUnits(options, channel);
    recording.x_step = metadata.rate_Hz > 0 ? 1 / metadata.rate_Hz : 0;
    recording.x_unit = Value::U_Second;
    recording.sweeps.push_back(std::move(samples));
  }
  return file;
}

}  // namespace Lumenar::Replay
