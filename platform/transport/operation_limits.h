// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace Corvanta {

/// Messages up to this size pass whatever their operation is: what the ORB builds from lengths that lie in one of them
/// stays below 1 MB (40 bytes for each byte that is claimed to be an element).
inline constexpr std::uint64_t kPlainMessageBytes = 16384;

/// How large the messages of an operation may be.
enum class MessageLimit {
  Plain,   ///< kPlainMessageBytes
  Sample,  ///< orb.max_message_bytes: a sample, read within bounds of its own (any_guard.h) or of a fixed type
  List,    ///< orb.max_message_bytes: a list, which only answers to calls of our own bring
};

/// One row of the table: an operation by name, whatever its interface, its arguments and results of variable length,
/// and the limits of its request and of its answer.
struct OperationLimit {
  std::string_view operation;
  std::string_view what;
  MessageLimit request = MessageLimit::Plain;
  MessageLimit answer = MessageLimit::Plain;
};

/// No operation whose answers may be larger than kPlainMessageBytes has a longer name.
inline constexpr std::size_t kLongestWithLargeAnswer = 16;

/// The operations of the IDL and those of the naming service that have lists; any other operation is Plain both ways.
std::span<const OperationLimit> OperationLimits() noexcept;

MessageLimit RequestLimit(std::string_view operation) noexcept;
MessageLimit AnswerLimit(std::string_view operation) noexcept;

}  // namespace Corvanta
