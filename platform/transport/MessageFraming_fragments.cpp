// SPDX-License-Identifier: Apache-2.0
// Messages in fragments: put together, bounded, cancelled, and the memory that holds them.
#include "platform/transport/MessageFraming.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace Corvanta {

MessageFraming::Part* MessageFraming::Find(std::uint32_t id) noexcept {
  const auto part = std::find_if(parts_.begin(), parts_.end(), [id](const Part& each) { return each.id == id; });
  return part == parts_.end() ? nullptr : &*part;
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

/// Goes on with the fragment under way by what has been read.
void MessageFraming::DigestFragment() {
  Part& part = parts_[current_];
  const std::size_t count = std::min<std::uint64_t>(part_left_, Backlog().size());
  if (!part.is_refused && !Grow(part.held, count)) Refuse(part);
  if (!part.is_refused) {
    std::memcpy(part.held.bytes.data() + part.held.filled, Backlog().data(), count);
    part.held.filled += count;
  }
  Consume(count);
  Came(part, count);
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

void MessageFraming::RequireInTime() const {
  if (parts_.empty()) return;
  const auto oldest = std::min_element(parts_.begin(), parts_.end(),
                                       [](const Part& one, const Part& other) { return one.began < other.began; });
  if (std::chrono::steady_clock::now() - oldest->began > limits_.assembly_time)
    throw UnlawfulMessage("fragments of a message that does not come to its end");
}

}  // namespace Corvanta
