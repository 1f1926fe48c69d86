// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <variant>

#include "BASIC_TRACE.hh"
#include "VALUE_DOUBLE.hh"

namespace Corvanta {

using SampleRecordKinds = std::variant<std::monostate, BASIC_TRACE::BT_DATA, VALUE_DOUBLE::VALUE, CORBA::Long, bool>;

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
