// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "platform/records/SampleRecord.h"

namespace Lumenar::Recording {

/// The number of the file format, "lumenar_recording" in its first line; docs/recordings.md describes it.
inline constexpr int kFormat = 1;

/// A recording that cannot be read: "FILE:LINE: reason".
class RecordingError : public std::runtime_error {
 public:
  RecordingError(const std::string& path, std::size_t line, const std::string& reason)
      : std::runtime_error(path + ":" + std::to_string(line) + ": " + reason), line_(line) {}
  std::size_t Line() const noexcept { return line_; }

 private:
  std::size_t line_;
};

/// What the first line of a recording tells. Times are nanoseconds since the epoch (UTC) everywhere.
struct Header {
  int format = kFormat;
  std::string version;          ///< of the software that recorded
  std::int64_t started_ns = 0;  ///< when this file was begun
  std::string comment;          ///< by whoever recorded; often empty
  std::uint32_t part = 1;       ///< of a recording in several files, from 1
  std::string continues;        ///< digest of the part before; empty in the first
  friend bool operator==(const Header&, const Header&) = default;
};

/// The math object whose result a reading is.
struct ObjectInfo {
  std::int32_t id = 0;
  std::string type;                 ///< "Subtract" ...
  std::vector<std::string> inputs;  ///< names of readings, as ReadingInfo::name, in the order of the operands
  std::int32_t size = 0;            ///< SIZE of an Average when this line was written; 0 of all others
  friend bool operator==(const ObjectInfo&, const ObjectInfo&) = default;
};

/// A recorded reading. Texts are UTF-8; a name of other bytes stands in its printable form.
struct ReadingInfo {
  std::uint32_t index = 0;  ///< by which samples and events refer to it; 0, 1, 2 ... in the order of the file
  std::string name;         ///< "PROBE/1/WAKEUP"; the result of a math object "math:3"; no two are the same in a file
  std::string engine;       ///< "PROBE/1"
  std::string item;         ///< "WAKEUP"
  std::string kind;         ///< "BasicTrace", "ValueDouble", "long", "boolean"
  std::string topic;
  std::optional<ObjectInfo> object;
  friend bool operator==(const ReadingInfo&, const ReadingInfo&) = default;
};

/// One sample as it came, every bit of its record. The order in the file is that of arrival at the recorder: exact for
/// the samples of one reading; of two readings, what the engine saw may have come in another order.
struct Sample {
  std::uint32_t reading = 0;
  std::int64_t time_ns = 0;  ///< of arrival
  Corvanta::SampleRecord record;
  bool present = false;  ///< was not published then: what the reading held when its recording began
};

enum class EventKind {
  Size,     ///< SIZE of the reading's object was set; `value` is the new one
  Reset,    ///< RESET of the reading's object by the recorder; it took `value` ns, somewhere within which it happened
  Created,  ///< the reading's object was created while the recording ran: it starts empty here
  Deleted,  ///< the reading's object is gone
  Lost,     ///< `value` samples of the reading (of whatever readings, without one) were lost here
  Gap,      ///< samples of the reading (of all, without one) may be missing here; `text` says why
};

/// Something that happened between two samples.
struct Event {
  EventKind kind = EventKind::Lost;
  std::int64_t time_ns = 0;
  std::optional<std::uint32_t> reading;
  std::int64_t value = 0;
  std::string text;
  std::optional<std::int64_t> since_ns = {};  ///< of Lost and Gap: up to here nothing was missing; else up to `time_ns`
  friend bool operator==(const Event&, const Event&) = default;
};

/// What the last line of a whole recording tells.
struct End {
  std::int64_t time_ns = 0;
  std::uint64_t lines = 0;    ///< before this one
  std::uint64_t samples = 0;  ///< in this file
  std::uint64_t lost = 0;     ///< samples that did not get in, as far as the recorder knows
  std::string next;           ///< file name of the next part; empty in the last
  std::string sha256;         ///< of all bytes before this line, uncompressed, in hexadecimal digits
  friend bool operator==(const End&, const End&) = default;
};

/// What stands between the first and the last line.
using Entry = std::variant<ReadingInfo, Sample, Event>;

/// Whether two records are the same in every bit: of not-a-numbers their payload, of zeros their sign.
bool SameBits(const Corvanta::SampleRecord& a, const Corvanta::SampleRecord& b);

}  // namespace Lumenar::Recording
