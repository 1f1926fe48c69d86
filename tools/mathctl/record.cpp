// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <cmath>
#include <memory>

#include "platform/base/Diagnostic.h"
#include "tools/mathctl/Recorder.h"
#include "tools/mathctl/RecordingPlan.h"
#include "tools/mathctl/RowWriter.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/file_errors.h"

namespace Lumenar::Mathctl {
namespace {

constexpr std::uint64_t kSmallestPart = 4096;

struct RecordArguments {
  std::vector<std::string> readings;
  std::vector<std::string> with_inputs;
  RecorderOptions options;
  double rotate_seconds = 0;
};

void WriteSummary(const Session& session, const Recorder& recorder, const RecordArguments& arguments) {
  if (recorder.Lost() > 0) WriteError(fmt::format("mathctl: {} samples were lost", recorder.Lost()));
  if (session.options.quiet) return;
  const Recording::RecordingWriter& writer = recorder.Writer();
  const double seconds = std::round(recorder.Elapsed().count() * 1000) / 1000;
  RowWriter rows(session.options, {"FILE", "PARTS", "SAMPLES", "LOST", "BYTES", "SECONDS"});
  rows.Add({{"file", arguments.options.file},
            {"parts", writer.Parts()},
            {"samples", writer.Samples()},
            {"lost", recorder.Lost()},
            {"bytes", writer.Bytes()},
            {"seconds", seconds}},
           {arguments.options.file, std::to_string(writer.Parts()), std::to_string(writer.Samples()),
            std::to_string(recorder.Lost()), std::to_string(writer.Bytes()), fmt::format("{:.1f}", seconds)});
  rows.Finish();
}

void Record(const Session& session, RecordArguments& arguments) {
  RecordingPlan plan(session);
  for (const std::string& object : arguments.with_inputs) plan.AddWithInputs(object);
  plan.AddReadings(arguments.readings);
  arguments.options.writer.rotate_ns = static_cast<std::int64_t>(arguments.rotate_seconds * 1e9);
  WithFiles([&] {
    Recorder recorder(session, plan.All(), arguments.options);
    recorder.Run();
    WriteSummary(session, recorder, arguments);
  });
}

// Behind the transformation of "10M" into bytes.
std::string CheckPartSize(const std::string& text) {
  std::uint64_t bytes = 0;
  const bool is_size = CLI::detail::lexical_cast(text, bytes) && bytes >= kSmallestPart;
  return is_size ? "" : fmt::format("a number of bytes from {} on is needed, as 500000, 10M, 2G", kSmallestPart);
}

constexpr const char* kRecordFooter =
    "Every sample is kept bit by bit, as JSON lines; compressed where FILE ends in .zst. What is recorded can be\n"
    "played again (replay), made CSV (convert), and computed again (verify). The page recordings tells the form.\n"
    "\n"
    "Examples:\n"
    "  mathctl record night.jsonl.zst 'PROBE/1/*' --for 3600 --rotate-size 100M\n"
    "  mathctl record proof.jsonl --with-inputs math:3 --reset -n 1000\n"
    "\n"
    "--with-inputs records a math object together with all that it is computed from. An Average or Peak that had\n"
    "samples before is known in full from its next RESET on, which --reset sets at the beginning.";

void DefineRecordOptions(CLI::App& verb, RecordArguments& arguments) {
  RecorderOptions& options = arguments.options;
  verb.add_option("FILE", options.file, "Where to: NAME.jsonl, or NAME.jsonl.zst for a compressed one")->required();
  verb.add_option("READING", arguments.readings, "Readings, or math objects as math:3; patterns with * and ?");
  verb.add_option("--with-inputs", arguments.with_inputs, "Math objects, and all readings that they are computed from")
      ->type_name("OBJECT");
  verb.add_flag("--reset", options.reset, "RESET each Average and Peak before the first sample");
  verb.add_option("-n", options.samples, "End after so many samples in all")->check(CheckCount)->type_name("N");
  verb.add_option("--for", options.seconds, "End after so many seconds")->check(CheckSeconds)->type_name("SEC");
  verb.add_option("--rotate-size", options.writer.rotate_bytes,
                  "Begin another file, NAME-2.jsonl, when one is as large (bytes; k, M, G)")
      ->check(CheckPartSize)
      ->transform(CLI::AsSizeValue(true).description(""))
      ->type_name("SIZE");
  verb.add_option("--rotate-time", arguments.rotate_seconds, "Begin another file when one covers so many seconds")
      ->check(CheckSeconds)
      ->type_name("SEC");
  verb.add_flag("--force", options.writer.replace, "Replace files that are there");
  verb.add_option("--comment", options.writer.comment, "A text for the first line")->type_name("TEXT");
}

}  // namespace

void DefineRecord(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("record", "Records readings into a file, until Ctrl-C");
  verb->footer(kRecordFooter);
  const auto arguments = std::make_shared<RecordArguments>();
  DefineRecordOptions(*verb, *arguments);
  verb->callback([&command, arguments] {
    if (arguments->readings.empty() && arguments->with_inputs.empty())
      throw CLI::RequiredError("READING or --with-inputs");
    command.ends_on_signal = true;
    command.run = [arguments](const Session& session) { Record(session, *arguments); };
  });
}

}  // namespace Lumenar::Mathctl
