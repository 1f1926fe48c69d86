// SPDX-License-Identifier: Apache-2.0
#include "platform/wire/message_head.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>

namespace Corvanta {
namespace {

constexpr std::uint8_t kLittleEndian = 1;
constexpr std::uint8_t kMoreFragments = 2;

bool MayBeInFragments(MessageKind kind, unsigned minor) noexcept {
  switch (kind) {
    case MessageKind::Request:
    case MessageKind::Reply:
    case MessageKind::Fragment: return minor >= 1;
    case MessageKind::LocateRequest:
    case MessageKind::LocateReply: return minor >= 2;
    default: return false;
  }
}

/// The least size that a message of this kind has, with its header.
std::uint64_t LeastSize(const MessageHeader& header) noexcept {
  switch (header.kind) {
    case MessageKind::CancelRequest:
    case MessageKind::LocateRequest:
    case MessageKind::LocateReply: return kMessageHeader + 4;  // its id comes first in all versions
    default: return kMessageHeader + (header.HasId() ? 4 : 0);
  }
}

bool HasFixedSize(MessageKind kind) noexcept {
  return kind == MessageKind::CancelRequest || kind == MessageKind::CloseConnection ||
         kind == MessageKind::MessageError;
}

void RequireFlags(const MessageHeader& header, std::uint8_t flags) {
  const std::uint8_t known = header.minor == 0 ? kLittleEndian : kLittleEndian | kMoreFragments;
  if ((flags & ~known) != 0) throw UnlawfulMessage("flags that are not known");
  if (header.more_fragments && !MayBeInFragments(header.kind, header.minor))
    throw UnlawfulMessage(std::string("a ") + NameOf(header.kind) + " in fragments");
}

/// Reads plain data in the order of a head. Past the end of what is there, and from then on, it reads zeros.
class HeadReader {
 public:
  HeadReader(std::span<const char> message, const MessageHeader& header)
      : bytes_(message.first(
            static_cast<std::size_t>(std::min<std::uint64_t>({message.size(), kLongestHead, header.size})))),
        most_(std::min<std::uint64_t>(header.size, kLongestHead)),
        little_endian_(header.little_endian) {}

  std::uint32_t ULong() {
    at_ = (at_ + 3) & ~std::size_t{3};
    const std::size_t from = at_;
    return Advance(4) ? ReadULong(bytes_.data() + from, little_endian_) : 0;
  }

  std::uint8_t Octet() {
    const std::size_t from = at_;
    return Advance(1) ? static_cast<std::uint8_t>(bytes_[from]) : 0;
  }

  /// A length and as many bytes.
  std::string_view Octets() {
    const std::uint32_t length = ULong();
    const std::size_t from = at_;
    return Advance(length) ? std::string_view(bytes_.data() + from, length) : std::string_view();
  }

  void Skip(std::size_t count) { Advance(count); }

  void SkipContexts() {
    for (std::uint32_t left = ULong(); left > 0 && !is_short_; --left) {
      ULong();
      Octets();
    }
  }

  /// Errors   UnlawfulMessage: more bytes would not help.
  Reading Result() const {
    if (!is_short_) return Reading::Complete;
    if (needed_ > most_) throw UnlawfulMessage("a head that is longer than its message or than 8192 bytes");
    return Reading::Incomplete;
  }

  std::size_t At() const noexcept { return at_; }

 private:
  bool Advance(std::size_t count) {
    if (is_short_) return false;
    needed_ = std::uint64_t{at_} + count;
    is_short_ = needed_ > bytes_.size();
    if (!is_short_) at_ += count;
    return !is_short_;
  }

  const std::span<const char> bytes_;
  const std::uint64_t most_;
  const bool little_endian_;
  std::size_t at_ = kMessageHeader;
  std::uint64_t needed_ = 0;
  bool is_short_ = false;
};

/// Version 1.2 has three ways to name the target; two of them carry a reference, which the ORB does not take.
void ReadTarget(HeadReader& reader, const MessageHeader& header) {
  if (header.minor == 2) {
    const bool is_key = (reader.Octet() | reader.Octet()) == 0;
    if (!is_key) throw UnlawfulMessage("a target that is not named by its key");
  }
  reader.Octets();
}

/// Where a message of version 1.2 names its target, with the two bytes that say how; 0 when it has none.
std::size_t EndOfTargetKind(const MessageHeader& header) noexcept {
  if (header.minor < 2) return 0;
  return header.kind == MessageKind::Request ? 22 : header.kind == MessageKind::LocateRequest ? 18 : 0;
}

}  // namespace

const char* NameOf(MessageKind kind) noexcept {
  constexpr const char* kNames[] = {"Request",     "Reply",           "CancelRequest", "LocateRequest",
                                    "LocateReply", "CloseConnection", "MessageError",  "Fragment"};
  return kNames[static_cast<unsigned>(kind)];
}

void WriteULong(std::uint32_t value, bool little_endian, char* to) noexcept {
  for (int i = 0; i < 4; ++i) to[little_endian ? i : 3 - i] = static_cast<char>(value >> (8 * i) & 0xff);
}

MessageHeader ReadMessageHeader(std::span<const char> bytes) {
  if (std::memcmp(bytes.data(), "GIOP", 4) != 0) throw UnlawfulMessage("bytes that are no message");
  MessageHeader header;
  header.minor = static_cast<std::uint8_t>(bytes[5]);
  if (bytes[4] != 1 || header.minor > 2) throw UnlawfulMessage("a version that is not known");
  const auto kind = static_cast<std::uint8_t>(bytes[7]);
  if (kind > static_cast<std::uint8_t>(MessageKind::Fragment) || (header.minor == 0 && kind == 7))
    throw UnlawfulMessage("a message of no known kind");
  header.kind = static_cast<MessageKind>(kind);
  const auto flags = static_cast<std::uint8_t>(bytes[6]);
  header.little_endian = (flags & kLittleEndian) != 0;
  header.more_fragments = (flags & kMoreFragments) != 0;
  RequireFlags(header, flags);
  header.size = kMessageHeader + std::uint64_t{ReadULong(bytes.data() + 8, header.little_endian)};
  const std::uint64_t least = LeastSize(header);
  if (header.size < least || (HasFixedSize(header.kind) && header.size != least))
    throw UnlawfulMessage(std::string("a ") + NameOf(header.kind) + " of a size that it cannot have");
  return header;
}

void WriteMessageHeader(const MessageHeader& header, char* to) noexcept {
  std::memcpy(to, "GIOP\1", 5);
  to[5] = static_cast<char>(header.minor);
  to[6] = static_cast<char>((header.little_endian ? kLittleEndian : 0) | (header.more_fragments ? kMoreFragments : 0));
  to[7] = static_cast<char>(header.kind);
  WriteULong(static_cast<std::uint32_t>(header.size - kMessageHeader), header.little_endian, to + 8);
}

bool IsRequest(MessageKind kind) noexcept { return kind == MessageKind::Request || kind == MessageKind::LocateRequest; }
bool IsAnswer(MessageKind kind) noexcept { return kind == MessageKind::Reply || kind == MessageKind::LocateReply; }

std::size_t EndOfFixed(const MessageHeader& header) noexcept {
  if (header.HasId() && IsAnswer(header.kind)) return kEndOfStatus;
  const bool has_id = header.HasId() || header.kind == MessageKind::CancelRequest;
  return std::max(has_id ? kMessageHeader + 4 : kMessageHeader, EndOfTargetKind(header));
}

void RequireKey(std::span<const char> bytes, const MessageHeader& header) {
  const std::size_t end = EndOfTargetKind(header);
  if (end != 0 && end <= bytes.size() && (bytes[end - 2] != 0 || bytes[end - 1] != 0))
    throw UnlawfulMessage("a target that is not named by its key");
}

bool SendsElsewhere(MessageKind kind, std::uint32_t status) noexcept {
  constexpr std::uint32_t kForward = 3, kForwardForGood = 4,
                          kOtherWayToName = 5;  // of a Reply; a LocateReply counts otherwise
  if (kind == MessageKind::Reply) return status >= kForward && status <= kOtherWayToName;
  return kind == MessageKind::LocateReply &&
         (status == kForward - 1 || status == kForwardForGood - 1 || status == kOtherWayToName);
}

Reading ReadRequestHead(std::span<const char> message, const MessageHeader& header, RequestHead& head) {
  HeadReader reader(message, header);
  if (header.minor < 2) reader.SkipContexts();
  head.id = reader.ULong();
  head.answered = (reader.Octet() & 1) != 0;
  if (header.minor > 0) reader.Skip(3);
  ReadTarget(reader, header);
  head.operation = reader.Octets();
  if (!head.operation.empty()) head.operation.remove_suffix(1);  // its terminating zero
  if (header.minor < 2) reader.Octets();                         // the principal
  else reader.SkipContexts();
  head.end = reader.At();
  return reader.Result();
}

Reading ReadReplyHead(std::span<const char> message, const MessageHeader& header, ReplyHead& head) {
  HeadReader reader(message, header);
  if (header.minor < 2) reader.SkipContexts();
  head.id = reader.ULong();
  head.status = reader.ULong();
  if (header.minor == 2) reader.SkipContexts();
  head.end = reader.At();
  return reader.Result();
}

std::vector<char> MarshalException(const MessageHeader& header, std::uint32_t id) {
  constexpr char kRepositoryId[] = "IDL:omg.org/CORBA/MARSHAL:1.0";
  constexpr std::uint32_t kSystemException = 2;
  std::vector<char> bytes(kMessageHeader);
  const auto add = [&](std::uint32_t value) {
    bytes.resize((bytes.size() + 3) / 4 * 4 + 4);
    WriteULong(value, header.little_endian, bytes.data() + bytes.size() - 4);
  };
  const std::uint32_t no_contexts = 0;
  if (header.minor < 2) add(no_contexts);
  add(id);
  add(kSystemException);
  if (header.minor == 2) add(no_contexts);
  add(sizeof kRepositoryId);
  bytes.insert(bytes.end(), std::begin(kRepositoryId), std::end(kRepositoryId));
  add(0);  // minor code
  add(0);  // completed
  return bytes;
}

}  // namespace Corvanta
