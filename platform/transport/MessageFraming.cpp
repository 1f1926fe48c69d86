// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/MessageFraming.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

namespace Corvanta {
namespace {

constexpr std::size_t kLeastBlock = 16384;                // of memory for what has come in part
constexpr std::size_t kEndOfStatus = kMessageHeader + 8;  // of an answer of version 1.2; and of a LocateReply

bool IsRequest(MessageKind kind) { return kind == MessageKind::Request || kind == MessageKind::LocateRequest; }
bool IsAnswer(MessageKind kind) { return kind == MessageKind::Reply || kind == MessageKind::LocateReply; }

/// Where a message of version 1.2 names its target, with the two bytes that say how; 0 when it has none.
std::size_t EndOfTargetKind(const MessageHeader& header) {
  if (header.minor < 2) return 0;
  return header.kind == MessageKind::Request ? 22 : header.kind == MessageKind::LocateRequest ? 18 : 0;
}

/// How much of a message is looked at in any case.
std::size_t EndOfFixed(const MessageHeader& header) {
  if (header.HasId() && IsAnswer(header.kind)) return kEndOfStatus;
  const bool has_id = header.HasId() || header.kind == MessageKind::CancelRequest;
  return std::max(has_id ? kMessageHeader + 4 : kMessageHeader, EndOfTargetKind(header));
}

std::uint32_t IdOf(std::span<const char> bytes, const MessageHeader& header) {
  return ReadULong(bytes.data() + kMessageHeader, header.little_endian);
}

/// The ORB gives up on a target that is named by a reference.
void RequireKey(std::span<const char> bytes, const MessageHeader& header) {
  const std::size_t end = EndOfTargetKind(header);
  if (end != 0 && end <= bytes.size() && (bytes[end - 2] != 0 || bytes[end - 1] != 0))
    throw UnlawfulMessage("a target that is not named by its key");
}

MessageHeader DropAll(std::uint64_t size) {
  MessageHeader header;
  header.size = size;
  return header;
}

/// An answer that is the system exception MARSHAL.
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

/// Nothing else of a request, or of an answer, may have come.
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

MessageFraming::Part* MessageFraming::Find(std::uint32_t id) noexcept {
  const auto part = std::find_if(parts_.begin(), parts_.end(), [id](const Part& each) { return each.id == id; });
  return part == parts_.end() ? nullptr : &*part;
}

// Doing.

/// The size of a message of the kind that almost all are, whose header needs no more than a glance: a small whole one
/// of version 1.2, not the first of its connection, with nothing else under way. 0 for any other. An answer counts as
/// claimed then.
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
        Part& part = parts_[current_];
        const std::size_t count = std::min<std::uint64_t>(part_left_, Backlog().size());
        if (!part.is_refused && !Grow(part.held, count)) Refuse(part);
        if (!part.is_refused) {
          std::memcpy(part.held.bytes.data() + part.held.filled, Backlog().data(), count);
          part.held.filled += count;
        }
        Consume(count);
        Came(part, count);
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

/// The message that a fragment, or the first of them, belongs to.
MessageFraming::Part& MessageFraming::PartOf(std::span<const char> bytes, const MessageHeader& header) {
  if (header.kind != MessageKind::Fragment) {
    if (parts_.size() >= limits_.parts_at_a_time) throw UnlawfulMessage("too many messages in fragments at a time");
    Part& part = parts_.emplace_back();
    part.header = header;
    if (header.HasId()) part.id = IdOf(bytes, header);
    part.began = std::chrono::steady_clock::now();
    minor_ = header.minor;
    return part;
  }
  Part* part = header.HasId() ? Find(IdOf(bytes, header)) : parts_.empty() ? nullptr : &parts_.front();
  if (part == nullptr) throw UnlawfulMessage("a Fragment of no message");
  if (part->header.little_endian != header.little_endian) throw UnlawfulMessage("fragments of different byte order");
  return *part;
}

/// How many bytes of `bytes` were the fragment's header.
std::size_t MessageFraming::BeginFragment(std::span<const char> bytes, const MessageHeader& header) {
  Part& part = PartOf(bytes, header);
  current_ = static_cast<std::size_t>(&part - parts_.data());
  const bool is_first = header.kind != MessageKind::Fragment;
  const std::size_t head = is_first ? 0 : header.HasId() ? kMessageHeader + 4 : kMessageHeader;
  part_left_ = header.size - head;
  part.size += part_left_;
  part.is_complete = !header.more_fragments;
  Bound(part);
  if (part.size > limits_.Drain()) GiveUp(part);
  else if (part_left_ == 0) EndFragment(part);
  return head;
}

/// Too much has come of a message, or is announced: its call is answered, and the connection ends.
void MessageFraming::GiveUp(Part& part) {
  if (!part.is_refused && part.head_end == 0 && !KnowHead(part)) throw UnlawfulMessage("fragments without end");
  if (!part.is_refused) Refuse(part);
  part.is_complete = true;
  part_left_ = 0;
  EndFragment(part);
  failure_ = "fragments without end";
}

/// `count` bytes of the fragment under way have come.
void MessageFraming::Came(Part& part, std::size_t count) {
  part_left_ -= count;
  Bound(part);
  if (part_left_ == 0) EndFragment(part);
}

/// Refuses a message in fragments once it is known to be too large.
void MessageFraming::Bound(Part& part) {
  if (part.is_refused || part.size <= kPlainMessageBytes || (part.head_end == 0 && !KnowHead(part))) return;
  if (part.size > part.limit) Refuse(part);
}

/// Whether the head of a message in fragments has come.
bool MessageFraming::KnowHead(Part& part) {
  MessageHeader header = part.header;
  header.size = part.is_complete ? part.size : std::max<std::uint64_t>(part.size, kLongestHead);
  const std::optional<Head> head = LookAtHead(part.held.Filled(), header);
  if (!head) return false;
  part.head_end = head->end;
  part.limit = head->limit;
  part.operation = head->operation;
  return true;
}

void MessageFraming::Refuse(Part& part) {
  if (part.head_end == 0 && !KnowHead(part)) throw UnlawfulMessage("no room for the beginning of a message");
  Say(part.header, part.operation, part.size, part.limit);
  const std::vector<char> head(part.held.bytes.begin(),
                               part.held.bytes.begin() + static_cast<std::ptrdiff_t>(part.head_end));
  Release(part.held);
  part.is_refused = true;
  if (!Grow(part.held, head.size())) throw UnlawfulMessage("no room for the head of a message");
  std::memcpy(part.held.bytes.data(), head.data(), head.size());
  part.held.filled = head.size();
}

/// What follows a fragment that is not the last must stand at the same place for whoever counts from the message's
/// beginning and for whoever counts from its fragment's: the header of a fragment takes 12 bytes in version 1.1, and
/// 16, with the id, in 1.2.
void MessageFraming::EndFragment(Part& part) {
  if (!part.is_complete) {
    if (part.size % 8 != (part.header.minor == 1 ? kMessageHeader % 8 : 0))
      throw UnlawfulMessage(fmt::format("a fragment of version 1.{} whose end is not aligned", part.header.minor));
    return;
  }
  Part whole = std::move(part);
  parts_.erase(parts_.begin() + static_cast<std::ptrdiff_t>(current_));
  try {
    MakeWhole(whole);
  } catch (...) {
    Release(whole.held);
    throw;
  }
}

/// A message whose last fragment has come is the next that the ORB gets.
void MessageFraming::MakeWhole(Part& part) {
  MessageHeader header = part.header;
  header.size = part.held.filled;
  header.more_fragments = false;
  const std::span<const char> bytes = part.held.Filled();
  RequireKey(bytes, header);
  if (side_ == Side::Own && !header.HasId()) LookAtHead(bytes, header);  // for its check of the id
  Admit(bytes, header);
  if (part.is_refused) {
    MakeReady(bytes, header);
    Release(part.held);
    return;
  }
  WriteMessageHeader(header, part.held.bytes.data());
  Release(ready_);
  ready_ = std::move(part.held);
  ready_at_ = 0;
}

/// A caller lost patience: what has come of its request is let go.
void MessageFraming::Cancel(std::uint32_t id) {
  for (auto part = parts_.begin(); part != parts_.end(); ++part) {
    RequestHead head;
    head.id = part->id;
    if (!part->header.HasId()) {
      MessageHeader header = part->header;
      header.size = kLongestHead;
      if (ReadRequestHead(part->held.Filled(), header, head) == Reading::Incomplete) continue;
    }
    if (head.id != id) continue;
    Release(part->held);
    parts_.erase(part);
    return;
  }
}

// Memory and time.

/// Room for `count` bytes more; false when the budget is spent.
bool MessageFraming::Grow(Held& held, std::size_t count) {
  const std::size_t have = held.bytes.size();
  const std::size_t wanted = held.filled + count;
  if (wanted <= have) return true;
  const std::size_t storage = std::max(wanted, std::min<std::size_t>(2 * have, limits_.max_message_bytes));
  if (!budget_.Take(storage - have)) return false;
  try {
    held.bytes.resize(storage);
  } catch (...) {
    budget_.Give(storage - have);
    throw;
  }
  return true;
}

void MessageFraming::Release(Held& held) noexcept {
  budget_.Give(held.bytes.size());
  held = Held{};
}

void MessageFraming::Consume(std::size_t count) noexcept {
  backlog_at_ += count;
  if (backlog_at_ < backlog_.filled) return;
  Release(backlog_);
  backlog_at_ = 0;
}

void MessageFraming::RequireInTime() const {
  if (parts_.empty()) return;
  const auto oldest = std::min_element(parts_.begin(), parts_.end(),
                                       [](const Part& one, const Part& other) { return one.began < other.began; });
  if (std::chrono::steady_clock::now() - oldest->began > limits_.assembly_time)
    throw UnlawfulMessage("fragments of a message that does not come to its end");
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
