// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/MessageFraming.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

namespace Corvanta {
namespace {

constexpr std::size_t kLeastBlock = 16384;  // of memory for what has come in part

MessageHeader DropAll(std::uint64_t size) {
  MessageHeader header;
  header.size = size;
  return header;
}

}  // namespace

MessageFraming::MessageFraming(Side side, const FramingLimits& limits, AssemblyBudget& budget,
                               ExpectedAnswers* expected, std::function<void(const std::string&)> refused)
    : side_(side), limits_(limits), budget_(budget), expected_(expected), refused_(std::move(refused)) {}

MessageFraming::~MessageFraming() {
  for (Part& part : parts_) Release(part.held);
  Release(ready_);
  Release(backlog_);
}

// What the connection asks for.

std::size_t MessageFraming::Give(std::span<char> buffer) {
  if (!has_output_) return 0;
  std::size_t count = 0;
  if (ready_at_ < ready_.filled) {
    count = std::min(buffer.size(), ready_.filled - ready_at_);
    std::memcpy(buffer.data(), ready_.bytes.data() + ready_at_, count);
    ready_at_ += count;
  } else if (pass_left_ > 0 && !Backlog().empty()) {
    count = std::min<std::uint64_t>({buffer.size(), Backlog().size(), pass_left_});
    std::memcpy(buffer.data(), Backlog().data(), count);
    pass_left_ -= count;
    Consume(count);
  } else if (failure_) {
    throw UnlawfulMessage(*failure_);
  }
  Digest();
  Settle();
  return count;
}

std::span<char> MessageFraming::Room(std::span<char> buffer) {
  RequireInTime();
  if (pass_left_ > 0) return buffer;
  if (drop_left_ > 0) return buffer.first(std::min<std::uint64_t>(buffer.size(), drop_left_));
  if (part_left_ > 0) {
    Part& part = parts_[current_];
    const std::uint64_t most = std::min<std::uint64_t>(part_left_, std::max(kLeastBlock, part.held.filled));
    if (!part.is_refused && !Grow(part.held, most)) Refuse(part);
    if (part.is_refused) return buffer.first(std::min<std::uint64_t>(buffer.size(), part_left_));
    return std::span(part.held.bytes).subspan(part.held.filled, most);
  }
  if (Backlog().empty()) return buffer;
  if (!Grow(backlog_, needed_ - Backlog().size())) throw UnlawfulMessage("no room for the beginning of a message");
  return std::span(backlog_.bytes).subspan(backlog_.filled, needed_ - Backlog().size());
}

std::size_t MessageFraming::Arrived(std::span<char> buffer, std::size_t count) {
  if (is_plain_) return PassInPlace(buffer.first(count));
  std::size_t given = 0;
  if (drop_left_ > 0) {
    drop_left_ -= count;
  } else if (part_left_ > 0) {
    Part& part = parts_[current_];
    if (!part.is_refused) part.held.filled += count;
    Came(part, count);
    Digest();
  } else if (pass_left_ > 0 || Backlog().empty()) {
    given = PassInPlace(buffer.first(count));
  } else {
    backlog_.filled += count;
    Digest();
  }
  Settle();
  return given;
}

// Looking.

void MessageFraming::RequireLawful(const MessageHeader& header) const {
  const bool ends = header.kind == MessageKind::CloseConnection || header.kind == MessageKind::MessageError;
  if (ends) return;
  const bool is_theirs = side_ == Side::Served ? IsRequest(header.kind) || header.kind == MessageKind::CancelRequest
                                               : IsAnswer(header.kind);
  if (!is_theirs && header.kind != MessageKind::Fragment)
    throw UnlawfulMessage(
        fmt::format("a {} from a {}", NameOf(header.kind), side_ == Side::Served ? "client" : "server"));
  // The ORB follows a client from version 1.2 to an older one, and then stays with that.
  const bool is_of_version =
      minor_ < 0 || minor_ == header.minor || (side_ == Side::Served && minor_ == 2 && parts_.empty());
  if (!is_of_version) throw UnlawfulMessage("messages of different versions");
}

/// Refuses a message with the id of one that has come in part, and an answer that nobody asked for.
void MessageFraming::RequireFree(std::span<const char> bytes, const MessageHeader& header) {
  if (header.minor == 1 && !parts_.empty())
    throw UnlawfulMessage("a message between the fragments of another of version 1.1");
  if (!header.HasId()) return;
  if (Find(IdOf(bytes, header)) != nullptr)
    throw UnlawfulMessage("a message with the id of another that has come in part");
  if (side_ == Side::Own) expected_->LimitOf(IdOf(bytes, header));
}

MessageFraming::Next MessageFraming::Look(std::span<const char> bytes) {
  if (is_closing_) return {Step::Drop, DropAll(bytes.size()), 0};
  if (bytes.size() < kMessageHeader) return NeedMore(kMessageHeader);
  const MessageHeader header = ReadMessageHeader(bytes);
  RequireLawful(header);
  const std::uint64_t needed = std::min<std::uint64_t>(header.size, EndOfFixed(header));
  if (bytes.size() < needed) return NeedMore(needed);
  if (header.kind == MessageKind::CancelRequest) return {Step::Drop, header, 0};
  if (header.kind == MessageKind::Fragment) return {Step::Fragment, header, 0};
  if (!IsRequest(header.kind) && !IsAnswer(header.kind)) return {Step::Pass, header, 0};
  RequireFree(bytes, header);
  RequireKey(bytes.first(needed), header);
  if (header.more_fragments) return {Step::Fragment, header, 0};
  return LookAtWhole(bytes, header);
}

MessageFraming::Next MessageFraming::LookAtWhole(std::span<const char> bytes, const MessageHeader& header) {
  const bool is_large = header.size > kPlainMessageBytes;
  const bool has_plain_answer_id = header.HasId() || side_ == Side::Served;
  if (!is_large && has_plain_answer_id) return {Step::Pass, header, 0};
  const std::optional<Head> head = LookAtHead(bytes, header);
  if (!head) return NeedMore(std::min<std::uint64_t>(header.size, kLongestHead));
  return {header.size > head->limit ? Step::Refuse : Step::Pass, header, 0};
}

std::uint64_t MessageFraming::LimitOf(MessageLimit limit) const noexcept {
  return limit == MessageLimit::Plain ? std::min(kPlainMessageBytes, limits_.max_message_bytes)
                                      : limits_.max_message_bytes;
}

std::optional<MessageFraming::Head> MessageFraming::LookAtHead(std::span<const char> bytes,
                                                               const MessageHeader& header) {
  if (header.kind == MessageKind::Request) {
    RequestHead head;
    if (ReadRequestHead(bytes, header, head) == Reading::Incomplete) return std::nullopt;
    return Head{head.end, LimitOf(RequestLimit(head.operation)), head.operation};
  }
  if (header.kind == MessageKind::Reply) {
    ReplyHead head;
    if (ReadReplyHead(bytes, header, head) == Reading::Incomplete) return std::nullopt;
    const MessageLimit limit = expected_->LimitOf(head.id);
    return Head{head.end, LimitOf(head.status == 0 ? limit : MessageLimit::Plain), {}};
  }
  if (header.size > kPlainMessageBytes)
    throw UnlawfulMessage(fmt::format("a {} of {} bytes", NameOf(header.kind), header.size));
  if (bytes.size() < std::min<std::uint64_t>(header.size, kEndOfStatus)) return std::nullopt;
  if (side_ == Side::Own) expected_->LimitOf(IdOf(bytes, header));
  return Head{kMessageHeader, kPlainMessageBytes, {}};
}

// Doing.

/// The size of a message of the kind that almost all are, whose header needs no more than a glance: a small whole one
/// of version 1.2, not the first of its connection, with nothing else under way. 0 for any other. An answer is
/// taken off the list of expected ones then.
inline std::uint64_t MessageFraming::OrdinarySize(std::span<const char> bytes) noexcept {
  constexpr std::size_t kLook = 24;
  constexpr std::uint32_t kSystemException = 2;
  if (ordinary_ == 0 || bytes.size() < kLook || FirstEight(bytes.data()) != ordinary_) return 0;
  const std::uint64_t size = kMessageHeader + std::uint64_t{ReadULong(bytes.data() + 8, true)};
  if (size < kLook || size > kPlainMessageBytes) return 0;
  if (side_ == Side::Served) return bytes[20] == 0 && bytes[21] == 0 ? size : 0;
  if (ReadULong(bytes.data() + kMessageHeader + 4, true) > kSystemException) return 0;
  return expected_->Done(ReadULong(bytes.data() + kMessageHeader, true)) ? size : 0;
}

/// Whole messages stay where they are; from the first thing else on, bytes go to the backlog.
std::size_t MessageFraming::PassInPlace(std::span<char> bytes) {
  const std::uint64_t size = pass_left_ > 0 ? pass_left_ : OrdinarySize(bytes);
  if (size < bytes.size()) return PassSeveral(bytes, size);
  pass_left_ = size - bytes.size();
  return bytes.size();
}

/// The same, where more than the message under way, of which `size` bytes are still to come, may have been read. 0: what
/// it is has to be looked at closely.
[[gnu::noinline]] std::size_t MessageFraming::PassSeveral(std::span<const char> bytes, std::uint64_t size) {
  std::span<const char> rest = bytes;
  pass_left_ = 0;
  for (;;) {
    if (size == 0) size = OtherSize(rest);
    if (size == 0) return bytes.size() - rest.size();
    if (size >= rest.size()) break;
    rest = rest.subspan(size);
    size = OrdinarySize(rest);
  }
  pass_left_ = size - rest.size();
  return bytes.size();
}

/// The size of a message that is looked at closely; 0 when it does not go to the ORB as it is, and was put aside.
std::uint64_t MessageFraming::OtherSize(std::span<const char> bytes) {
  std::uint64_t size = 0;
  try {
    const Next next = Look(bytes);
    if (next.step == Step::Pass) {
      Admit(bytes, next.header);
      size = next.header.size;
    } else {
      Keep(bytes);
    }
  } catch (const UnlawfulMessage& failure) {
    Fail(failure);
  }
  Settle();
  return size;
}

/// After anything but an ordinary message.
void MessageFraming::Settle() noexcept {
  constexpr char kRequest[8] = {'G', 'I', 'O', 'P', 1, 2, 1, static_cast<char>(MessageKind::Request)};
  constexpr char kReply[8] = {'G', 'I', 'O', 'P', 1, 2, 1, static_cast<char>(MessageKind::Reply)};
  is_plain_ = !has_output_ && drop_left_ == 0 && part_left_ == 0 && parts_.empty() && Backlog().empty();
  const bool may_be_ordinary = minor_ == 2 && parts_.empty() && !is_closing_;
  ordinary_ = may_be_ordinary ? FirstEight(side_ == Side::Served ? kRequest : kReply) : 0;
}

/// What has come behind the last whole message.
void MessageFraming::Keep(std::span<const char> bytes) {
  if (!Grow(backlog_, bytes.size())) throw UnlawfulMessage("no room for the beginning of a message");
  std::memcpy(backlog_.bytes.data(), bytes.data(), bytes.size());
  backlog_.filled = bytes.size();
  Digest();
}

/// Goes on with the backlog until there is something for the ORB, or nothing more can be done without reading.
void MessageFraming::Digest() {
  try {
    while (!failure_ && ready_at_ >= ready_.filled && pass_left_ == 0 && !Backlog().empty()) {
      if (ready_.filled > 0) Release(ready_);
      if (drop_left_ > 0) {
        const std::size_t count = std::min<std::uint64_t>(drop_left_, Backlog().size());
        drop_left_ -= count;
        Consume(count);
      } else if (part_left_ > 0) {
        DigestFragment();
      } else {
        if (Backlog().size() < needed_) break;
        needed_ = 0;
        DigestMessage();
        if (needed_ > 0) break;
      }
    }
    if (ready_at_ >= ready_.filled && ready_.filled > 0) Release(ready_);
  } catch (const UnlawfulMessage& failure) {
    Fail(failure);
  }
  has_output_ = failure_ || ready_at_ < ready_.filled || (pass_left_ > 0 && !Backlog().empty());
}

void MessageFraming::DigestMessage() {
  const std::span<const char> bytes = Backlog();
  const Next next = Look(bytes);
  switch (next.step) {
    case Step::NeedMore: needed_ = next.needed; break;
    case Step::Pass:
      Admit(bytes, next.header);
      pass_left_ = next.header.size;
      break;
    case Step::Drop:
      if (!is_closing_) Cancel(IdOf(bytes, next.header));
      drop_left_ = next.header.size;
      break;
    case Step::Refuse: BeginRefused(bytes, next.header); break;
    case Step::Fragment: Consume(BeginFragment(bytes, next.header)); break;
  }
}

/// A whole message goes to the ORB.
void MessageFraming::Admit(std::span<const char> bytes, const MessageHeader& header) {
  if (!IsRequest(header.kind) && !IsAnswer(header.kind)) {
    is_closing_ = true;
    if (side_ == Side::Own && header.kind == MessageKind::CloseConnection)
      expected_->SentElsewhere();  // the ORB calls again
    return;
  }
  minor_ = header.minor;
  if (side_ == Side::Served) return;
  ReplyHead head;
  if (!header.HasId() && header.kind == MessageKind::Reply) {
    ReadReplyHead(bytes, header, head);
  } else {
    head.id = IdOf(bytes, header);
    if (bytes.size() >= kEndOfStatus) head.status = ReadULong(bytes.data() + kEndOfStatus - 4, header.little_endian);
  }
  expected_->Done(head.id);
  if (SendsElsewhere(header.kind, head.status)) expected_->SentElsewhere();
}

/// A whole message that is too large: its head goes to the ORB, the rest to nobody.
void MessageFraming::BeginRefused(std::span<const char> bytes, const MessageHeader& header) {
  const Head head = LookAtHead(bytes, header).value();  // it was looked at before
  Say(header, head.operation, header.size, head.limit);
  Admit(bytes, header);
  MakeReady(bytes.first(head.end), header);
  drop_left_ = header.size;
  if (header.size > limits_.Drain()) failure_ = fmt::format("a {} of {} bytes", NameOf(header.kind), header.size);
}

/// Makes what the ORB gets in place of a message that is too large.
void MessageFraming::MakeReady(std::span<const char> head, MessageHeader header) {
  std::vector<char> bytes(head.begin(), head.end());
  if (header.kind == MessageKind::Reply) {
    ReplyHead reply;
    header.size = kLongestHead;
    ReadReplyHead(head, header, reply);
    bytes = MarshalException(header, reply.id);
  }
  header.size = bytes.size();
  header.more_fragments = false;
  WriteMessageHeader(header, bytes.data());
  Release(ready_);
  ready_at_ = 0;
  if (!Grow(ready_, bytes.size())) throw UnlawfulMessage("no room for the head of a message");
  std::memcpy(ready_.bytes.data(), bytes.data(), bytes.size());
  ready_.filled = bytes.size();
}

void MessageFraming::Consume(std::size_t count) noexcept {
  backlog_at_ += count;
  if (backlog_at_ < backlog_.filled) return;
  Release(backlog_);
  backlog_at_ = 0;
}

void MessageFraming::Fail(const UnlawfulMessage& failure) {
  failure_ = failure.what();
  has_output_ = true;
}

void MessageFraming::Say(const MessageHeader& header, std::string_view operation, std::uint64_t size,
                         std::uint64_t limit) const {
  refused_(fmt::format("{}{}{} of {} bytes refused: at most {} bytes", NameOf(header.kind),
                       operation.empty() ? "" : " ", operation.substr(0, 64), size, limit));
}

}  // namespace Corvanta
