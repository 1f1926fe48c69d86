// SPDX-License-Identifier: Apache-2.0
#include "platform/wire/sample_wire.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <type_traits>
#include <vector>

namespace Corvanta {
namespace {

constexpr CORBA::ULong kMostBytes = 2048;
constexpr CORBA::ULong kMostMembers = 32;
constexpr int kMostNames = 8;
constexpr CORBA::ULong kIndirection = 0xffffffff;
constexpr CORBA::ULong kLastKind = CORBA::tk_local_interface;

[[noreturn]] void Lie() { throw CORBA::MARSHAL(0, CORBA::COMPLETED_NO); }

/// Reads type codes inside one encapsulation that is in memory. An encapsulation inside it begins at a multiple of four
/// as well, so alignment counts from the outermost.
class Cursor {
 public:
  Cursor(const CORBA::Octet* base, std::size_t size) : base_(base), end_(size) { ReadByteOrder(); }

  /// One that makes the padding in front of what it reads zero, in a type code that holds what it claims.
  static Cursor ThatClearsPadding(CORBA::Octet* base, std::size_t size) {
    Cursor cursor(base, size);
    cursor.padded_ = base;
    return cursor;
  }

  CORBA::ULong Ulong() {
    Align();
    Require(sizeof(CORBA::ULong));
    CORBA::ULong value;
    std::memcpy(&value, base_ + at_, sizeof value);
    at_ += sizeof value;
    return swap_ ? cdrStream::byteSwap(value) : value;
  }

  std::string_view Text() {
    const CORBA::ULong length = Ulong();
    Require(length);
    if (length == 0 || base_[at_ + length - 1] != 0) Lie();
    const std::string_view text(reinterpret_cast<const char*>(base_ + at_), length - 1);
    at_ += length;
    return text;
  }

  /// The encapsulation that begins here; this cursor goes on behind it.
  Cursor Enter() {
    const CORBA::ULong length = Ulong();
    Require(length);
    Cursor inner = *this;
    inner.end_ = at_ + length;
    inner.ReadByteOrder();
    at_ += length;
    return inner;
  }

  /// The earlier type code to which the indirection whose offset comes next refers.
  Cursor Referred() {
    const std::size_t from = at_;
    const auto offset = static_cast<CORBA::Long>(Ulong());
    const std::int64_t to = static_cast<std::int64_t>(from) + offset;
    if (offset >= 0 || to < 0) Lie();
    Cursor target = *this;
    target.at_ = static_cast<std::size_t>(to);
    return target;
  }

  /// Whether so many members of a struct can follow: each has a name and a type.
  bool CanHoldMembers(CORBA::ULong count) const { return count <= kMostMembers && count * 9 <= end_ - at_; }

 private:
  void ReadByteOrder() {
    Require(1);
    const CORBA::Octet little_endian = base_[at_++];
    if (little_endian > 1) Lie();
    swap_ = (little_endian != 0) != bool(_OMNIORB_HOST_BYTE_ORDER_);
  }

  void Align() {
    const std::size_t to = (at_ + 3) & ~std::size_t{3};
    if (padded_ != nullptr) std::fill(padded_ + at_, padded_ + to, CORBA::Octet{0});
    at_ = to;
  }

  void Require(std::size_t bytes) const {
    if (at_ > end_ || bytes > end_ - at_) Lie();
  }

  const CORBA::Octet* base_;
  CORBA::Octet* padded_ = nullptr;  // base_ where padding is to be cleared
  std::size_t at_ = 0;
  std::size_t end_;
  bool swap_ = false;
};

/// A type code, stripped of the names (aliases) that stand for it.
struct Stripped {
  CORBA::ULong kind;
  Cursor parameters;
};

/// Strips a type whose kind has been read; `at` stands behind the kind.
Stripped Strip(CORBA::ULong kind, Cursor& at) {
  Cursor* outer = &at;
  Cursor inner = at;
  for (int names = 0; kind == CORBA::tk_alias || kind == kIndirection; ++names) {
    if (names == kMostNames) Lie();
    if (kind == kIndirection) {
      const Cursor target = outer->Referred();
      inner = target;
    } else {
      const Cursor body = outer->Enter();
      inner = body;
      inner.Text();  // id
      inner.Text();  // name
    }
    outer = &inner;
    kind = inner.Ulong();
  }
  const bool has_parameters = kind == CORBA::tk_struct || kind == CORBA::tk_array || kind == CORBA::tk_sequence;
  return {kind, has_parameters ? outer->Enter() : *outer};
}

void RequireType(Cursor& at, const WireType& expected);

/// The members of a struct, from its name on.
void RequireMembers(Cursor& at, const WireType& expected) {
  at.Text();
  if (at.Ulong() != expected.count) Lie();
  for (CORBA::ULong i = 0; i < expected.count; ++i) {
    at.Text();
    RequireType(at, expected.parts[i]);
  }
}

void RequireType(Cursor& at, const WireType& expected) {
  const CORBA::ULong kind = at.Ulong();
  Stripped type = Strip(kind, at);
  if (type.kind != expected.kind) Lie();
  if (expected.kind == CORBA::tk_struct) {
    if (type.parameters.Text() != expected.id) Lie();
    RequireMembers(type.parameters, expected);
  } else if (expected.parts != nullptr) {
    RequireType(type.parameters, *expected.parts);
    if (type.parameters.Ulong() != expected.count) Lie();
  }
}

/// The kind whose type is no structure and is told by this alone; kNoRecord for none.
RecordNumber SimpleKindOf(CORBA::ULong kind) {
  RecordNumber number = kNoRecord;
  AnyRecordKind([&]<class T>() {
    if (std::is_class_v<T> || kind != RecordKind<T>::kType.kind) return false;
    number = kRecordNumber<T>;
    return true;
  });
  return number;
}

/// The kind whose stripped type this is. A struct that bears the name of one of ours must be built like it.
RecordNumber KindOf(Stripped type) {
  if (type.kind != CORBA::tk_struct) return SimpleKindOf(type.kind);
  const std::string_view id = type.parameters.Text();
  RecordNumber number = kNoRecord;
  const bool is_ours = AnyRecordKind([&]<class T>() {
    if constexpr (std::is_class_v<T>) {
      if (id != RecordKind<T>::kType.id) return false;
      RequireMembers(type.parameters, RecordKind<T>::kType);
      number = kRecordNumber<T>;
      return true;
    } else {
      return false;
    }
  });
  if (is_ours) return number;
  type.parameters.Text();
  const CORBA::ULong members = type.parameters.Ulong();
  if (!type.parameters.CanHoldMembers(members)) Lie();
  return kNoRecord;
}

constexpr std::size_t kInFront = sizeof(CORBA::ULong);            // of the kind, for the byte order
constexpr std::size_t kKindAndLength = 2 * sizeof(CORBA::ULong);  // in front of the encapsulation

/// A type code as the ORB writes it: kind, length, encapsulation; but for its padding, which the ORB leaves as memory
/// was, so that it differs from process to process and tells strangers what stood there.
std::vector<CORBA::Octet> Encoded(CORBA::TypeCode_ptr type_code) {
  cdrMemoryStream stream(0, true);
  CORBA::TypeCode::marshalTypeCode(type_code, stream);
  const auto* written = static_cast<const CORBA::Octet*>(stream.bufPtr());
  std::vector<CORBA::Octet> bytes(kInFront, 0);
  bytes.insert(bytes.end(), written, written + stream.bufSize());
  bytes[0] = bytes.at(kInFront + kKindAndLength);
  Cursor cursor = Cursor::ThatClearsPadding(bytes.data(), bytes.size());
  KindOf(Strip(cursor.Ulong(), cursor));
  return {bytes.begin() + kInFront, bytes.end()};
}

/// The same of a kind that is a structure, made once: the ORB's own way goes member by member for each sample.
template <class T>
const std::vector<CORBA::Octet>& EncodedKind() {
  static const std::vector<CORBA::Octet> encoded = Encoded(RecordKind<T>::TypeCode());
  return encoded;
}

void WriteStruct(const std::vector<CORBA::Octet>& encoded, cdrStream& stream) {
  stream.marshalULong(CORBA::tk_struct);
  stream.marshalULong(static_cast<CORBA::ULong>(encoded.size() - kKindAndLength));
  stream.put_octet_array(encoded.data() + kKindAndLength, static_cast<int>(encoded.size() - kKindAndLength));
}

/// The kind of which this process would write the same encapsulation: nearly every sample's, told without reading it.
/// kNoRecord for any other.
RecordNumber KindWrittenAlike(const CORBA::Octet* encapsulation, std::size_t length) {
  RecordNumber number = kNoRecord;
  AnyRecordKind([&]<class T>() {
    if constexpr (std::is_class_v<T>) {
      const std::vector<CORBA::Octet>& encoded = EncodedKind<T>();
      if (encoded.size() != kKindAndLength + length) return false;
      if (std::memcmp(encoded.data() + kKindAndLength, encapsulation, length) != 0) return false;
      number = kRecordNumber<T>;
      return true;
    } else {
      return false;
    }
  });
  return number;
}

/// Refuses a group that claims more samples, or more handles, than one may have.
void RequireFew(CORBA::ULong count) {
  constexpr CORBA::ULong kMost = 1024;
  if (count > kMost) throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
}

/// Reads the handles of a sample, and says how many they are.
CORBA::ULong ReadHandles(cdrStream& stream, HandleSeq& handles) {
  const CORBA::ULong count = stream.unmarshalULong();
  RequireFew(count);
  handles.length(count);
  for (CORBA::ULong i = 0; i < count; ++i) handles[i] = stream.unmarshalLong();
  return count;
}

}  // namespace

RecordNumber ReadRecordTypeCode(cdrStream& stream) {
  const CORBA::ULong kind = stream.unmarshalULong();
  if (const RecordNumber simple = SimpleKindOf(kind); simple != kNoRecord) return simple;
  if (kind > kLastKind) Lie();
  if (kind != CORBA::tk_struct && kind != CORBA::tk_alias) return kNoRecord;
  const CORBA::ULong length = stream.unmarshalULong();
  if (length == 0 || !stream.checkInputOverrun(1, length)) Lie();
  if (length > kMostBytes) return kNoRecord;
  // The kind and length that were read stand in front again, in the byte order of what follows, so that one rule reads
  // the whole and an indirection can reach the outermost type.
  std::array<CORBA::Octet, 3 * sizeof(CORBA::ULong) + kMostBytes> bytes;
  std::array<CORBA::ULong, 3> front{0, kind, length};
  stream.get_octet_array(bytes.data() + sizeof front, static_cast<int>(length));
  if (kind == CORBA::tk_struct) {
    const RecordNumber alike = KindWrittenAlike(bytes.data() + sizeof front, length);
    if (alike != kNoRecord) return alike;
  }
  const bool swapped = bytes[sizeof front] != (_OMNIORB_HOST_BYTE_ORDER_ ? 1 : 0);
  for (CORBA::ULong& number : front) number = swapped ? cdrStream::byteSwap(number) : number;
  std::memcpy(bytes.data(), front.data(), sizeof front);
  bytes[0] = bytes[sizeof front];
  Cursor cursor(bytes.data(), sizeof front + length);
  return KindOf(Strip(cursor.Ulong(), cursor));
}

void WriteRecordTypeCode(RecordNumber kind, cdrStream& stream) {
  const bool is_written = AnyRecordKind([&]<class T>() {
    if (kind != kRecordNumber<T>) return false;
    if constexpr (std::is_class_v<T>) {
      WriteStruct(EncodedKind<T>(), stream);
    } else {
      stream.marshalULong(RecordKind<T>::kType.kind);
    }
    return true;
  });
  if (!is_written) throw std::logic_error("WriteRecordTypeCode: expected a kind of record, found Unknown");
}

void ReadRecord(RecordNumber kind, cdrStream& stream, SampleRecord& record) {
  const bool is_read = AnyRecordKind([&]<class T>() {
    if (kind != kRecordNumber<T>) return false;
    RecordKind<T>::Read(stream, record.emplace<T>());
    return true;
  });
  if (!is_read) record.emplace<std::monostate>();
}

void WriteRecord(const SampleView& sample, cdrStream& stream) {
  VisitView(sample, [&stream]<class T>(const T& record) { RecordKind<T>::Write(record, stream); });
}

void ReadSample(cdrStream& stream, SampleRecord& record) { ReadRecord(ReadRecordTypeCode(stream), stream, record); }

std::string ReadTopic(cdrStream& stream) {
  constexpr CORBA::ULong kLongest = 4096;
  const CORBA::ULong length = stream.unmarshalULong();  // with the zero at its end
  if (length == 0 || !stream.checkInputOverrun(1, length)) throw CORBA::MARSHAL(0, CORBA::COMPLETED_NO);
  if (length > kLongest) throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
  std::string topic(length, '\0');
  stream.get_octet_array(reinterpret_cast<CORBA::Octet*>(topic.data()), static_cast<int>(length));
  if (topic.find('\0') != length - 1) throw CORBA::MARSHAL(0, CORBA::COMPLETED_NO);
  topic.pop_back();
  return topic;
}

void WriteTopic(const char* topic, cdrStream& stream) {
  const auto length = static_cast<CORBA::ULong>(std::strlen(topic) + 1);
  stream.marshalULong(length);
  stream.put_octet_array(reinterpret_cast<const CORBA::Octet*>(topic), static_cast<int>(length));
}

void WriteSample(const SampleView& sample, cdrStream& stream) {
  VisitView(sample, [&stream]<class T>(const T&) { WriteRecordTypeCode(kRecordNumber<T>, stream); });
  WriteRecord(sample, stream);
}

std::deque<SharedRecord> ReadGroup(cdrStream& stream) {
  const CORBA::ULong count = stream.unmarshalULong();
  RequireFew(count);
  std::deque<SharedRecord> samples;
  CORBA::ULong all_handles = 0;
  for (CORBA::ULong i = 0; i < count; ++i) {
    SharedRecord& shared = samples.emplace_back();
    ReadSample(stream, shared.record);
    if (std::holds_alternative<std::monostate>(shared.record)) throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    all_handles += ReadHandles(stream, shared.handles);
    RequireFew(all_handles);
  }
  return samples;
}

void WriteGroup(const std::vector<SharedSampleView>& samples, cdrStream& stream) {
  stream.marshalULong(static_cast<CORBA::ULong>(samples.size()));
  for (const SharedSampleView& shared : samples) {
    WriteSample(shared.sample, stream);
    stream.marshalULong(static_cast<CORBA::ULong>(shared.handles.size()));
    for (const CORBA::Long handle : shared.handles) stream.marshalLong(handle);
  }
}

}  // namespace Corvanta
