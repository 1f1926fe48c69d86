// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <type_traits>
#include <variant>

#include "BASIC_TRACE.hh"
#include "VALUE_DOUBLE.hh"

namespace Corvanta {

/// The kinds of record that topics carry: the list of which all others are made. Their order is for ever, since a
/// kind's place is its number in messages between machines. What is known of each stands in platform/wire/record_kinds.h.
using SampleRecordKinds = std::variant<std::monostate, BASIC_TRACE::BT_DATA, VALUE_DOUBLE::VALUE, CORBA::Long, bool>;

/// The kind as which a record of type T is stored: engines see a long as int.
template <class T>
using StoredRecord = std::conditional_t<std::is_same_v<T, int>, CORBA::Long, T>;

/// A sample out of an any: one of the record kinds that topics carry, or monostate for an any of another type.
/// To move one moves the samples of its trace, which generated records alone do not.
class SampleRecord : public SampleRecordKinds {
 public:
  using SampleRecordKinds::SampleRecordKinds;
  using SampleRecordKinds::operator=;

  SampleRecord() = default;
  SampleRecord(const SampleRecord&) = default;
  SampleRecord& operator=(const SampleRecord&) = default;

  /// What is moved from keeps its kind.
  SampleRecord(SampleRecord&& other) { Take(other); }
  SampleRecord& operator=(SampleRecord&& other) {
    if (&other != this) Take(other);
    return *this;
  }

 private:
  void Take(SampleRecord& other);
};

}  // namespace Corvanta

namespace Lumenar {

/// Generated records have no move: to hand a trace on, or to copy it in one block, takes these functions. Each sets
/// every field of `to`; a record onto itself changes nothing. Other kinds of record are small, and are copied by all of
/// them.

/// Copies the samples in one block, into the buffer that is there when it is large enough.
/// Shape   any length, also 0.      Errors   std::bad_alloc, with `to` unchanged.
void CopyRecord(Corvanta::BASIC_TRACE::BT_DATA& to, const Corvanta::BASIC_TRACE::BT_DATA& from);

/// Takes over the samples where `from` owns its buffer, and copies them where it does not; a buffer taken leaves `from`
/// without samples.
/// Errors   std::bad_alloc, with `to` unchanged, from the copy alone.
void TakeRecord(Corvanta::BASIC_TRACE::BT_DATA& to, Corvanta::BASIC_TRACE::BT_DATA& from);

/// As TakeRecord, but `from` gets the buffer that `to` had, with samples that mean nothing: whoever fills one record
/// again and again needs no new memory. Its other fields stay.
void ExchangeRecord(Corvanta::BASIC_TRACE::BT_DATA& to, Corvanta::BASIC_TRACE::BT_DATA& from);

/// How much memory the samples take.
inline std::size_t SampleBytes(const Corvanta::BASIC_TRACE::BT_DATA& record) {
  return record.samples.length() * sizeof(float);
}

template <class T>
std::size_t SampleBytes(const T&) {
  return 0;
}

template <class T>
void CopyRecord(T& to, const T& from) {
  to = from;
}

template <class T>
void TakeRecord(T& to, T& from) {
  to = from;
}

template <class T>
void ExchangeRecord(T& to, T& from) {
  to = from;
}

/// The memory that a sample takes, near enough for limits.
std::size_t SampleBytes(const Corvanta::SampleRecord& sample);

}  // namespace Lumenar
