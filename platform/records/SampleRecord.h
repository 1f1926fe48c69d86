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

/// The memory that a sample takes, near enough for limits.
std::size_t SampleBytes(const Corvanta::SampleRecord& sample);

}  // namespace Lumenar
