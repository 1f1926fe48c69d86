// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/records/SampleRecord.h"

namespace Lumenar::Python {

/// One value of a reading. It does not change, and owns its samples: arrays of Python look into them.
class Result {
 public:
  using Trace = Corvanta::BASIC_TRACE::BT_DATA;
  using Scalar = Corvanta::VALUE_DOUBLE::VALUE;

  Result(std::string name, std::chrono::system_clock::time_point arrived, Corvanta::SampleRecord&& record)
      : name_(std::move(name)), arrived_(arrived), record_(std::move(record)) {}
  Result(const Result&) = delete;
  Result& operator=(const Result&) = delete;

  const std::string& Name() const noexcept { return name_; }
  const Corvanta::SampleRecord& Record() const noexcept { return record_; }

  /// As in TypeInfo.
  const char* Kind() const noexcept;

  /// Null for other kinds.
  const Trace* AsTrace() const noexcept { return std::get_if<Trace>(&record_); }
  const Scalar* AsScalar() const noexcept { return std::get_if<Scalar>(&record_); }

  std::span<const float> Samples() const noexcept;

  /// For people; empty where there is none.
  std::string Unit() const;

  /// Of the horizontal axis of a trace, for people.
  std::string AxisUnit() const;

  /// In nanoseconds since the epoch: when it was captured, as its instrument says; where it says nothing, when it came
  /// here.
  std::int64_t Time_ns() const noexcept;

  /// The twelve words of a trace's header; none for other kinds.
  std::vector<std::uint32_t> Header() const;

 private:
  const std::string name_;
  const std::chrono::system_clock::time_point arrived_;
  const Corvanta::SampleRecord record_;
};

}  // namespace Lumenar::Python
