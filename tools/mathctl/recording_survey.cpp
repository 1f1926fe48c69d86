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

void Count(RecordingSurvey& survey, const Recording::Sample& sample) {
  ++survey.samples[sample.reading];
  if (const auto* trace = std::get_if<Corvanta::BASIC_TRACE::BT_DATA>(&sample.record))
    survey.most_points = std::max<std::uint32_t>(survey.most_points, trace->samples.length());
  if (sample.present) return;
  survey.begin_ns = survey.published == 0 ? sample.time_ns : std::min(survey.begin_ns, sample.time_ns);
  survey.end_ns = survey.published == 0 ? sample.time_ns : std::max(survey.end_ns, sample.time_ns);
  ++survey.published;
}

}  // namespace

RecordingSurvey SurveyRecording(const std::string& path, bool quiet) {
  return WithFiles([&] {
    Progress progress(quiet);
    const auto reader = Replay::OpenEntries(path);
    RecordingSurvey survey;
    survey.header = reader->GetHeader();
    while (const auto entry = reader->Next()) {
      if (const auto* reading = std::get_if<Recording::ReadingInfo>(&*entry)) {
        survey.readings.push_back(*reading);
        survey.samples.push_back(0);
      }
      if (const auto* sample = std::get_if<Recording::Sample>(&*entry)) Count(survey, *sample);
      if (!progress.IsDue()) continue;
      Signals::ThrowIfPending();
      progress.Show(
          fmt::format("reading {}: {} %", path, reader->BytesRead() * 100 / std::max<std::size_t>(reader->Size(), 1)));
    }
    survey.cut_off = reader->CutOff();
    survey.whole = reader->GetEnd().has_value();
    if (survey.whole) survey.next = reader->GetEnd()->next;
    return survey;
  });
}

void WarnOfRest(const RecordingSurvey& survey, bool quiet) {
  if (quiet) return;
  if (!survey.cut_off.empty()) WriteError("mathctl: " + Client::Printable(survey.cut_off));
  if (!survey.next.empty())
    WriteError(fmt::format("mathctl: the recording goes on in {}", Client::Printable(survey.next)));
}

}  // namespace Lumenar::Mathctl
