// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/PendingCalls.h"

#include <cstring>
#include <new>
#include <string_view>

namespace Corvanta {
namespace {

/// How often the call that a thread makes was sent elsewhere.
struct Detours {
  std::uint64_t deadline = 0;
  unsigned count = 0;
};

thread_local Detours detours;

}  // namespace

/// Notes an ordinary request, one of version 1.2 in little-endian order that is to be answered and whose target and
/// operation are in these bytes, at a glance; false for any other message, and when a call waits already.
bool PendingCalls::NoteOrdinary(std::span<const char> bytes) noexcept {
  constexpr char kRequest[] = {'G', 'I', 'O', 'P', 1, 2, 1, static_cast<char>(MessageKind::Request)};
  constexpr std::size_t kKeyAt = 28;
  if (bytes.size() < kKeyAt + 4 || FirstEight(bytes.data()) != FirstEight(kRequest)) return false;
  const bool is_answered = (bytes[16] & 1) != 0, is_by_key = (bytes[20] | bytes[21]) == 0;
  if (!is_answered || !is_by_key || only_.call.load(std::memory_order_acquire) != kNone) return false;
  const std::size_t key = ReadULong(bytes.data() + kKeyAt - 4, true);
  if (key > bytes.size()) return false;
  const std::size_t operation = kKeyAt + (key + 3) / 4 * 4 + 4;
  if (operation > bytes.size()) return false;
  const std::size_t length = ReadULong(bytes.data() + operation - 4, true), there = bytes.size() - operation;
  if (length == 0 || length > there) return false;
  only_.length = static_cast<std::uint32_t>(length - 1);
  const char* const name = bytes.data() + operation;
  if (there >= sizeof only_.operation) std::memcpy(only_.operation, name, sizeof only_.operation);
  else std::memcpy(only_.operation, name, length);
  left_ = kMessageHeader + std::uint64_t{ReadULong(bytes.data() + 8, true)};
  only_.call.store(kWaits | ReadULong(bytes.data() + kMessageHeader, true), std::memory_order_release);
  return true;
}

void PendingCalls::NoteOther(std::span<const char> bytes) noexcept {
  if (bytes.size() < kMessageHeader) return;
  try {
    const MessageHeader header = ReadMessageHeader(bytes);
    left_ = header.size;
    Note(bytes, header);
  } catch (const UnlawfulMessage&) {  // the ORB's own: its answer will be one to nobody
  } catch (const std::bad_alloc&) {}
}

void PendingCalls::Note(std::span<const char> bytes, const MessageHeader& header) {
  if (header.kind == MessageKind::LocateRequest && bytes.size() >= kMessageHeader + 4) {
    Add({ReadULong(bytes.data() + kMessageHeader, header.little_endian), MessageLimit::Plain});
  } else if (header.kind == MessageKind::Request) {
    MessageHeader whole = header;
    if (header.more_fragments) whole.size = std::max<std::uint64_t>(header.size, kLongestHead);
    RequestHead head;
    ReadRequestHead(bytes, whole,
                    head);  // the operation may be missing when the head is very long: then its answer is a plain one
    if (head.answered) Add({head.id, AnswerLimit(head.operation)});
  }
}

void PendingCalls::Add(Call call) {
  Lumenar::Lock lock(mutex_);
  others_.push_back(call);
  others_count_ = others_.size();
}

MessageLimit PendingCalls::LimitOf(std::uint32_t id) {
  if (only_.call.load(std::memory_order_acquire) == (kWaits | id)) {
    if (only_.length > sizeof only_.operation) return MessageLimit::Plain;
    return AnswerLimit({only_.operation, only_.length});
  }
  Lumenar::Lock lock(mutex_);
  const auto call = std::find_if(others_.begin(), others_.end(), [id](const Call& each) { return each.id == id; });
  if (call == others_.end()) throw UnlawfulMessage("an answer to nobody");
  return call->limit;
}

bool PendingCalls::DoneOther(std::uint32_t id) noexcept {
  Lumenar::Lock lock(mutex_);
  const auto call = std::find_if(others_.begin(), others_.end(), [id](const Call& each) { return each.id == id; });
  if (call == others_.end()) return false;
  others_.erase(call);
  others_count_ = others_.size();
  return true;
}

/// Left to itself the ORB follows such answers, as fast as they come, for as long as the call may last.
void PendingCalls::SentElsewhere() {
  if (deadline_ == 0) return;
  if (detours.deadline != deadline_) detours = {deadline_, 0};
  if (++detours.count > kMostDetours) throw UnlawfulMessage("answers that send a call round in a circle");
}

}  // namespace Corvanta
