// SPDX-License-Identifier: Apache-2.0
#include "recording/RecordingWriter.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "platform/base/Version.h"
#include "recording/lines.h"

namespace Lumenar::Recording {

namespace {

Header HeaderOf(const WriterOptions& options, std::int64_t now_ns) {
  Header header;
  header.version = Version();
  header.comment = options.comment;
  header.started_ns = now_ns;
  return header;
}

}  // namespace

RecordingWriter::RecordingWriter(std::string path, WriterOptions options, std::int64_t now_ns)
    : RecordingWriter(std::move(path), options, HeaderOf(options, now_ns)) {}

RecordingWriter::RecordingWriter(std::string path, WriterOptions options, Header header)
    : first_path_(std::move(path)), options_(std::move(options)), path_(first_path_), header_(std::move(header)) {
  RequireNoOtherPart();
  Open(options_.replace ? OutputFile::Existing::Replaced : OutputFile::Existing::Refused);
}

// What a recording of before left would end this one when its turn comes.
void RecordingWriter::RequireNoOtherPart() const {
  const bool rotates = options_.rotate_bytes > 0 || options_.rotate_ns > 0;
  const std::string second = PartPath(first_path_, 2);
  std::error_code none;
  if (rotates && !options_.replace && std::filesystem::exists(second, none))
    throw std::system_error(EEXIST, std::generic_category(), second);
}

RecordingWriter::~RecordingWriter() = default;

void RecordingWriter::Open(OutputFile::Existing existing) {
  file_ = std::make_unique<OutputFile>(path_, existing);
  digest_ = std::make_unique<Digest>();
  lines_ = 0;
  samples_in_file_ = 0;
  lost_in_file_ = 0;
  WriteLine(LineOf(header_));
  for (const ReadingInfo& reading : readings_) WriteLine(LineOf(reading));
  Flush();  // who looks at the file finds a recording, however short
}

void RecordingWriter::WriteLine(const std::string& line) {
  digest_->Add(line);
  ++lines_;
  file_->Write(line);
}

std::uint32_t RecordingWriter::Add(ReadingInfo reading) {
  const bool known = std::any_of(readings_.begin(), readings_.end(),
                                 [&](const ReadingInfo& other) { return other.name == reading.name; });
  if (known) throw std::invalid_argument("reading " + reading.name + " is recorded already");
  reading.index = static_cast<std::uint32_t>(readings_.size());
  WriteLine(LineOf(reading));
  readings_.push_back(std::move(reading));
  return readings_.back().index;
}

void RecordingWriter::RequireReading(std::uint32_t reading) const {
  if (reading >= readings_.size()) throw std::invalid_argument(fmt::format("there is no reading {}", reading));
}

void RecordingWriter::Write(const Sample& sample) {
  RequireReading(sample.reading);
  const std::string line = LineOf(sample);
  RotateAt(sample.time_ns);
  WriteLine(line);
  ++samples_;
  ++samples_in_file_;
}

void RecordingWriter::Write(const Event& event) {
  if (event.reading) RequireReading(*event.reading);
  WriteLine(LineOf(event));
  if (event.kind == EventKind::Lost)
    lost_in_file_ += static_cast<std::uint64_t>(std::max<std::int64_t>(event.value, 0));
  if (event.kind == EventKind::Size && event.reading && readings_[*event.reading].object)
    readings_[*event.reading].object->size = static_cast<std::int32_t>(event.value);
}

void RecordingWriter::RotateAt(std::int64_t time_ns) {
  const bool large = options_.rotate_bytes > 0 && file_->Size() >= options_.rotate_bytes;
  const bool late = options_.rotate_ns > 0 && time_ns - header_.started_ns >= options_.rotate_ns;
  if (samples_in_file_ == 0 || (!large && !late)) return;
  const std::string next = PartPath(first_path_, header_.part + 1);
  header_.continues = digest_->Text();
  EndFile(time_ns, lost_in_file_, std::filesystem::path(next).filename().string());
  ++header_.part;
  header_.started_ns = time_ns;
  path_ = next;
  Open(options_.replace ? OutputFile::Existing::Replaced : OutputFile::Existing::Refused);
}

void RecordingWriter::EndFile(std::int64_t now_ns, std::uint64_t lost, const std::string& next) {
  file_->Write(LineOf(End{now_ns, lines_, samples_in_file_, lost, next, digest_->Text()}));
  file_->Close();
  bytes_ += std::exchange(file_, nullptr)->Size();
}

void RecordingWriter::Finish(std::int64_t now_ns, std::uint64_t lost, const std::string& next) {
  EndFile(now_ns, lost, next);
}

std::string PartPath(const std::string& path, std::uint32_t part) {
  if (part <= 1) return path;
  const std::size_t name = path.find_last_of('/') == std::string::npos ? 0 : path.find_last_of('/') + 1;
  const std::size_t ending = std::min(path.find('.', name + 1), path.size());
  return path.substr(0, ending) + '-' + std::to_string(part) + path.substr(ending);
}

}  // namespace Lumenar::Recording
