// SPDX-License-Identifier: Apache-2.0
#include "instruments/replay/PlainEntries.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include "instruments/replay/ReadingName.h"
#include "instruments/replay/load_recording.h"
#include "platform/base/Version.h"
#include "platform/records/Records.h"

namespace Lumenar::Replay {
namespace {

using Corvanta::BASIC_TRACE::BT_DATA;
using Lumenar::Recording::Entry;
using Lumenar::Recording::ReadingInfo;
using Lumenar::Recording::Sample;

constexpr double kUsualRate_Hz = 10;
constexpr double kLongestPeriod_s = 1e6;
constexpr std::int64_t kSecond_ns = 1'000'000'000;

std::int64_t WrittenAt(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return 0;
  return std::int64_t{status.st_mtim.tv_sec} * kSecond_ns + status.st_mtim.tv_nsec;
}

/// What files of samples do not tell, as for the instrument.
ReadOptions OptionsOfEnvironment() {
  const char* units = std::getenv(kUnitsSetting);
  const char* points = std::getenv("REPLAY_POINTS");
  ReadOptions options;
  if (units != nullptr) options.units = units;
  if (points == nullptr || *points == '\0') return options;
  const char* const last = points + std::strlen(points);
  const auto [end, error] = std::from_chars(points, last, options.points);
  if (error != std::errc() || end != last || options.points < 1 || options.points > kMaxPoints)
    throw std::runtime_error(fmt::format("REPLAY_POINTS={}: expected a number from 1 to {}", points, kMaxPoints));
  return options;
}

ReadingInfo Described(std::uint32_t index, const std::string& item) {
  const std::string name = "REPLAY/1/" + item;
  return {index, name, "REPLAY/1", item, "BasicTrace", name, std::nullopt};
}

}  // namespace

PlainEntries::PlainEntries(const std::string& path) : file_(LoadRecording(path, OptionsOfEnvironment())) {
  header_.version = Version();
  header_.started_ns = WrittenAt(path);
  header_.comment = "from " + ReadingName(path);
  const double rate_Hz = file_.sweeps_per_s.value_or(kUsualRate_Hz);
  period_ns_ = static_cast<std::int64_t>(std::min(1 / rate_Hz, kLongestPeriod_s) * static_cast<double>(kSecond_ns));
  for (const Recording& recording : file_.recordings)
    readings_.push_back(Described(static_cast<std::uint32_t>(readings_.size()), ReadingName(path) + recording.suffix));
}

std::optional<Entry> PlainEntries::Next() {
  const std::size_t at = next_;
  const std::size_t readings = readings_.size();
  if (at < readings * (Sweeps() + 1)) {
    ++next_;
    if (at < readings) return Entry(readings_[at]);
    return Entry(SampleAt(at / readings - 1, at % readings));
  }
  end_.emplace();
  end_->time_ns = header_.started_ns + static_cast<std::int64_t>(Sweeps()) * period_ns_;
  return std::nullopt;
}

Sample PlainEntries::SampleAt(std::size_t sweep, std::size_t reading) const {
  const Recording& recording = file_.recordings[reading];
  const std::vector<float>& samples = recording.sweeps[sweep];
  const std::int64_t time_ns = header_.started_ns + static_cast<std::int64_t>(sweep) * period_ns_;
  BT_DATA trace{};
  trace.sequence_number = static_cast<CORBA::ULong>(sweep);
  trace.header[0] = static_cast<CORBA::ULong>(static_cast<std::uint64_t>(time_ns) >> 32);
  trace.header[1] = static_cast<CORBA::ULong>(static_cast<std::uint64_t>(time_ns) & 0xFFFFFFFFu);
  trace.header[2] = static_cast<CORBA::ULong>(recording.x_unit);
  trace.units = VALUE::UnitsToCorba(recording.units);
  trace.x_step = recording.x_step;
  trace.samples.length(static_cast<CORBA::ULong>(samples.size()));
  std::copy(samples.begin(), samples.end(), trace.samples.get_buffer());
  return {static_cast<std::uint32_t>(reading), time_ns,
          Corvanta::SampleRecord(std::in_place_type<BT_DATA>, std::move(trace)), false};
}

std::unique_ptr<Lumenar::Recording::EntryReader> OpenEntries(const std::string& path) {
  const bool plain = path.ends_with(".s1p") || path.ends_with(".s2p") || !Lumenar::Recording::IsRecording(path);
  if (plain && !path.ends_with(".jsonl") && !path.ends_with(".zst")) return std::make_unique<PlainEntries>(path);
  return Lumenar::Recording::OpenRecording(path);
}

}  // namespace Lumenar::Replay
