// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>

#include "judge/verify/Report.h"
#include "recording/text_forms.h"

namespace Lumenar::Judge {
namespace {

using nlohmann::ordered_json;

constexpr const char* kRemarkNames[Remark::kKinds] = {"unexplained", "missing", "reset_assumed", "order"};

std::string JsonTime(std::int64_t time_ns) { return Recording::TimeText(time_ns); }

ordered_json JsonOfFile(const FileReport& file) {
  return {{"path", file.path},
          {"sha256", file.sha256},
          {"part", file.part},
          {"content_sha256", file.content_sha256},
          {"started", JsonTime(file.started_ns)},
          {"recorded_by", file.recorded_by},
          {"comment", file.comment},
          {"samples", file.samples},
          {"lost", file.lost},
          {"problem", file.problem}};
}

ordered_json JsonOfRemarks(const Findings& findings, Remark::Kind kind) {
  ordered_json remarks = ordered_json::array();
  for (const Remark& remark : findings.Remarks()) {
    if (remark.kind != kind) continue;
    const char* number = kind == Remark::Missing ? "sample" : "result";
    remarks.push_back({{number, remark.number}, {"time", JsonTime(remark.time_ns)}, {"text", remark.text}});
  }
  return remarks;
}

ordered_json JsonOfObject(const ObjectReport& object) {
  const Findings& findings = object.findings;
  ordered_json json{{"name", object.name},
                    {"type", object.type},
                    {"inputs", object.inputs},
                    {"verdict", VerdictOf(object)},
                    {"results", object.results},
                    {"samples", object.samples},
                    {"checked", findings.Checked()},
                    {"not_checked", findings.Unchecked()},
                    {"not_checked_by_reason", findings.UncheckedBy()},
                    {"refused_by_reason", findings.RefusedBy()},
                    {"problem", object.problem},
                    {"found_out", object.guessed},
                    {"search_bounded", object.bounded},
                    {"interrupted", object.interrupted},
                    {"interruptions", object.interruptions}};
  for (int kind = 0; kind < Remark::kKinds; ++kind) {
    const auto remark = static_cast<Remark::Kind>(kind);
    json[kRemarkNames[kind]] = findings.CountOf(remark);
    json[std::string(kRemarkNames[kind]) + "_list"] = JsonOfRemarks(findings, remark);
  }
  return json;
}

}  // namespace

std::string JsonOf(const Report& report) {
  ordered_json files = ordered_json::array();
  for (const FileReport& file : report.files) files.push_back(JsonOfFile(file));
  ordered_json objects = ordered_json::array();
  for (const ObjectReport& object : report.objects) objects.push_back(JsonOfObject(object));
  const ordered_json json{{"proven", report.IsProven()},
                          {"checked", JsonTime(report.checked_ns)},
                          {"version", report.workplace.version},
                          {"compiler", report.workplace.compiler},
                          {"processor", report.workplace.processor},
                          {"c_library", report.workplace.c_library},
                          {"mpfr", report.workplace.mpfr},
                          {"assumes_resets", report.assumes_resets},
                          {"notes", report.notes},
                          {"files", std::move(files)},
                          {"objects", std::move(objects)}};
  return json.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace Lumenar::Judge
