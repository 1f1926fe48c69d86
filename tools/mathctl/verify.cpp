// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <cerrno>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "client/Error.h"
#include "client/Text.h"
#include "judge/verify/RecordingCheck.h"
#include "platform/signals/Signals.h"
#include "tools/mathctl/Progress.h"
#include "tools/mathctl/RowWriter.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/file_errors.h"

namespace Lumenar::Mathctl {
namespace {

struct VerifyArguments {
  std::vector<std::string> files;
  std::string report;
  std::string json;
  bool strict = false;
};

/// Errors   std::system_error, "PATH: reason".
void WriteReport(const std::string& path, const std::string& text) {
  errno = 0;
  std::ofstream stream(path, std::ios::binary | std::ios::trunc);
  stream << text;
  stream.close();
  if (!stream) throw std::system_error(errno, std::generic_category(), path);
}

std::string ProgressText(std::size_t read, std::size_t all) {
  const double percent = all == 0 ? 100.0 : 100.0 * static_cast<double>(read) / static_cast<double>(all);
  return fmt::format("{:.0f} % of {:.1f} MB", percent, static_cast<double>(all) / 1e6);
}

Judge::Report CheckRecording(const Session& session, const VerifyArguments& arguments) {
  Judge::SearchLimits limits;
  limits.assume_resets = !arguments.strict;
  Judge::RecordingCheck check(limits);
  Progress progress(session.options.quiet);
  check.on_progress = [&progress](std::size_t read, std::size_t all) {
    Signals::ThrowIfPending();
    if (progress.IsDue()) progress.Show(ProgressText(read, all));
  };
  return check.Run(arguments.files);
}

void WriteVerdicts(const Session& session, const Judge::Report& report) {
  if (session.options.quiet) return;
  RowWriter rows(session.options,
                 {"OBJECT", "TYPE", "RESULTS", "CHECKED", "NOT CHECKED", "DIFFER", "MISSING", "VERDICT"});
  for (const Judge::ObjectReport& object : report.objects) {
    const Judge::Findings& findings = object.findings;
    const auto differ = findings.CountOf(Judge::Remark::Unexplained);
    const auto missing = findings.CountOf(Judge::Remark::Missing);
    const std::string verdict = Judge::VerdictOf(object);
    const std::string name = Client::Printable(object.name);
    const std::string type = Client::Printable(object.type);
    rows.Add({{"object", name},
              {"type", type},
              {"results", object.results},
              {"checked", findings.Checked()},
              {"not_checked", findings.Unchecked()},
              {"differ", differ},
              {"missing", missing},
              {"resets_assumed", findings.CountOf(Judge::Remark::Reset)},
              {"other_order", findings.CountOf(Judge::Remark::Order)},
              {"search_bounded", object.bounded},
              {"verdict", verdict}},
             {name, type, std::to_string(object.results), std::to_string(findings.Checked()),
              std::to_string(findings.Unchecked()), std::to_string(differ), std::to_string(missing), verdict});
  }
  rows.Finish();
}

std::string FirstOf(const Judge::ObjectReport& object, Judge::Remark::Kind kind, const char* what) {
  for (const Judge::Remark& remark : object.findings.Remarks()) {
    if (remark.kind == kind) return fmt::format("{} {}: {}", what, remark.number, remark.text);
  }
  return {};
}

std::string ProblemOf(const Judge::ObjectReport& object) {
  if (!object.problem.empty()) return object.problem;
  const std::string unexplained = FirstOf(object, Judge::Remark::Unexplained, "result");
  if (!unexplained.empty()) return unexplained;
  const std::string missing = FirstOf(object, Judge::Remark::Missing, "sample");
  if (!missing.empty()) return missing;
  const auto& reasons = object.findings.UncheckedBy();
  if (object.results == 0) return "the recording has no result of it";
  return reasons.empty() ? "no result could be checked" : "no result could be checked: " + reasons.begin()->first;
}

/// What is not proven, in one line.
std::string ComplaintOf(const Judge::Report& report) {
  for (const Judge::FileReport& file : report.files) {
    if (!file.problem.empty()) return "the recording is not whole: " + file.problem;
  }
  for (const Judge::ObjectReport& object : report.objects) {
    if (object.Differs())
      return fmt::format("{} differs: {}{}", object.name, ProblemOf(object),
                         object.bounded > 0 ? "; more orders of its samples were possible than were followed" : "");
  }
  for (const Judge::ObjectReport& object : report.objects) {
    if (!object.IsExplained()) return fmt::format("{} was not checked: {}", object.name, ProblemOf(object));
  }
  for (const Judge::ObjectReport& object : report.objects) {
    if (!report.assumes_resets && object.interrupted > 0)
      return fmt::format("{} is not proven without a gap: {} of {} results not checked; {}", object.name,
                         object.findings.Unchecked(), object.results, object.interruptions.front());
  }
  return "there is no math object in this recording (record FILE --with-inputs math:0 makes one that has)";
}

void Verify(const Session& session, const VerifyArguments& arguments) {
  const Judge::Report report = WithFiles([&] {
    Judge::Report checked = CheckRecording(session, arguments);
    if (!arguments.report.empty()) WriteReport(arguments.report, Judge::MarkdownOf(checked));
    if (!arguments.json.empty()) WriteReport(arguments.json, Judge::JsonOf(checked));
    return checked;
  });
  WriteVerdicts(session, report);
  if (!report.IsProven()) {
    throw Client::Error(Client::ErrorKind::Refused, Client::Printable(ComplaintOf(report)));
  }
}

constexpr const char* kVerifyFooter =
    "Each result in the recording is computed again from the recorded samples, by a plain implementation of the rules\n"
    "that shares no arithmetic with the engine, and compared bit by bit. Exit code 0: every result that could be "
    "checked\n"
    "came out, of each object at least one; 1: something differs, is missing or could not be checked.\n"
    "\n"
    "Example:\n"
    "  mathctl record proof.jsonl --with-inputs math:3 --reset -n 1000\n"
    "  mathctl verify proof.jsonl --report proof.md --json proof.json\n"
    "\n"
    "What this proves, and what it does not, is told by the page verify.";

}  // namespace

void DefineVerify(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("verify", "Computes a recording again and compares it bit by bit");
  verb->footer(kVerifyFooter);
  const auto arguments = std::make_shared<VerifyArguments>();
  verb->add_option("FILE", arguments->files, "A recording; it is followed into its further parts")->required();
  verb->add_option("--report", arguments->report, "Write a report for people, in Markdown, to this file");
  verb->add_option("--json", arguments->json, "Write the report for programs, as JSON, to this file");
  verb->add_flag("--strict", arguments->strict, "Assume no RESET that nobody recorded, and accept no gap");
  verb->callback([&command, arguments] {
    command.ends_on_signal = true;
    command.run = [arguments](const Session& session) { Verify(session, *arguments); };
  });
}

}  // namespace Lumenar::Mathctl
