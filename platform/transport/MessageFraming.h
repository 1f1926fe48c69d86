// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/transport/AssemblyBudget.h"
#include "platform/transport/operation_limits.h"
#include "platform/wire/message_head.h"

namespace Corvanta {

/// What a connection of our own asked and was not answered yet.
class ExpectedAnswers {
 public:
  /// The limit of the answer to a request. Errors   UnlawfulMessage when nobody asked, or was answered already.
  virtual MessageLimit LimitOf(std::uint32_t id) = 0;
  /// The answer is here. False when nobody asked.
  virtual bool Done(std::uint32_t id) noexcept = 0;
  /// An answer sent its call elsewhere, or to be made again. Errors   UnlawfulMessage when that does not come to an
  /// end.
  virtual void SentElsewhere() {}

 protected:
  ~ExpectedAnswers() = default;
};

/// What a MessageFraming holds at most.
struct FramingLimits {
  std::uint64_t max_message_bytes = 80u << 20;
  std::size_t parts_at_a_time = 16;  ///< messages in fragments that may be interleaved on a connection
  std::chrono::steady_clock::duration assembly_time = std::chrono::seconds(180);
  unsigned drain_factor = 4;  ///< times max_message_bytes: so much is read of a message that is too large
  std::uint64_t Drain() const noexcept { return drain_factor * max_message_bytes; }
};

/// Makes whole, lawful messages of what comes over a connection, before the ORB sees any of it.
///
/// A message that comes whole is not touched: it is read to where the ORB wants it, and only its head is looked at.
/// Fragments are put together here; a message that has come in part is held within limits of size, number and time. A
/// message that is larger than its operation's limit (operation_limits.h) is read to its end, but only its head reaches
/// the ORB, so that the call ends with MARSHAL and the connection goes on: a request comes without its arguments, an
/// answer becomes that exception. One that is larger by far (drain_factor) ends the connection besides. A CancelRequest
/// is dropped, with what has come of its request.
///
/// For each read that the ORB asks for:
///
///     while ((count = framing.Give(buffer)) == 0) {          // what is here already
///       const std::size_t read = Read(framing.Room(buffer)); // else some bytes, to where it says
///       if ((count = framing.Arrived(buffer, read)) > 0) break;
///     }
///
/// While IsPlain there is nothing to give, and the room is the buffer: neither need be asked.
///
/// However a stream is cut into reads, the same messages come out.
/// Errors    UnlawfulMessage, after all that came before it: the connection is to be closed; std::bad_alloc, likewise.
/// Threads   one at a time; HasOutput: any.
class MessageFraming {
 public:
  enum class Side { Served, Own };

  /// `expected` for a connection of our own, null else; `refused` takes a sentence for each message that was too large.
  MessageFraming(Side side, const FramingLimits& limits, AssemblyBudget& budget, ExpectedAnswers* expected,
                 std::function<void(const std::string&)> refused);
  ~MessageFraming();
  MessageFraming(const MessageFraming&) = delete;
  MessageFraming& operator=(const MessageFraming&) = delete;

  /// Copies bytes for the ORB that are here already to `buffer`; 0 when something must be read first.
  std::size_t Give(std::span<char> buffer);

  /// Where to read next, after Give returned 0, and how many bytes at most: to `buffer`, or to a place of its own.
  std::span<char> Room(std::span<char> buffer);

  /// `count` bytes were read to Room(buffer). How many bytes for the ORB stand at the beginning of `buffer`.
  std::size_t Arrived(std::span<char> buffer, std::size_t count);

  /// Whether no message is held in part, nor anything else that had to be put aside.
  bool IsPlain() const noexcept { return is_plain_; }

  /// Whether the next Give has something: the ORB must not wait for the socket then.
  bool HasOutput() const noexcept { return has_output_; }

  /// Messages of which a part is held.
  std::size_t Parts() const noexcept { return parts_.size(); }

 private:
  /// Bytes that are held, and their share of the budget.
  struct Held {
    std::vector<char> bytes;  // storage; the first `filled` have come
    std::size_t filled = 0;

    std::span<const char> Filled() const noexcept { return std::span(bytes).first(filled); }
  };

  /// A message in fragments, as far as it has come.
  struct Part {
    MessageHeader header;  // of its first fragment
    std::uint32_t id = 0;  // in version 1.2
    Held held;
    std::uint64_t size = 0;    // of the message, with the fragment under way and with what was let go
    std::size_t head_end = 0;  // 0: its head has not come yet; else
    std::uint64_t limit = 0;
    std::string operation;
    bool is_refused = false;   // too large: the head alone is held
    bool is_complete = false;  // its last fragment has begun
    std::chrono::steady_clock::time_point began{};
  };

  /// What is to be done with the message or fragment that begins at a place.
  enum class Step { Pass, NeedMore, Fragment, Drop, Refuse };
  struct Next {
    Step step = Step::NeedMore;
    MessageHeader header;
    std::uint64_t needed = 0;  // NeedMore: so many bytes of it
  };
  static Next NeedMore(std::uint64_t bytes) { return {Step::NeedMore, {}, bytes}; }

  // Looking, which changes nothing. `bytes` begins with the message.
  Next Look(std::span<const char> bytes);
  Next LookAtWhole(std::span<const char> bytes, const MessageHeader& header);
  void RequireLawful(const MessageHeader& header) const;
  void RequireFree(std::span<const char> bytes, const MessageHeader& header);
  /// What the head of a large message says.
  struct Head {
    std::size_t end = 0;
    std::uint64_t limit = 0;     // of the message
    std::string_view operation;  // of a request; points into the message
  };
  /// None when the head has not come yet.
  std::optional<Head> LookAtHead(std::span<const char> bytes, const MessageHeader& header);
  std::uint64_t LimitOf(MessageLimit limit) const noexcept;

  // Doing.
  std::size_t PassInPlace(std::span<char> bytes);
  std::size_t PassSeveral(std::span<const char> bytes, std::uint64_t size);
  std::uint64_t OrdinarySize(std::span<const char> bytes) noexcept;
  std::uint64_t OtherSize(std::span<const char> bytes);
  void Keep(std::span<const char> bytes);
  void Digest();
  void DigestMessage();
  void DigestFragment();
  void Admit(std::span<const char> bytes, const MessageHeader& header);
  void BeginRefused(std::span<const char> bytes, const MessageHeader& header);
  std::size_t BeginFragment(std::span<const char> bytes, const MessageHeader& header);
  Part& PartOf(std::span<const char> bytes, const MessageHeader& header);
  void Came(Part& part, std::size_t count);
  void Bound(Part& part);
  bool KnowHead(Part& part);
  void Refuse(Part& part);
  void GiveUp(Part& part);
  void EndFragment(Part& part);
  void MakeWhole(Part& part);
  void Cancel(std::uint32_t id);
  bool Grow(Held& held, std::size_t count);
  void Release(Held& held) noexcept;
  void MakeReady(std::span<const char> head, MessageHeader header);
  Part* Find(std::uint32_t id) noexcept;
  void RequireInTime() const;
  void Fail(const UnlawfulMessage& failure);
  void Say(const MessageHeader& header, std::string_view operation, std::uint64_t size, std::uint64_t limit) const;

  std::span<const char> Backlog() const noexcept { return backlog_.Filled().subspan(backlog_at_); }
  void Consume(std::size_t count) noexcept;
  void Settle() noexcept;

  const Side side_;
  const FramingLimits limits_;
  AssemblyBudget& budget_;
  ExpectedAnswers* const expected_;
  const std::function<void(const std::string&)> refused_;

  // Bytes that are still to come of the message or fragment under way; one of them at most is not 0.
  std::uint64_t pass_left_ = 0;  // for the ORB
  std::uint64_t drop_left_ = 0;  // for nobody
  std::uint64_t part_left_ = 0;  // for parts_[current_]
  std::size_t current_ = 0;

  Held backlog_;  // was read, and not looked at yet, from backlog_at_ on
  std::size_t backlog_at_ = 0;
  std::uint64_t needed_ = 0;  // bytes that the backlog must hold before it is looked at again
  Held ready_;                // a message that was put together, to be given from ready_at_ on
  std::size_t ready_at_ = 0;
  std::vector<Part> parts_;
  int minor_ = -1;           // version of the connection's messages, once one came
  bool is_closing_ = false;  // the last message has come
  bool is_plain_ = true;
  // What ordinary messages begin with, in the order of its bytes in memory; 0: none is at present.
  std::uint64_t ordinary_ = 0;
  std::optional<std::string> failure_;
  std::atomic<bool> has_output_{false};
};

/// One read of the ORB: what its transport's Recv would return, of whole messages alone. `receive` reads from the
/// socket as that does; `unlawful` is told why the connection ends.
template <class Receive, class Unlawful>
int ReceiveFramed(MessageFraming& framing, std::span<char> buffer, Receive&& receive, Unlawful&& unlawful) noexcept {
  try {
    for (;;) {
      const bool is_plain = framing.IsPlain();
      std::size_t count = is_plain ? 0 : framing.Give(buffer);
      if (count == 0) {
        const std::span<char> room = is_plain ? buffer : framing.Room(buffer);
        const int read = receive(room.data(), room.size());
        if (read <= 0) return read;
        count = framing.Arrived(buffer, static_cast<std::size_t>(read));
      }
      if (count > 0) return static_cast<int>(count);
    }
  } catch (const UnlawfulMessage& failure) {
    unlawful(failure.what());
  } catch (const std::bad_alloc&) {
    unlawful("no memory for what has come in part");
  }
  return -1;
}

}  // namespace Corvanta
