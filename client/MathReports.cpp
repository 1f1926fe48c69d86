// SPDX-License-Identifier: Apache-2.0
// What math objects report of themselves, and what each has by name.
#include <fmt/format.h>

#include <utility>

#include "client/MathObjects.h"
#include "client/Text.h"
#include "client/TopicNames.h"

namespace Lumenar::Client {
namespace {

InputReport InputFrom(const Corvanta::MathFactory::InputReport& told) {
  InputReport input;
  input.topic = told.topic.in();
  input.samples = told.samples;
  if (told.samples > 0) input.age = std::chrono::microseconds(told.age_us);
  input.away = told.away;
  input.handle = told.handle;
  return input;
}

MathReport ReportFrom(const Corvanta::MathFactory::MathReport& told) {
  MathReport report;
  report.id = told.id;
  report.type = told.type.in();
  report.inputs.reserve(told.inputs.length());
  for (CORBA::ULong i = 0; i < told.inputs.length(); ++i) report.inputs.push_back(InputFrom(told.inputs[i]));
  report.result_topic = told.result_topic.in();
  report.kind = told.result_kind.in();
  report.units = told.units;
  report.points = told.points;
  report.size = told.size;
  report.filled = told.filled;
  report.results = told.results;
  report.interval = std::chrono::duration<double, std::micro>(told.interval_us);
  if (told.results > 0) report.age = std::chrono::microseconds(told.age_us);
  report.refusing = told.refusing;
  report.refused = told.refusals.refused;
  report.last_reason = told.refusals.last_reason.in();
  return report;
}

// Engines of the first version cannot be asked for reports.
template <class Ask>
auto AskForReport(const std::string& engine, CORBA::Object_ptr factory, Ask ask) {
  return Remote("math engine " + Printable(engine), factory, kEngineAdvice, [&] {
    try {
      return ask();
    } catch (const CORBA::BAD_OPERATION&) {
      throw Error(ErrorKind::Refused, engine + ": its version is too old to report of its objects");
    }
  });
}

template <class Attribute>
bool Is(Corvanta::EngineReadingBase_ptr reading) {
  return !CORBA::is_nil(typename Attribute::_var_type(Attribute::_narrow(reading)));
}

// By asking the reading; false when it does not answer.
bool FillKind(Reading& reading) {
  try {
    return Remote(FullName(reading.name), reading.reference, kEngineAdvice, [&] {
      const Corvanta::TypeInfo_var info = reading.reference->CORBA_Type();
      reading.name.item = info->name.in();
      reading.type_name = info->type_name.in();
      reading.settable = reading.type_name == "enum" || reading.type_name == "void" ||
                         Is<Corvanta::EngineAttribLong>(reading.reference) ||
                         Is<Corvanta::EngineAttribValueDouble>(reading.reference);
      return true;
    });
  } catch (const Error&) {
    return false;
  }
}

Corvanta::EngineReadingBase_var ItemOf(const MathObject& object, const std::string& name) {
  if (SameLetters(name, "RESULT")) return Corvanta::EngineReadingBase_var(object.reference->AttrResult());
  Corvanta::EngineReadingBase_var item;
  const Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(object.reference);
  if (CORBA::is_nil(average)) return item;
  if (SameLetters(name, "SIZE")) item = average->AttrSize();
  if (SameLetters(name, "FULL")) item = average->AttrFull();
  return item;
}

}  // namespace

std::vector<MathReport> MathObjects::Reports() {
  const auto told =
      AskForReport(engine_, factory_, [&] { return Corvanta::MathFactory::MathReportSeq_var(factory_->ReportMath()); });
  std::vector<MathReport> reports;
  reports.reserve(told->length());
  for (CORBA::ULong i = 0; i < told->length(); ++i) reports.push_back(ReportFrom(told.in()[i]));
  return reports;
}

MathReport MathObjects::Report(std::int32_t id) {
  const MathObject object = Get(id);
  const auto told = AskForReport(engine_, factory_,
                                 [&] { return Corvanta::MathFactory::MathReport_var(object.reference->Report()); });
  return ReportFrom(told.in());
}

std::vector<Reading> MathObjects::Inputs(std::int32_t id) {
  const MathObject object = Get(id);
  const MathReport report = Report(id);
  const auto references = AskForReport(
      engine_, factory_, [&] { return Corvanta::MathFactory::ReadingAttribSeq_var(object.reference->AttrInputs()); });
  std::vector<Reading> inputs;
  for (CORBA::ULong i = 0; i < references->length() && i < report.inputs.size(); ++i) {
    const std::string& topic = report.inputs[i].topic;
    Reading input{ReadingOfTopic(topic), "", false, topic, Corvanta::EngineReadingBase::_duplicate(references.in()[i])};
    FillKind(input);
    inputs.push_back(std::move(input));
  }
  return inputs;
}

Reading MathObjects::Item(std::int32_t id, const std::string& name) {
  const MathObject object = Get(id);
  Reading reading;
  reading.reference =
      Remote("math engine " + Printable(engine_), factory_, kEngineAdvice, [&] { return ItemOf(object, name); });
  if (CORBA::is_nil(reading.reference)) {
    const bool average = object.type == "Average";
    throw Error(ErrorKind::BadArgument,
                fmt::format("math object {} is {} {}: it has {}, but no {}", id, average ? "an" : "a",
                            Printable(object.type), average ? "RESULT, SIZE and FULL" : "a RESULT", Printable(name)));
  }
  reading.topic = Remote("math engine " + Printable(engine_), factory_, kEngineAdvice,
                         [&] { return std::string(CORBA::String_var(reading.reference->DDS_Value()).in()); });
  reading.name = ReadingOfTopic(reading.topic);
  if (!FillKind(reading)) throw Error(ErrorKind::Unreachable, FullName(reading.name) + ": did not answer");
  return reading;
}

}  // namespace Lumenar::Client
