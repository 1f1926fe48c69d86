// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <algorithm>

#include "judge/verify/Report.h"
#include "recording/text_forms.h"

namespace Lumenar::Judge {
namespace {

/// Texts of others in a line of Markdown: what would mean something to it is put in front of a backslash.
std::string Plain(const std::string& text) {
  std::string plain;
  for (const char letter : text) {
    if (std::string("\\`*_{}[]<>#|!~").find(letter) != std::string::npos) plain += '\\';
    plain += letter == '\n' || letter == '\r' ? ' ' : letter;
  }
  return plain;
}

std::string PlainList(const std::vector<std::string>& texts) {
  std::string list;
  for (const std::string& text : texts) list += (list.empty() ? "" : ", ") + Plain(text);
  return list;
}

std::string Row(const std::string& what, const std::string& value) { return fmt::format("| {} | {} |\n", what, value); }

std::string HeadOf(const Report& report) {
  const Workplace& place = report.workplace;
  std::string text = "# Verification of a recording\n\n";
  text += report.IsProven() ? "**Every result that was checked came out bit for bit.**\n\n"
                            : "**Not proven: see what differs or could not be checked.**\n\n";
  text += "| | |\n|---|---|\n";
  text += Row("checked", Recording::TimeText(report.checked_ns));
  text += Row("by", fmt::format("version {}, {}, {}", Plain(place.version), Plain(place.compiler), place.processor));
  text += Row("libraries", fmt::format("C library {}, MPFR {}", Plain(place.c_library), Plain(place.mpfr)));
  text += Row("RESETs that nobody recorded",
              report.assumes_resets ? "assumed where they explain a result, and listed" : "not assumed");
  for (const std::string& note : report.notes) text += Row("note", Plain(note));
  return text + "\n";
}

std::string FileText(const FileReport& file) {
  std::string text = fmt::format("## File {}\n\n| | |\n|---|---|\n", Plain(file.path));
  text += Row("SHA-256 of the file", fmt::format("`{}`", file.sha256));
  text += Row("SHA-256 of its lines", file.content_sha256.empty() ? "none" : fmt::format("`{}`", file.content_sha256));
  text += Row("recorded", fmt::format("{}, version {}, part {}", Recording::TimeText(file.started_ns),
                                      Plain(file.recorded_by), file.part));
  if (!file.comment.empty()) text += Row("comment", Plain(file.comment));
  text += Row("samples", fmt::format("{}, and {} lost while recording", file.samples, file.lost));
  text += Row("whole", file.problem.empty() ? "yes" : "**no**: " + Plain(file.problem));
  return text + "\n";
}

std::string TableOf(const Report& report) {
  std::string text =
      "## Objects\n\n| object | operation | inputs | results | checked | not checked | unexplained | missing | verdict "
      "|\n"
      "|---|---|---|---|---|---|---|---|---|\n";
  for (const ObjectReport& object : report.objects) {
    const Findings& findings = object.findings;
    text += fmt::format("| {} | {} | {} | {} | {} | {} | {} | {} | {} |\n", Plain(object.name), Plain(object.type),
                        PlainList(object.inputs), object.results, findings.Checked(), findings.Unchecked(),
                        findings.CountOf(Remark::Unexplained), findings.CountOf(Remark::Missing), VerdictOf(object));
  }
  return text + "\n";
}

std::string ReasonsText(const char* what, const Findings::Reasons& reasons) {
  std::string text;
  for (const auto& [reason, count] : reasons) text += fmt::format("- {} {}: {}\n", count, what, Plain(reason));
  return text;
}

std::string RemarksText(const Findings& findings, Remark::Kind kind, const char* title, const char* what) {
  if (findings.CountOf(kind) == 0) return {};
  std::string text = fmt::format("\n{}: {}\n\n", title, findings.CountOf(kind));
  std::size_t shown = 0;
  for (const Remark& remark : findings.Remarks()) {
    if (remark.kind != kind) continue;
    ++shown;
    text +=
        fmt::format("- {} {}, {}: {}\n", what, remark.number, Recording::TimeText(remark.time_ns), Plain(remark.text));
  }
  if (shown < findings.CountOf(kind)) text += fmt::format("- and {} more\n", findings.CountOf(kind) - shown);
  return text;
}

std::string BoundsText(std::uint64_t results) {
  return fmt::format(
      "- the search was bounded at {} results: more orders were possible than are followed; a result that is not "
      "explained may have come from one of them\n",
      results);
}

std::string DetailsOf(const ObjectReport& object) {
  const Findings& findings = object.findings;
  std::string text = fmt::format("### {}\n\n", Plain(object.name));
  if (!object.problem.empty()) return text + fmt::format("Nothing was checked: {}.\n\n", Plain(object.problem));
  text += fmt::format("- {} of {} results came out bit for bit\n", findings.Checked(), object.results);
  text += ReasonsText("not checked", findings.UncheckedBy());
  text += ReasonsText("samples without a result, as the rules say", findings.RefusedBy());
  if (!object.guessed.empty()) text += fmt::format("- found out from a result: {}\n", Plain(object.guessed));
  if (findings.CountOf(Remark::Order) == 0) text += "- the order of arrival explains the results\n";
  if (object.bounded > 0 && object.Differs()) text += BoundsText(object.bounded);
  for (const std::string& reason : object.interruptions) text += fmt::format("- began anew: {}\n", Plain(reason));
  text += RemarksText(findings, Remark::Unexplained, "Results that the rules do not give", "result");
  text += RemarksText(findings, Remark::Missing, "Samples whose results are not in the recording", "sample");
  text += RemarksText(findings, Remark::Reset, "RESETs that were assumed", "result");
  text += RemarksText(findings, Remark::Order, "Results that another order than that of arrival explains", "result");
  return text + "\n";
}

}  // namespace

std::string MarkdownOf(const Report& report) {
  std::string text = HeadOf(report) + TableOf(report);
  for (const ObjectReport& object : report.objects) text += DetailsOf(object);
  for (const FileReport& file : report.files) text += FileText(file);
  text.erase(text.find_last_not_of('\n') + 1);
  return text + "\n";
}

}  // namespace Lumenar::Judge
