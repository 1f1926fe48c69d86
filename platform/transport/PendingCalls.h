// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/base/Mutex.h"
#include "platform/transport/MessageFraming.h"

namespace Corvanta {

/// The calls that went out over a connection of our own and were not answered yet, read off what is sent.
/// Threads   any; one sends at a time, and one reads.
class PendingCalls final : public ExpectedAnswers {
 public:
  /// So often may answers send one call elsewhere, or have it made again, counted over all connections that it takes.
  static constexpr unsigned kMostDetours = 8;

  /// These bytes are about to be sent: notes the call that begins with them, if one does.
  void Sending(std::span<const char> bytes) noexcept {
    if (left_ == 0 && !NoteOrdinary(bytes)) NoteOther(bytes);
  }

  /// So many of these bytes were sent.
  void Sent(std::size_t count) noexcept { left_ -= std::min<std::uint64_t>(left_, count); }

  /// No call waits for its answer, and none is half sent.
  bool IsAtRest() const noexcept { return left_ == 0 && only_.call == kNone && others_count_ == 0; }

  /// The thread that reads next reads for a call with this deadline, in ns; 0: it has none. By its deadline a call is
  /// known again when it is sent elsewhere.
  void ReadsFor(std::uint64_t deadline) noexcept { deadline_ = deadline; }

  MessageLimit LimitOf(std::uint32_t id) override;
  bool Done(std::uint32_t id) noexcept override {
    if (only_.call.load(std::memory_order_acquire) != (kWaits | id)) return DoneOther(id);
    only_.call.store(kNone, std::memory_order_release);
    return true;
  }
  void SentElsewhere() override;

 private:
  static constexpr std::uint64_t kNone = 0, kWaits = std::uint64_t{1} << 32;

  /// The call of a connection that has one at a time, as almost all have. The thread that sends fills it while it is
  /// free; the one that reads frees it.
  struct Only {
    std::atomic<std::uint64_t> call{kNone};  // kWaits and its id
    std::uint32_t length = 0;
    char operation[kLongestWithLargeAnswer];  // of operations with longer names all answers are plain
  };

  struct Call {
    std::uint32_t id;
    MessageLimit limit;
  };

  bool NoteOrdinary(std::span<const char> bytes) noexcept;
  void NoteOther(std::span<const char> bytes) noexcept;
  void Note(std::span<const char> bytes, const MessageHeader& header);
  void Add(Call call);
  bool DoneOther(std::uint32_t id) noexcept;

  std::uint64_t left_ = 0;  // of the message that is being sent
  std::uint64_t deadline_ = 0;
  Only only_;
  Lumenar::Mutex mutex_;
  std::vector<Call> others_ GUARDED_BY(mutex_);
  std::atomic<std::size_t> others_count_{0};
};

}  // namespace Corvanta
