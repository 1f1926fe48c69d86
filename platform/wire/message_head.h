// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace Corvanta {

/// Bytes that are no lawful message, or one that may not come at this place; the text says why.
class UnlawfulMessage : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

enum class MessageKind : std::uint8_t {
  Request,
  Reply,
  CancelRequest,
  LocateRequest,
  LocateReply,
  CloseConnection,
  MessageError,
  Fragment
};

const char* NameOf(MessageKind kind) noexcept;

inline constexpr std::size_t kMessageHeader = 12;  ///< what every message begins with
inline constexpr std::size_t kLongestHead = 8192;  ///< of what stands before a message's arguments or results

/// The twelve bytes that every message begins with.
/// Source  CORBA 3.3 part 2, 9.4.1
struct MessageHeader {
  MessageKind kind = MessageKind::MessageError;
  std::uint8_t minor = 2;  ///< of the version 1.minor
  bool little_endian = true;
  bool more_fragments = false;
  std::uint64_t size = 0;  ///< of the message, with these twelve bytes

  /// Where the request's id stands at a fixed place: in all messages of version 1.2 that have one.
  bool HasId() const noexcept {
    return minor == 2 && kind != MessageKind::CloseConnection && kind != MessageKind::MessageError;
  }
};

/// Reads a header. `bytes` holds twelve at least.
/// Errors   UnlawfulMessage: no message at all, a version other than 1.0 to 1.2, an unknown kind, flags that its
///          version or kind does not have, a size that its kind cannot have.
MessageHeader ReadMessageHeader(std::span<const char> bytes);

/// Writes one, in the byte order that it names. `to` has room for twelve bytes.
void WriteMessageHeader(const MessageHeader& header, char* to) noexcept;

inline std::uint32_t ReadULong(const char* from, bool little_endian) noexcept {
  std::uint32_t value = 0;
  std::memcpy(&value, from, sizeof value);
  return little_endian == (std::endian::native == std::endian::little) ? value : __builtin_bswap32(value);
}
/// Eight bytes at once, to compare them: version, flags and kind of a message stand in its first eight.
inline std::uint64_t FirstEight(const char* from) noexcept {
  std::uint64_t value = 0;
  std::memcpy(&value, from, sizeof value);
  return value;
}

void WriteULong(std::uint32_t value, bool little_endian, char* to) noexcept;

enum class Reading { Complete, Incomplete };

/// What stands before the arguments of a Request.
struct RequestHead {
  std::uint32_t id = 0;
  bool answered = true;        ///< an answer is expected
  std::string_view operation;  ///< points into the message
  std::size_t end = 0;         ///< offset from the message's beginning
};

/// What stands before the results in a Reply.
struct ReplyHead {
  std::uint32_t id = 0;
  std::uint32_t status = 0;  ///< 0: results follow; see SendsElsewhere
  std::size_t end = 0;
};

/// Request and LocateRequest; Reply and LocateReply.
bool IsRequest(MessageKind kind) noexcept;
bool IsAnswer(MessageKind kind) noexcept;

/// Up to here, from its beginning, a message has what tells of it at fixed places: in version 1.2 its id, an answer's
/// status, how a request names its target.
std::size_t EndOfFixed(const MessageHeader& header) noexcept;

/// The end of an answer's status in version 1.2, and of a LocateReply's in all.
inline constexpr std::size_t kEndOfStatus = kMessageHeader + 8;

/// The id of a message that has it behind its header (MessageHeader::HasId, CancelRequest). `bytes` holds 16 at least.
inline std::uint32_t IdOf(std::span<const char> bytes, const MessageHeader& header) noexcept {
  return ReadULong(bytes.data() + kMessageHeader, header.little_endian);
}

/// The ORB gives up on a target that is named by a reference. Looks as far as the message has come.
/// Errors   UnlawfulMessage
void RequireKey(std::span<const char> bytes, const MessageHeader& header);

/// Whether an answer of this kind and status says no more than where, or how, to ask again.
bool SendsElsewhere(MessageKind kind, std::uint32_t status) noexcept;

/// Read the head of a message from its beginning, as far as it has come. Incomplete: call again with more.
/// Errors   UnlawfulMessage when it is longer than kLongestHead, or than the message, or names its target by more than
///          a key.
Reading ReadRequestHead(std::span<const char> message, const MessageHeader& header, RequestHead& head);
Reading ReadReplyHead(std::span<const char> message, const MessageHeader& header, ReplyHead& head);

/// An answer that is the system exception MARSHAL, in the version and byte order of `header`, with room for its own
/// header at the beginning.
std::vector<char> MarshalException(const MessageHeader& header, std::uint32_t id);

}  // namespace Corvanta
