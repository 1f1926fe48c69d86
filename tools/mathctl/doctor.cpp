// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>

#include "client/Diagnosis.h"
#include "platform/base/Diagnostic.h"
#include "tools/mathctl/RowWriter.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/table.h"

namespace Lumenar::Mathctl {
namespace {

using Client::Finding;
using Client::Verdict;

struct DoctorArguments {
  std::string reading;
  double count_s = 1;
};

const char* WordOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::Well: return "well";
    case Verdict::Look: return "look";
    case Verdict::Fails: return "FAILS";
  }
  return "";
}

void WriteObjects(const Session& session, const std::vector<Finding>& findings) {
  RowWriter writer(session.options, {});
  for (const Finding& finding : findings) {
    writer.Add({{"part", finding.part},
                {"address", finding.address},
                {"verdict", finding.verdict == Verdict::Fails ? "fails" : WordOf(finding.verdict)},
                {"well", finding.verdict == Verdict::Well},
                {"text", finding.text},
                {"remedy", finding.remedy}},
               {});
  }
}

// A table, with what mends a part below its line.
void WriteFindings(const Session& session, const std::vector<Finding>& findings) {
  if (session.options.format != Format::Table) return WriteObjects(session, findings);
  std::vector<Row> rows;
  for (const Finding& finding : findings)
    rows.push_back({WordOf(finding.verdict), finding.part, finding.address, finding.text});
  const std::vector<std::string> lines = AlignedLines(rows);
  for (std::size_t i = 0; i < findings.size(); ++i) {
    WriteOut(lines[i]);
    if (!findings[i].remedy.empty()) WriteOut("       -> " + findings[i].remedy);
  }
}

void Doctor(const Session& session, const DoctorArguments& arguments) {
  Client::DiagnosisRequest request;
  request.factory = session.options.factory;
  request.reading = arguments.reading;
  const std::chrono::duration<double> count_for(arguments.count_s);
  request.count_for = std::chrono::ceil<std::chrono::milliseconds>(count_for);
  const std::vector<Finding> findings = Client::Diagnose(session.connection, request);
  WriteFindings(session, findings);
  const auto unwell = std::count_if(findings.begin(), findings.end(),
                                    [](const Finding& finding) { return finding.verdict != Verdict::Well; });
  if (unwell == 0) return;
  throw Client::Error(Client::ErrorKind::Unreachable,
                      fmt::format("{} of {} parts {} not well", unwell, findings.size(), unwell == 1 ? "is" : "are"));
}

}  // namespace

void DefineDoctor(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("doctor", "Says why no data come; exit code 3 when anything is not well");
  verb->footer(
      "Each line is a part of the platform: `well`, `look` (it works, but somebody should look at it, or it gives no\n"
      "data) or `FAILS`; where it is; what was found; and below, what mends it. With a READING only what this one "
      "needs\n"
      "is examined: its inputs, down to the instruments, and the way from there to here.\n"
      "\n"
      "Examples:\n"
      "  mathctl doctor\n"
      "  mathctl doctor math:3");
  const auto arguments = std::make_shared<DoctorArguments>();
  verb->add_option("READING", arguments->reading,
                   "Why does this one give nothing? A math object as math:3, or a reading");
  verb->add_option("--count", arguments->count_s, "Count the samples of instruments for so many seconds")
      ->type_name("SEC")
      ->check(CheckSeconds)
      ->capture_default_str();
  verb->callback(
      [&command, arguments] { command.run = [arguments](const Session& session) { Doctor(session, *arguments); }; });
}

}  // namespace Lumenar::Mathctl
