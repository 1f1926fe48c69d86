// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <variant>

#include "client/Error.h"
#include "client/Text.h"
#include "instruments/replay/PlainEntries.h"
#include "platform/base/Diagnostic.h"
#include "platform/signals/Signals.h"
#include "recording/RecordingWriter.h"
#include "recording/csv.h"
#include "tools/mathctl/Progress.h"
#include "tools/mathctl/RowWriter.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/file_errors.h"
#include "tools/mathctl/recording_survey.h"

namespace Lumenar::Mathctl {
namespace {

struct ConvertArguments {
  std::string in;
  std::string out;
  bool force = false;
};

bool IsCsvName(const std::string& path) { return path.ends_with(".csv") || path.ends_with(".csv.zst"); }
bool IsRecordingName(const std::string& path) { return path.ends_with(".jsonl") || path.ends_with(".jsonl.zst"); }

/// Writes either form.
class FormWriter {
 public:
  FormWriter(const ConvertArguments& arguments, const RecordingSurvey& survey) {
    if (IsCsvName(arguments.out)) {
      csv_ = std::make_unique<Recording::CsvWriter>(arguments.out, arguments.force, survey.header, survey.most_points);
    } else {
      const Recording::WriterOptions options{arguments.force, "", 0, 0};
      recording_ = std::make_unique<Recording::RecordingWriter>(arguments.out, options, survey.header);
    }
  }

  void Write(const Recording::Entry& entry) {
    if (csv_) return csv_->Write(entry);
    std::visit([this](const auto& held) { Put(held); }, entry);
  }

  void Finish(const Recording::End& end) {
    if (csv_) return csv_->Finish(end.time_ns, end.lost, end.next);
    recording_->Finish(end.time_ns, end.lost, end.next);
  }

 private:
  void Put(const Recording::ReadingInfo& reading) { recording_->Add(reading); }
  void Put(const Recording::Sample& sample) { recording_->Write(sample); }
  void Put(const Recording::Event& event) { recording_->Write(event); }

  std::unique_ptr<Recording::CsvWriter> csv_;
  std::unique_ptr<Recording::RecordingWriter> recording_;
};

void RequireOtherFile(const ConvertArguments& arguments) {
  std::error_code none;
  if (std::filesystem::equivalent(arguments.in, arguments.out, none))
    throw Client::Error(Client::ErrorKind::BadArgument,
                        Client::Printable(arguments.out) + ": is the file that is to be converted");
}

void Copy(const ConvertArguments& arguments, const RecordingSurvey& survey, bool quiet) {
  Progress progress(quiet);
  const auto reader = Replay::OpenEntries(arguments.in);
  FormWriter writer(arguments, survey);
  while (const auto entry = reader->Next()) {
    writer.Write(*entry);
    if (!progress.IsDue()) continue;
    Signals::ThrowIfPending();
    const std::size_t size = std::max<std::size_t>(reader->Size(), 1);
    progress.Show(fmt::format("writing {}: {} %", arguments.out, reader->BytesRead() * 100 / size));
  }
  Recording::End end;
  end.time_ns = survey.end_ns;
  writer.Finish(reader->GetEnd().value_or(end));
  progress.Clear();
  if (reader->Changed() && !quiet) {
    WriteError(
        fmt::format("mathctl: {} was changed since it was made: the recording has another SHA-256 than the one "
                    "that it came from",
                    Client::Printable(arguments.in)));
  }
}

// A file of which only a part could be written is taken away again.
void CopyOrNothing(const ConvertArguments& arguments, const RecordingSurvey& survey, bool quiet) {
  std::error_code none;
  const bool was_there = std::filesystem::exists(arguments.out, none);
  try {
    Copy(arguments, survey, quiet);
  } catch (...) {
    if (!was_there) std::filesystem::remove(arguments.out, none);
    throw;
  }
}

void Convert(const Session& session, const ConvertArguments& arguments) {
  RequireOtherFile(arguments);
  const RecordingSurvey survey = SurveyRecording(arguments.in, session.options.quiet);
  WarnOfRest(survey, session.options.quiet);
  WithFiles([&] { CopyOrNothing(arguments, survey, session.options.quiet); });
  if (session.options.quiet) return;
  std::uint64_t samples = 0;
  for (const std::uint64_t count : survey.samples) samples += count;
  RowWriter rows(session.options, {"FILE", "READINGS", "SAMPLES"});
  rows.Add({{"file", arguments.out}, {"readings", survey.readings.size()}, {"samples", samples}},
           {arguments.out, std::to_string(survey.readings.size()), std::to_string(samples)});
  rows.Finish();
}

std::string CheckForm(const std::string& path) {
  return IsCsvName(path) || IsRecordingName(path) ? "" : "the name must end in .jsonl, .csv, .jsonl.zst or .csv.zst";
}

constexpr const char* kConvertFooter =
    "IN is a recording of either form, or a file of another instrument (.s1p, .s2p, .csv: spectrum sweeps, two "
    "columns,\n"
    "OTDR levels, samples of sigrok-cli; .sr, whose unit REPLAY_UNITS=V in the environment tells). The ending of OUT "
    "says\n"
    "which form it gets.\n"
    "\n"
    "As CSV, a recording has one row a sample, its points in columns p0, p1 ...; lines that begin with \"# \" keep the "
    "rest,\n"
    "so that the way back gives the same recording, byte for byte. Most programs pass such lines over when told that "
    "#\n"
    "begins a comment.\n"
    "\n"
    "Examples:\n"
    "  mathctl convert night.jsonl.zst night.csv\n"
    "  mathctl convert night.csv night.jsonl\n"
    "  mathctl convert filter.s2p filter.jsonl";

}  // namespace

void DefineConvert(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("convert", "Makes CSV of a recording, and a recording of CSV");
  verb->footer(kConvertFooter);
  const auto arguments = std::make_shared<ConvertArguments>();
  verb->add_option("IN", arguments->in, "The file to read")->required();
  verb->add_option("OUT", arguments->out, "The file to write")->required()->check(CheckForm);
  verb->add_flag("--force", arguments->force, "Replace OUT if it is there");
  verb->callback([&command, arguments] {
    command.ends_on_signal = true;
    command.run = [arguments](const Session& session) { Convert(session, *arguments); };
  });
}

}  // namespace Lumenar::Mathctl
