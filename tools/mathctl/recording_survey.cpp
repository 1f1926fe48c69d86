// SPDX-License-Identifier: Apache-2.0
#include "tools/mathctl/recording_survey.h"

#include <fmt/format.h>

#include <algorithm>
#include <variant>

#include "client/Text.h"
#include "instruments/replay/PlainEntries.h"
#include "platform/base/Diagnostic.h"
#include "platform/signals/Signals.h"
#include "tools/mathctl/Progress.h"
#include "tools/mathctl/file_errors.h"

namespace Lumenar::Mathctl {
namespace {

constexpr std::chrono::milliseconds kBetweenSigns{50};  // of life, and looks for Ctrl-C
constexpr std::chrono::milliseconds kBeginning{200};

void Count(RecordingSurvey& survey, const Recording::Sample& sample) {
  ++survey.samples[sample.reading];
  if (const auto* trace = std::get_if<Corvanta::BASIC_TRACE::BT_DATA>(&sample.record))
    survey.most_points = std::max<std::uint32_t>(survey.most_points, trace->samples.length());
  if (sample.present) return;
  survey.begin_ns = survey.published == 0 ? sample.time_ns : std::min(survey.begin_ns, sample.time_ns);
  survey.end_ns = survey.published == 0 ? sample.time_ns : std::max(survey.end_ns, sample.time_ns);
  ++survey.published;
}

void Count(RecordingSurvey& survey, const Recording::Event& event) {
  if (event.kind == Recording::EventKind::Lost)
    survey.lost += static_cast<std::uint64_t>(std::max<std::int64_t>(event.value, 0));
  if (event.kind == Recording::EventKind::Gap) ++survey.gaps;
}

}  // namespace

RecordingSurveyor::RecordingSurveyor(const std::string& path)
    : path_(path), reader_(WithFiles([&] { return Replay::OpenEntries(path); })) {
  survey_.header = reader_->GetHeader();
}

void RecordingSurveyor::ReadFor(std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  WithFiles([&] {
    while (!survey_.complete && std::chrono::steady_clock::now() < end) {
      const auto entry = reader_->Next();
      if (!entry) return NoteEnd();
      Take(*entry);
    }
  });
}

void RecordingSurveyor::Take(const Recording::Entry& entry) {
  if (const auto* reading = std::get_if<Recording::ReadingInfo>(&entry)) {
    survey_.readings.push_back(*reading);
    survey_.samples.push_back(0);
  }
  if (const auto* sample = std::get_if<Recording::Sample>(&entry)) Count(survey_, *sample);
  if (const auto* event = std::get_if<Recording::Event>(&entry)) Count(survey_, *event);
}

void RecordingSurveyor::NoteEnd() {
  survey_.complete = true;
  survey_.cut_off = reader_->CutOff();
  survey_.whole = reader_->GetEnd().has_value();
  if (survey_.whole) survey_.next = reader_->GetEnd()->next;
}

std::size_t RecordingSurveyor::Percent() const {
  return reader_->BytesRead() * 100 / std::max<std::size_t>(reader_->Size(), 1);
}

RecordingSurvey SurveyRecording(const std::string& path, bool quiet) {
  Progress progress(quiet);
  RecordingSurveyor surveyor(path);
  while (!surveyor.Survey().complete) {
    surveyor.ReadFor(kBetweenSigns);
    Signals::ThrowIfPending();
    if (progress.IsDue()) progress.Show(fmt::format("reading {}: {} %", path, surveyor.Percent()));
  }
  return surveyor.Survey();
}

RecordingSurvey SurveyBeginning(RecordingSurveyor& surveyor) {
  do {
    surveyor.ReadFor(kBeginning);
  } while (!surveyor.Survey().complete && surveyor.Survey().published == 0);
  return surveyor.Survey();
}

void WarnOfRest(const RecordingSurvey& survey, bool quiet) {
  if (quiet) return;
  if (!survey.cut_off.empty()) WriteError("mathctl: " + Client::Printable(survey.cut_off));
  if (!survey.next.empty())
    WriteError(fmt::format("mathctl: the recording goes on in {}", Client::Printable(survey.next)));
  if (survey.lost > 0)
    WriteError(fmt::format("mathctl: {} samples were lost when this was recorded; the events tell where", survey.lost));
  if (survey.gaps > 0)
    WriteError(fmt::format("mathctl: samples may be missing at {} places; the events tell where and why", survey.gaps));
}

}  // namespace Lumenar::Mathctl
