// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#include <bit>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "platform/records/Records.h"
#include "recording/Recording.h"
#include "recording/RecordingReader.h"
#include "recording/RecordingWriter.h"

namespace Lumenar::Recording {

using Corvanta::SampleRecord;
using Corvanta::BASIC_TRACE::BT_DATA;
using Scalar = Corvanta::VALUE_DOUBLE::VALUE;

inline constexpr std::int64_t kNow_ns = 1'714'979'289'123'456'789;  // 2024-05-06T07:08:09.123456789Z

/// A folder that goes with this object.
class Folder {
 public:
  Folder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "recording-XXXXXX").string();
    path_ = ::mkdtemp(pattern.data());
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string File(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

inline std::string TextOf(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

inline void WriteText(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

inline SampleRecord TraceRecord(const std::vector<float>& samples) {
  BT_DATA trace{};
  trace.sequence_number = 7;
  trace.flags = 0x80000001;
  for (unsigned i = 0; i < 12; ++i) trace.header[i] = 0xFFFFFFF0u + i;
  trace.units = VALUE::UnitsToCorba(Value::Make_unit(Value::U_Watt, 1, -3, true));
  trace.x_step = 0.1;
  trace.samples.length(static_cast<CORBA::ULong>(samples.size()));
  for (std::size_t i = 0; i < samples.size(); ++i) trace.samples[static_cast<CORBA::ULong>(i)] = samples[i];
  return SampleRecord(std::in_place_type<BT_DATA>, trace);
}

inline SampleRecord ScalarRecord(double value, double minus_err, double plus_err, const Value::Units& units) {
  return SampleRecord(std::in_place_type<Scalar>, Scalar{VALUE::UnitsToCorba(units), minus_err, plus_err, value});
}

/// Records of all kinds, with numbers that are easily lost.
inline std::vector<SampleRecord> AwkwardRecords() {
  const auto nan_with_payload = std::bit_cast<float>(0xFFC12345u);
  const auto double_nan = std::bit_cast<double>(0xFFF8000000000123u);
  const double infinity = std::numeric_limits<double>::infinity();
  const double smallest = std::numeric_limits<double>::denorm_min();
  Value::Units malformed;
  malformed.base_power = -2147483647 - 1;
  malformed.slots[3] = {static_cast<Value::Units_list>(99), 2147483647};
  return {TraceRecord({}),
          TraceRecord({1}),
          TraceRecord({1, -0.0f}),
          TraceRecord({nan_with_payload, std::numeric_limits<float>::infinity(), 1e-45f}),
          ScalarRecord(0.1, -0.0, 1e300, Value::C_Watts),
          ScalarRecord(double_nan, -infinity, infinity, Value::C_Empty),
          ScalarRecord(smallest, -1.0 / 3, 2.0 / 3, malformed),
          SampleRecord(std::in_place_type<CORBA::Long>, -2147483647 - 1),
          SampleRecord(std::in_place_type<bool>, true),
          SampleRecord(std::in_place_type<bool>, false)};
}

inline ReadingInfo ReadingNamed(const std::string& name) {
  return {0, name, "PROBE/1", name, "BasicTrace", "Lumenar/PROBE/1/" + name, std::nullopt};
}

/// A recording of two readings, one a math object's, with events between.
inline void WriteExample(const std::string& path, const WriterOptions& options = {}) {
  RecordingWriter writer(path, options, kNow_ns);
  writer.Add(ReadingNamed("WAKEUP"));
  ReadingInfo result = ReadingNamed("math:0");
  result.object = ObjectInfo{0, "Average", {"WAKEUP"}, 10};
  writer.Add(result);
  std::int64_t time_ns = kNow_ns;
  for (const SampleRecord& record : AwkwardRecords()) writer.Write(Sample{0, ++time_ns, record});
  writer.Flush();
  writer.Write(Event{EventKind::Size, ++time_ns, 1, 20, ""});
  writer.Write(Event{EventKind::Gap, ++time_ns, std::nullopt, 0, "the topic manager was away"});
  writer.Write(Sample{1, ++time_ns, TraceRecord({3, 4}), true});
  writer.Finish(++time_ns, 5);
}

inline std::vector<Entry> EntriesOf(RecordingReader& reader) {
  std::vector<Entry> entries;
  while (auto entry = reader.Next()) entries.push_back(std::move(*entry));
  return entries;
}

}  // namespace Lumenar::Recording
