// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <type_traits>

#include "platform/records/SampleRecord.h"

namespace Corvanta {

/// What the adapters know of a record kind besides its type: its name in diagnostic lines.
template <class T>
struct TopicRecord;

template <>
struct TopicRecord<BASIC_TRACE::BT_DATA> {
  static constexpr const char* kName = "Corvanta::BASIC_TRACE::BT_DATA";
};

template <>
struct TopicRecord<VALUE_DOUBLE::VALUE> {
  static constexpr const char* kName = "Corvanta::VALUE_DOUBLE::VALUE";
};

template <>
struct TopicRecord<int> {
  static constexpr const char* kName = "int";
};

template <>
struct TopicRecord<bool> {
  static constexpr const char* kName = "bool";
};

/// The record of kind T in a sample; null when the sample is of another kind.
template <class T>
auto* RecordIn(SampleRecord& sample) noexcept {
  using Stored = std::conditional_t<std::is_same_v<T, int>, CORBA::Long, T>;
  return std::get_if<Stored>(&sample);
}

}  // namespace Corvanta
