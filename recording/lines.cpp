// SPDX-License-Identifier: Apache-2.0
#include "recording/lines.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

#include "recording/Digest.h"
#include "recording/text_forms.h"

namespace Lumenar::Recording {
namespace {

using Corvanta::SampleRecord;
using Corvanta::BASIC_TRACE::BT_DATA;
using nlohmann::json;
using nlohmann::ordered_json;
using Scalar = Corvanta::VALUE_DOUBLE::VALUE;

constexpr std::string_view kCrcMark = ",\"crc\":\"";
constexpr std::size_t kCrcDigits = 8;
constexpr std::size_t kMostValues = 4096;  // in one line
constexpr int kDeepest = 4;
constexpr const char* kEventNames[] = {"size", "reset", "created", "deleted", "lost", "gap"};

std::string Sealed(const ordered_json& fields) {
  std::string text = fields.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
  text.pop_back();  // the closing brace
  return SealedLine(std::move(text));
}

/// A reason that may quote the file, so that it can be shown.
std::string Showable(std::string reason) {
  for (char& c : reason) c = c >= ' ' && c <= '~' ? c : '?';
  if (reason.size() > 120) reason.resize(120);
  return reason;
}

/// What stands before the CRC, with the brace that closes it.
std::string Unsealed(std::string_view line) {
  const std::size_t tail = kCrcMark.size() + kCrcDigits + 2;
  if (line.size() <= tail || line.substr(line.size() - tail, kCrcMark.size()) != kCrcMark ||
      line.substr(line.size() - 2) != "\"}")
    throw std::invalid_argument("is no line of a recording: it does not end in its CRC");
  const std::string_view fields = line.substr(0, line.size() - tail);
  const std::string crc = CrcText(fields);
  if (line.substr(line.size() - 2 - kCrcDigits, kCrcDigits) != crc)
    throw std::invalid_argument("is damaged: its CRC does not fit");
  return std::string(fields) + '}';
}

/// JSON of the few and flat values that lines have; a hostile line costs no more memory than it is long.
json ParseFlat(const std::string& text) {
  std::size_t values = 0;
  const auto limit = [&values](int depth, json::parse_event_t, const json&) {
    if (depth > kDeepest || ++values > kMostValues)
      throw std::invalid_argument("is nested too deep, or too many values");
    return true;
  };
  try {
    json parsed = json::parse(text, limit);
    if (!parsed.is_object()) throw std::invalid_argument("is no JSON object");
    return parsed;
  } catch (const json::exception&) {
    throw std::invalid_argument("is not JSON");
  }
}

/// The fields of a line, each of the type and range that is asked for.
class Fields {
 public:
  explicit Fields(const json& object) : object_(object) {}

  bool Has(const char* name) const { return object_.contains(name); }

  const json& At(const char* name) const {
    const auto found = object_.find(name);
    if (found == object_.end()) throw std::invalid_argument(fmt::format("has no \"{}\"", name));
    return *found;
  }

  const std::string& Text(const char* name) const {
    const json& field = At(name);
    if (!field.is_string()) throw std::invalid_argument(fmt::format("\"{}\" is not a text", name));
    return field.get_ref<const std::string&>();
  }

  std::string TextOrEmpty(const char* name) const { return Has(name) ? Text(name) : std::string(); }

  template <class T>
  T Integer(const char* name) const {
    return IntegerIn<T>(At(name), name);
  }

  template <class T>
  static T IntegerIn(const json& field, const char* name) {
    if (field.is_number_unsigned() && field.get<std::uint64_t>() <= std::uint64_t{std::numeric_limits<T>::max()})
      return static_cast<T>(field.get<std::uint64_t>());
    if (field.is_number_integer() && !field.is_number_unsigned() && std::numeric_limits<T>::is_signed &&
        field.get<std::int64_t>() >= static_cast<std::int64_t>(std::numeric_limits<T>::min()))
      return static_cast<T>(field.get<std::int64_t>());
    throw std::invalid_argument(fmt::format("\"{}\" is not a whole number that it can be", name));
  }

  template <class Read>
  auto As(const char* name, Read read) const {
    try {
      return read(At(name));
    } catch (const std::invalid_argument& reason) {
      throw std::invalid_argument(fmt::format("\"{}\": {}", name, Showable(reason.what())));
    }
  }

  double Number(const char* name) const { return As(name, NumberFromJson); }

  std::int64_t Time(const char* name) const {
    const std::string& text = Text(name);
    return As(name, [&](const json&) { return TimeFromText(text); });
  }

 private:
  const json& object_;
};

void PutUnits(ordered_json& line, const Corvanta::VALUE_UNITS::Units& units) {
  line["units"] = UnitsText(units);
  if (ordered_json fields = UnitsFields(units); !fields.is_null()) line["units_fields"] = std::move(fields);
}

Corvanta::VALUE_UNITS::Units TakeUnits(const Fields& fields) {
  if (fields.Has("units_fields")) return fields.As("units_fields", UnitsFromFields);
  const std::string& text = fields.Text("units");
  return fields.As("units", [&](const json&) { return UnitsFromText(text); });
}

void Put(ordered_json&, std::monostate) { throw std::invalid_argument("a record of no kind cannot be recorded"); }
void Put(ordered_json& line, CORBA::Long number) { line["long"] = number; }
void Put(ordered_json& line, bool truth) { line["boolean"] = truth; }

void Put(ordered_json& line, const Scalar& value) {
  line["value"] = NumberJson(value.val);
  line["minus_err"] = NumberJson(value.minus_err);
  line["plus_err"] = NumberJson(value.plus_err);
  PutUnits(line, value.units);
}

void Put(ordered_json& line, const BT_DATA& trace) {
  line["sequence_number"] = trace.sequence_number;
  const std::uint64_t captured_ns = std::uint64_t{trace.header[0]} << 32 | trace.header[1];
  if (captured_ns != 0 && captured_ns <= std::uint64_t{std::numeric_limits<std::int64_t>::max()})
    line["captured"] = TimeText(static_cast<std::int64_t>(captured_ns));
  line["flags"] = trace.flags;
  line["header"] = std::vector<std::uint32_t>(std::begin(trace.header), std::end(trace.header));
  PutUnits(line, trace.units);
  line["x_step"] = NumberJson(trace.x_step);
  line["points"] = trace.samples.length();
  line["trace"] = SamplesText(trace.samples.get_buffer(), trace.samples.length());
}

void TakeHeader(BT_DATA& trace, const Fields& fields) {
  const json& words = fields.At("header");
  if (!words.is_array() || words.size() != std::size(trace.header))
    throw std::invalid_argument(fmt::format("\"header\" has not {} words", std::size(trace.header)));
  std::transform(words.begin(), words.end(), std::begin(trace.header),
                 [](const json& word) { return Fields::IntegerIn<std::uint32_t>(word, "header"); });
}

BT_DATA TraceFrom(const Fields& fields) {
  BT_DATA trace{};
  trace.sequence_number = fields.Integer<std::uint32_t>("sequence_number");
  trace.flags = fields.Integer<std::uint32_t>("flags");
  TakeHeader(trace, fields);
  trace.units = TakeUnits(fields);
  trace.x_step = fields.Number("x_step");
  const std::vector<float> samples = SamplesFromText(fields.Text("trace"));
  if (samples.size() != fields.Integer<std::uint32_t>("points"))
    throw std::invalid_argument("\"points\" is not the number of points of the trace");
  trace.samples.length(static_cast<CORBA::ULong>(samples.size()));
  std::copy(samples.begin(), samples.end(), trace.samples.get_buffer());
  return trace;
}

Scalar ScalarFrom(const Fields& fields) {
  Scalar value{};
  value.val = fields.Number("value");
  value.minus_err = fields.Number("minus_err");
  value.plus_err = fields.Number("plus_err");
  value.units = TakeUnits(fields);
  return value;
}

SampleRecord RecordFrom(const Fields& fields) {
  if (fields.Has("trace")) return SampleRecord(std::in_place_type<BT_DATA>, TraceFrom(fields));
  if (fields.Has("value")) return SampleRecord(std::in_place_type<Scalar>, ScalarFrom(fields));
  if (fields.Has("long")) return SampleRecord(std::in_place_type<CORBA::Long>, fields.Integer<std::int32_t>("long"));
  const json& truth = fields.At("boolean");
  if (!truth.is_boolean()) throw std::invalid_argument("\"boolean\" is neither true nor false");
  return SampleRecord(std::in_place_type<bool>, truth.get<bool>());
}

ObjectInfo ObjectFrom(const json& object) {
  if (!object.is_object()) throw std::invalid_argument("is no object");
  const Fields fields(object);
  ObjectInfo info{fields.Integer<std::int32_t>("id"), fields.Text("type"), {}, fields.Integer<std::int32_t>("size")};
  const json& inputs = fields.At("inputs");
  if (!inputs.is_array()) throw std::invalid_argument("\"inputs\" is no list");
  for (const json& input : inputs) {
    if (!input.is_string()) throw std::invalid_argument("an input is not a text");
    info.inputs.push_back(input.get<std::string>());
  }
  return info;
}

ReadingInfo ReadingFrom(const Fields& fields) {
  ReadingInfo reading{fields.Integer<std::uint32_t>("reading"),
                      fields.Text("name"),
                      fields.Text("engine"),
                      fields.Text("item"),
                      fields.Text("kind"),
                      fields.Text("topic"),
                      std::nullopt};
  if (fields.Has("object")) reading.object = fields.As("object", ObjectFrom);
  return reading;
}

Sample SampleFrom(const Fields& fields) {
  return {fields.Integer<std::uint32_t>("r"), fields.Time("t"), RecordFrom(fields), fields.Has("present")};
}

Event EventFrom(const Fields& fields) {
  const std::string& name = fields.Text("event");
  const auto* found = std::find(std::begin(kEventNames), std::end(kEventNames), name);
  if (found == std::end(kEventNames)) throw std::invalid_argument("is an event that is not known");
  Event event;
  event.kind = static_cast<EventKind>(found - std::begin(kEventNames));
  event.time_ns = fields.Time("t");
  if (fields.Has("r")) event.reading = fields.Integer<std::uint32_t>("r");
  event.value = fields.Integer<std::int64_t>("number");
  event.text = fields.TextOrEmpty("text");
  if (fields.Has("since")) event.since_ns = fields.Time("since");
  return event;
}

Header HeaderFrom(const Fields& fields) {
  Header header;
  header.format = fields.Integer<std::int32_t>("lumenar_recording");
  if (header.format != kFormat)
    throw std::invalid_argument(fmt::format("is of format {}; this program reads {}", header.format, kFormat));
  header.version = fields.Text("version");
  header.started_ns = fields.Time("started");
  header.comment = fields.TextOrEmpty("comment");
  header.part = fields.Integer<std::uint32_t>("part");
  header.continues = fields.TextOrEmpty("continues");
  return header;
}

End EndFrom(const Fields& fields) {
  return {fields.Time("end"),
          fields.Integer<std::uint64_t>("lines"),
          fields.Integer<std::uint64_t>("samples"),
          fields.Integer<std::uint64_t>("lost"),
          fields.TextOrEmpty("next"),
          fields.Text("sha256")};
}

}  // namespace

std::string SealedLine(std::string fields) {
  const std::string crc = CrcText(fields);
  fields.append(kCrcMark).append(crc).append("\"}\n");
  return fields;
}

std::string LineOf(const Header& header) {
  ordered_json line{{"lumenar_recording", header.format},
                    {"version", header.version},
                    {"started", TimeText(header.started_ns)},
                    {"part", header.part}};
  if (!header.continues.empty()) line["continues"] = header.continues;
  if (!header.comment.empty()) line["comment"] = header.comment;
  return Sealed(line);
}

std::string LineOf(const ReadingInfo& reading) {
  ordered_json line{{"reading", reading.index}, {"name", reading.name}, {"engine", reading.engine},
                    {"item", reading.item},     {"kind", reading.kind}, {"topic", reading.topic}};
  if (reading.object) {
    line["object"] = {{"id", reading.object->id},
                      {"type", reading.object->type},
                      {"inputs", reading.object->inputs},
                      {"size", reading.object->size}};
  }
  return Sealed(line);
}

std::string LineOf(const Sample& sample) {
  ordered_json line{{"r", sample.reading}, {"t", TimeText(sample.time_ns)}};
  if (sample.present) line["present"] = true;
  std::visit([&line](const auto& held) { Put(line, held); }, sample.record);
  return Sealed(line);
}

std::string LineOf(const Event& event) {
  ordered_json line{{"event", kEventNames[static_cast<std::size_t>(event.kind)]}, {"t", TimeText(event.time_ns)}};
  if (event.reading) line["r"] = *event.reading;
  line["number"] = event.value;
  if (!event.text.empty()) line["text"] = event.text;
  if (event.since_ns) line["since"] = TimeText(*event.since_ns);
  return Sealed(line);
}

std::string LineOf(const End& end) {
  ordered_json line{{"end", TimeText(end.time_ns)}, {"lines", end.lines}, {"samples", end.samples}, {"lost", end.lost}};
  if (!end.next.empty()) line["next"] = end.next;
  line["sha256"] = end.sha256;
  return Sealed(line);
}

ParsedLine ParseLine(std::string_view line) {
  const json object = ParseFlat(Unsealed(line));
  const Fields fields(object);
  if (fields.Has("t")) {
    if (fields.Has("event")) return EventFrom(fields);
    return SampleFrom(fields);
  }
  if (fields.Has("reading")) return ReadingFrom(fields);
  if (fields.Has("lumenar_recording")) return HeaderFrom(fields);
  if (fields.Has("end")) return EndFrom(fields);
  throw std::invalid_argument("is no line of a recording: neither header, reading, sample, event nor end");
}

}  // namespace Lumenar::Recording
