// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <memory>

#include "client/Error.h"
#include "client/Text.h"
#include "client/values.h"
#include "recording/RecordingWriter.h"
#include "tools/mathctl/LossWatch.h"
#include "tools/mathctl/PlayedEngines.h"
#include "tools/mathctl/RecordingPlan.h"
#include "tools/mathctl/RowWriter.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/file_errors.h"
#include "tools/mathctl/recording_survey.h"
#include "tools/mathctl/sample_text.h"

namespace Lumenar::Mathctl {
namespace {

struct ReferenceArguments {
  std::string file;
  std::string reading;
  std::string name;
  Recording::WriterOptions writer;
};

bool IsEmpty(const Corvanta::SampleRecord& record) {
  const auto* trace = std::get_if<Corvanta::BASIC_TRACE::BT_DATA>(&record);
  return trace != nullptr && trace->samples.length() == 0;
}

void SaveReference(const Session& session, const ReferenceArguments& arguments) {
  RecordingPlan plan(session);
  plan.AddReadings({arguments.reading});
  if (plan.All().size() != 1) {
    throw Client::Error(Client::ErrorKind::BadArgument,
                        fmt::format("\"{}\" means {} readings: a reference is one",
                                    Client::Printable(arguments.reading), plan.All().size()));
  }
  const PlannedReading& planned = plan.All().front();
  const Corvanta::SampleRecord record = Client::GetValue(planned.reading);
  if (IsEmpty(record)) throw Client::Error(Client::ErrorKind::Refused, planned.info.name + " has no sample yet");
  WithFiles([&] {
    Recording::RecordingWriter writer(arguments.file, arguments.writer, NowNs());
    writer.Add(planned.info);
    writer.Write(Recording::Sample{0, NowNs(), record, true});
    writer.Finish(NowNs(), 0);
  });
  if (session.options.quiet) return;
  nlohmann::ordered_json object{{"file", arguments.file}, {"reading", planned.info.name}};
  object.update(JsonOf(record, false));
  RowWriter rows(session.options, {"FILE", "READING", "VALUE"});
  rows.Add(object, {arguments.file, planned.info.name, TextOf(record)});
  rows.Finish();
}

std::uint32_t ChooseReading(const RecordingSurvey& survey, const ReferenceArguments& arguments) {
  std::string names;
  std::vector<std::uint32_t> fitting;
  for (const Recording::ReadingInfo& reading : survey.readings) {
    if (survey.samples[reading.index] == 0) continue;
    names += (names.empty() ? "" : ", ") + Client::Printable(reading.name);
    if (arguments.reading.empty() || arguments.reading == reading.name || arguments.reading == reading.item)
      fitting.push_back(reading.index);
  }
  if (fitting.size() == 1) return fitting.front();
  throw Client::Error(Client::ErrorKind::BadArgument,
                      names.empty() ? Client::Printable(arguments.file) + " has no samples"
                                    : fmt::format("{}: one of its readings is needed, given by --reading: {}",
                                                  Client::Printable(arguments.file), names));
}

// Of a name that was given or, without one, that the reading had: letters, digits and "_".
std::string ItemName(const Recording::ReadingInfo& reading, const std::string& given) {
  if (!given.empty()) return given;
  return reading.object ? fmt::format("MATH_{}", reading.object->id) : reading.item;
}

void LoadReference(const Session& session, const ReferenceArguments& arguments) {
  RecordingSurveyor surveyor(arguments.file);
  const RecordingSurvey survey = SurveyBeginning(surveyor);
  const std::uint32_t index = ChooseReading(survey, arguments);
  const Recording::ReadingInfo& reading = survey.readings[index];
  PlayingOptions options;
  options.file = arguments.file;
  options.level_units = true;
  options.renames = {reading.name + "=REFERENCE/1/" + ItemName(reading, arguments.name)};
  const auto limit = std::max<std::chrono::milliseconds>(session.connection.Timeout() * 2, std::chrono::seconds(10));
  PlayedEngines engines(options, survey, {index}, limit);
  RowWriter rows(session.options, {"READING", "SAVED FROM"});
  for (const OfferedReading& offered : engines.Offered())
    rows.Add({{"reading", offered.name}, {"saved_from", offered.recorded}}, {offered.name, offered.recorded});
  rows.Finish();
  engines.WaitForSignal();
}

std::string CheckItemName(const std::string& text) {
  const bool good = !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '-' ||
           c == '.';
  });
  return good ? "" : "a name of letters, digits, \"_\", \"-\" and \".\" is needed";
}

void DefineReferenceSave(CLI::App& verb, Command& command) {
  auto* save = verb.add_subcommand("save", "Stores what a reading holds now");
  const auto arguments = std::make_shared<ReferenceArguments>();
  save->add_option("FILE", arguments->file, "Where to: NAME.jsonl")->required();
  save->add_option("READING", arguments->reading, "A reading, or a math object as math:3")->required();
  save->add_flag("--force", arguments->writer.replace, "Replace a file that is there");
  save->callback([&command, arguments] {
    command.run = [arguments](const Session& session) { SaveReference(session, *arguments); };
  });
}

void DefineReferenceLoad(CLI::App& verb, Command& command) {
  auto* load = verb.add_subcommand("load", "Offers it as a reading, until Ctrl-C");
  const auto arguments = std::make_shared<ReferenceArguments>();
  load->add_option("FILE", arguments->file, "What was saved; the first sample of any recording, .s1p, .s2p or .csv too")
      ->required();
  load->add_option("--name", arguments->name, "Name of the reading, REFERENCE/1/NAME; else that it had")
      ->check(CheckItemName)
      ->type_name("NAME");
  load->add_option("--reading", arguments->reading, "Which reading of the file, where it has several")
      ->type_name("NAME");
  load->callback([&command, arguments] {
    command.ends_on_signal = true;
    command.run = [arguments](const Session& session) { LoadReference(session, *arguments); };
  });
}

constexpr const char* kReferenceFooter =
    "A reference is a stored trace that measurements are compared with. Levels are compared by RelativeSubtract, which "
    "asks\n"
    "for a unit: levels in plain dB, as S-parameters have, are offered as dB(10^2 %), the same numbers with a unit.\n"
    "The page normalise tells it step by step.\n"
    "\n"
    "Example:\n"
    "  mathctl reference save through.jsonl math:3\n"
    "  mathctl reference load through.jsonl --name THROUGH &\n"
    "  mathctl create RelativeSubtract math:3 REFERENCE/1/THROUGH";

}  // namespace

void DefineReference(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("reference", "Stores a trace, and offers a stored one as a reading");
  verb->footer(kReferenceFooter);
  verb->require_subcommand(1);
  verb->fallthrough();
  DefineReferenceSave(*verb, command);
  DefineReferenceLoad(*verb, command);
}

}  // namespace Lumenar::Mathctl
