// SPDX-License-Identifier: Apache-2.0
#include "judge/verify/RecordingCheck.h"

#include <fmt/format.h>
#include <gnu/libc-version.h>
#include <mpfr.h>
#include <sys/utsname.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <utility>

#include "platform/base/Version.h"
#include "recording/Digest.h"

namespace Lumenar::Judge {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kEntriesBetweenLooks = 256;
constexpr std::int64_t kLongestCall_ns = 60'000'000'000;

std::string DigestOfFile(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  Recording::Digest digest;
  std::array<char, 65536> block{};
  while (stream.read(block.data(), block.size()) || stream.gcount() > 0) {
    digest.Add({block.data(), static_cast<std::size_t>(stream.gcount())});
  }
  return digest.Text();
}

std::optional<Datum> DatumIn(const Corvanta::SampleRecord& record) {
  if (const auto* trace = std::get_if<Corvanta::BASIC_TRACE::BT_DATA>(&record)) return *trace;
  if (const auto* value = std::get_if<Corvanta::VALUE_DOUBLE::VALUE>(&record)) return *value;
  if (const auto* number = std::get_if<CORBA::Long>(&record)) return *number;
  return std::nullopt;
}

Kind ResultKind(const Recording::ReadingInfo& reading) {
  return reading.kind == "BasicTrace" ? Kind::Trace : Kind::Scalar;
}

/// So that limits can be added to it, whatever a file says.
std::int64_t UsualTime(std::int64_t time_ns) {
  constexpr std::int64_t kFarAway = std::int64_t{1} << 62;
  return std::clamp(time_ns, -kFarAway, kFarAway);
}

bool IsSize(std::int64_t number) { return number >= kSmallestSize && number <= kLargestSize; }

std::int64_t ThisMoment_ns() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

}  // namespace

Workplace ThisWorkplace() {
  utsname machine{};
  uname(&machine);
  return {Version(), "g++ " __VERSION__, machine.machine, fmt::format("glibc {}", gnu_get_libc_version()),
          mpfr_get_version()};
}

Report RecordingCheck::Run(const std::vector<std::string>& paths) {
  report_.workplace = ThisWorkplace();
  report_.checked_ns = ThisMoment_ns();
  report_.assumes_resets = limits_.assume_resets;
  for (const std::string& path : paths) CheckFile(path);
  while (!next_.empty()) {
    const std::string path = NextPath();
    if (!fs::exists(path) || WasChecked(path)) {
      report_.notes.push_back(fmt::format("the recording goes on in {}, which is not here", path));
      break;
    }
    CheckFile(path);
  }
  GiveUpWhereInputsAreMissing();
  for (const auto& object : objects_) report_.objects.push_back(object->End(now_ns_));
  return report_;
}

bool RecordingCheck::WasChecked(const std::string& path) const {
  return std::any_of(report_.files.begin(), report_.files.end(),
                     [&path](const FileReport& file) { return file.path == path; });
}

/// The first file must be readable; another one that is not is reported.
void RecordingCheck::CheckFile(const std::string& path) {
  FileReport file;
  file.path = path;
  next_.clear();
  try {
    const auto reader = Recording::OpenRecording(path);
    CheckEntries(*reader, file);
    file.sha256 = DigestOfFile(path);
  } catch (const std::runtime_error& error) {
    if (report_.files.empty()) throw;
    file.problem = error.what();
  }
  last_digest_ = file.content_sha256;
  report_.files.push_back(std::move(file));
}

void RecordingCheck::CheckEntries(Recording::EntryReader& reader, FileReport& file) {
  CheckSuccession(reader.GetHeader());
  file.recorded_by = reader.GetHeader().version;
  file.comment = reader.GetHeader().comment;
  file.started_ns = reader.GetHeader().started_ns;
  file.part = reader.GetHeader().part;
  names_.clear();
  ReadEntries(reader, file);
}

void RecordingCheck::ReadEntries(Recording::EntryReader& reader, FileReport& file) {
  try {
    std::uint64_t entries = 0;
    while (const auto entry = reader.Next()) {
      if (++entries % kEntriesBetweenLooks == 0) LookAround(reader);
      if (std::holds_alternative<Recording::Sample>(*entry)) ++file.samples;
      std::visit([this](const auto& held) { Take(held); }, *entry);
    }
    file.problem = reader.CutOff();
  } catch (const Recording::RecordingError& error) {
    file.problem = error.what();
  }
  if (!reader.GetEnd()) return;
  file.content_sha256 = reader.GetEnd()->sha256;
  file.lost = reader.GetEnd()->lost;
  next_ = reader.GetEnd()->next;
  if (file.lost > 0) {
    report_.notes.push_back(
        fmt::format("{}: {} samples were lost while recording; what differs may come from that", file.path, file.lost));
  }
}

void RecordingCheck::LookAround(const Recording::EntryReader& reader) const {
  for (const auto& object : objects_) object->Advance(now_ns_);
  if (on_progress) on_progress(reader.BytesRead(), reader.Size());
}

void RecordingCheck::CheckSuccession(const Recording::Header& header) {
  const bool first = report_.files.empty();
  if (first && header.part == 1) return;
  if (first) {
    report_.notes.push_back(fmt::format("the recording begins with part {}", header.part));
    return;
  }
  if (header.continues != last_digest_ || last_digest_.empty()) {
    InterruptAll(now_ns_, "a file that does not go on where the one before ended");
  }
}

std::string RecordingCheck::NextPath() const {
  return (fs::path(report_.files.back().path).parent_path() / fs::path(next_).filename()).string();
}

void RecordingCheck::Take(const Recording::ReadingInfo& reading) {
  names_.push_back(reading.name);
  if (!recorded_.emplace(reading.name, true).second) return;  // known from the part before
  if (reading.object) AddObject(reading);
}

void RecordingCheck::AddObject(const Recording::ReadingInfo& reading) {
  const Recording::ObjectInfo& object = *reading.object;
  ObjectFacts facts;
  facts.name = reading.name;
  facts.type_name = object.type;
  facts.inputs = object.inputs;
  facts.kind = ResultKind(reading);
  const auto type = TypeNamed(object.type);
  if (type) facts.type = *type;
  const auto size = IsSize(object.size) ? std::optional<int>(object.size) : std::nullopt;
  objects_.push_back(std::make_unique<ObjectCheck>(facts, size, limits_, sharing_));
  *sharing_ = objects_.size();
  ObjectCheck& check = *objects_.back();
  if (!type) return check.GiveUp("an operation that is not known here: " + object.type);
  if (object.inputs.size() != InputsOf(*type)) {
    return check.GiveUp(fmt::format("the recording names {} inputs of it", object.inputs.size()));
  }
  readings_[reading.name].result_of = &check;
  for (std::size_t i = 0; i < object.inputs.size(); ++i) readings_[object.inputs[i]].input_of.push_back({&check, i});
}

void RecordingCheck::Take(const Recording::Sample& sample) {
  now_ns_ = std::max(now_ns_, UsualTime(sample.time_ns));
  ReadingUse& use = readings_[names_.at(sample.reading)];
  if (use.result_of == nullptr && use.input_of.empty()) return;
  auto datum = DatumIn(sample.record);
  if (!datum) return;
  if (sample.present) return TakePresent(use, *datum);
  Arrival arrival;
  arrival.sample = std::make_shared<const Datum>(std::move(*datum));
  arrival.time_ns = UsualTime(sample.time_ns);
  arrival.place = ++place_;
  arrival.number = ++use.samples;
  for (const Use& input : use.input_of) input.object->TakeSample(input.input, arrival);
  if (use.result_of != nullptr) use.result_of->TakeResult(arrival);
  for (const Use& input : use.input_of) input.object->Advance(now_ns_);
  if (use.result_of != nullptr) use.result_of->Advance(now_ns_);
}

void RecordingCheck::TakePresent(const ReadingUse& use, const Datum& value) {
  for (const Use& input : use.input_of) input.object->TakePresentInput(input.input, value);
  if (use.result_of != nullptr) use.result_of->TakePresentResult(value);
}

void RecordingCheck::Take(const Recording::Event& event) {
  using Recording::EventKind;
  now_ns_ = std::max(now_ns_, UsualTime(event.time_ns));
  switch (event.kind) {
    case EventKind::Created: return Interrupt(event, "the object was created");
    case EventKind::Deleted: return Interrupt(event, "the object was deleted");
    case EventKind::Lost: return Interrupt(event, fmt::format("{} samples were lost", event.value));
    case EventKind::Gap: return Interrupt(event, event.text.empty() ? "samples may be missing" : event.text);
    case EventKind::Size:
    case EventKind::Reset: break;
  }
  if (!event.reading) return;
  ObjectCheck* object = readings_[names_.at(*event.reading)].result_of;
  if (object == nullptr) return;
  if (event.kind == EventKind::Size && !IsSize(event.value)) return Interrupt(event, "a SIZE that no Average has");
  Arrival change;
  change.what = event.kind == EventKind::Reset ? Arrival::Reset : Arrival::Size;
  change.size = static_cast<int>(event.value);
  change.time_ns = UsualTime(event.time_ns);
  if (event.kind == EventKind::Reset) change.lasted_ns = std::clamp<std::int64_t>(event.value, 0, kLongestCall_ns);
  change.place = ++place_;
  object->TakeChange(change);
}

void RecordingCheck::Interrupt(const Recording::Event& event, const std::string& reason) {
  const std::int64_t since_ns = std::min(now_ns_, UsualTime(event.since_ns.value_or(event.time_ns)));
  if (!event.reading) return InterruptAll(since_ns, reason);
  const ReadingUse& use = readings_[names_.at(*event.reading)];
  if (use.result_of != nullptr) use.result_of->Interrupt(since_ns, reason);
  for (const Use& input : use.input_of) input.object->Interrupt(since_ns, reason);
}

void RecordingCheck::InterruptAll(std::int64_t since_ns, const std::string& reason) {
  for (const auto& object : objects_) object->Interrupt(since_ns, reason);
}

void RecordingCheck::GiveUpWhereInputsAreMissing() {
  for (const auto& object : objects_) {
    for (const std::string& input : object->Facts().inputs) {
      if (!recorded_.contains(input)) object->GiveUp(fmt::format("its input {} is not in the recording", input));
    }
  }
}

}  // namespace Lumenar::Judge
