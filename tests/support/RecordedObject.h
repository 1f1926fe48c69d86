// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdlib.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "judge/Operation.h"
#include "judge/Units.h"
#include "judge/verify/RecordingCheck.h"
#include "recording/RecordingWriter.h"

namespace Lumenar::Judge {

using Trace_record = Corvanta::BASIC_TRACE::BT_DATA;
using Scalar_record = Corvanta::VALUE_DOUBLE::VALUE;

inline constexpr std::int64_t kMillisecond = 1'000'000;

inline Units UnitOf(std::int32_t unit, std::int32_t exponent = 1, std::int32_t base_power = 0, bool is_dB = false) {
  Units units;
  units.is_dB = is_dB;
  units.base_power = base_power;
  units.slots[0] = {unit, exponent};
  return units;
}

inline const Units kWatts = UnitOf(1);
inline const Units kMilliwatts = UnitOf(1, 1, -3);
inline const Units kdBm = UnitOf(1, 1, -3, true);

inline Datum TraceOf(const std::vector<float>& samples, const Units& units, std::uint32_t number = 0) {
  Trace_record record{};
  record.sequence_number = number;
  record.header[0] = 17;
  record.x_step = 0.5;
  record.units = ToRecord(units);
  record.samples.length(static_cast<CORBA::ULong>(samples.size()));
  for (CORBA::ULong i = 0; i < record.samples.length(); ++i) record.samples[i] = samples[i];
  return record;
}

inline Datum ScalarOf(double value, const Units& units, double minus_err = 0, double plus_err = 0) {
  return Scalar_record{ToRecord(units), minus_err, plus_err, value};
}

inline Datum LongOf(int number) { return CORBA::Long{number}; }

/// A folder that goes with this.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "lumenar-judge-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder " + name);
    path_ = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  std::string File(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

/// One object, played by the rules, and what a recorder makes of it: the readings IN0, IN1 ... and math:0.
class RecordedObject {
 public:
  /// The object was made, over these inputs, before the recording begins.
  RecordedObject(const std::string& type, const std::vector<Datum>& present)
      : type_(type), inputs_(present), operation_(Operation::Created(*TypeNamed(type), present)) {}

  /// The next entries come so much later than those before.
  std::int64_t step_ns = kMillisecond;

  std::vector<Recording::Entry>& Entries() { return entries_; }
  Operation& Rules() { return *operation_; }
  std::uint32_t ResultReading() const { return static_cast<std::uint32_t>(inputs_.size()); }

  /// The engine has a sample, before the recording or unnoticed by it. Whether there was a result.
  bool Compute(std::size_t input, const Datum& sample) {
    return operation_->Take(input, sample).kind == Outcome::Published;
  }

  /// The recorder has it.
  void Record(std::size_t reading, const Datum& sample) {
    Recording::Sample entry;
    entry.reading = static_cast<std::uint32_t>(reading);
    entry.time_ns = now_ns_ += step_ns;
    std::visit([&entry](const auto& held) { entry.record = held; }, sample);
    entries_.push_back(std::move(entry));
  }

  void RecordResult() { Record(ResultReading(), *operation_->Result()); }

  /// A sample as usual: it comes to the recorder and to the engine, and its result comes to the recorder.
  void Sample(std::size_t input, const Datum& sample) {
    Record(input, sample);
    if (Compute(input, sample)) RecordResult();
  }

  void SetSize(int size, bool recorded = true) {
    operation_->SetSize(size);
    if (recorded) RecordEvent(Recording::EventKind::Size, size);
  }

  void Reset(bool recorded = true) {
    if (recorded) RecordEvent(Recording::EventKind::Reset, 1000);
    if (operation_->Reset().kind == Outcome::Published) RecordResult();
  }

  /// The time of the last entry.
  std::int64_t LastTime_ns() const { return now_ns_; }

  void RecordEvent(Recording::EventKind kind, std::int64_t value = 0, std::optional<std::int64_t> since_ns = {}) {
    Recording::Event event;
    event.since_ns = since_ns;
    event.kind = kind;
    event.time_ns = now_ns_ += step_ns;
    event.reading = ResultReading();
    event.value = value;
    entries_.push_back(event);
  }

  /// The values of all readings, as a recorder writes them before everything else.
  void RecordPresent(const std::vector<Datum>& inputs) {
    for (std::size_t i = 0; i < inputs.size(); ++i) Record(i, inputs[i]);
    RecordResult();
    for (std::size_t i = 0; i <= inputs.size(); ++i) {
      std::get<Recording::Sample>(entries_[entries_.size() - 1 - i]).present = true;
    }
  }

  /// SIZE as the recording tells it at its beginning.
  void RecordingBeginsWithSize(int size) { size_at_begin_ = size; }

  void Write(const std::string& path, const Recording::WriterOptions& options = {}) const {
    Recording::RecordingWriter writer(path, options, kBegin_ns);
    std::vector<std::string> names;
    for (std::size_t i = 0; i < inputs_.size(); ++i) names.push_back("IN" + std::to_string(i));
    for (std::size_t i = 0; i < inputs_.size(); ++i) {
      writer.Add({0, names[i], "TEST/1", names[i], NameOfKind(inputs_[i]), "topic " + names[i], std::nullopt});
    }
    writer.Add({0, "math:0", "MATHFACTORY/1", "RESULT", NameOfKind(*operation_->Result()), "topic math",
                Recording::ObjectInfo{0, type_, names, size_at_begin_}});
    for (const Recording::Entry& entry : entries_) {
      if (const auto* sample = std::get_if<Recording::Sample>(&entry)) writer.Write(*sample);
      if (const auto* event = std::get_if<Recording::Event>(&entry)) writer.Write(*event);
    }
    writer.Finish(now_ns_, 0);
  }

  /// The check of the recording so far.
  Report Check(const SearchLimits& limits = {}) const {
    const TemporaryFolder folder;
    Write(folder.File("a.jsonl"));
    return RecordingCheck(limits).Run({folder.File("a.jsonl")});
  }

  /// Of the one object.
  ObjectReport CheckObject(const SearchLimits& limits = {}) const { return Check(limits).objects.at(0); }

 private:
  static constexpr std::int64_t kBegin_ns = 1'700'000'000'000'000'000;

  static std::string NameOfKind(const Datum& datum) {
    static constexpr const char* kNames[] = {"long", "ValueDouble", "BasicTrace"};
    return kNames[datum.index()];
  }

  const std::string type_;
  const std::vector<Datum> inputs_;
  std::unique_ptr<Operation> operation_;
  std::vector<Recording::Entry> entries_;
  std::int64_t now_ns_ = kBegin_ns;
  int size_at_begin_ = 0;
};

}  // namespace Lumenar::Judge
