// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/AnswerSender.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <climits>
#include <cstring>

#include "platform/transport/LargeAnswer.h"

namespace Corvanta {
namespace {

constexpr std::size_t kHeaderBytes = 12;
constexpr unsigned kLittleEndian = 1, kFragmentsFollow = 2;

}  // namespace

int AnswerSender::Send(int socket, const void* bytes, std::size_t size, std::chrono::milliseconds patience) {
  const int count = SendSome(socket, bytes, size, patience);
  if (is_between_answers_) standing_.Answered();
  else standing_.Heard();  // it is owed the rest
  return count;
}

int AnswerSender::SendSome(int socket, const void* bytes, std::size_t size, std::chrono::milliseconds patience) {
  for (;;) {
    const ssize_t count = send(socket, bytes, std::min<std::size_t>(size, INT_MAX), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (count > 0) {
      Count(static_cast<const unsigned char*>(bytes), size, static_cast<std::size_t>(count));
      return static_cast<int>(count);
    }
    if (count < 0 && errno == EINTR) continue;
    const bool is_full = count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
    if (is_full && WaitUntilTaken(socket, size, patience)) continue;
    LargeAnswer::End();
    return -1;
  }
}

/// The ORB begins each message, and each fragment, with a call of its own.
void AnswerSender::Count(const unsigned char* bytes, std::size_t size, std::size_t sent) noexcept {
  constexpr auto kOrder = std::memory_order_relaxed;
  std::uint64_t left = left_.load(kOrder);
  if (left == 0 && size >= kHeaderBytes) {
    std::uint32_t body = 0;
    std::memcpy(&body, bytes + 8, sizeof body);
    if (((bytes[6] & kLittleEndian) != 0) != (std::endian::native == std::endian::little))
      body = __builtin_bswap32(body);
    fragments_follow_.store((bytes[6] & kFragmentsFollow) != 0, kOrder);
    left = kHeaderBytes + std::uint64_t{body};
  }
  left -= std::min<std::uint64_t>(left, sent);
  left_.store(left, kOrder);
  is_between_answers_ = left == 0 && !fragments_follow_.load(kOrder);
  if (is_between_answers_) LargeAnswer::End();
}

/// False when the peer was given up, or took nothing in time.
bool AnswerSender::WaitUntilTaken(int socket, std::size_t size, std::chrono::milliseconds patience) {
  is_stuck_ = true;
  const SendBudget::Wait wait(limits_.budget, *this, LargeAnswer::OfThisThread(), size);
  pollfd ready{socket, POLLOUT, 0};
  const auto limit = std::clamp<std::chrono::milliseconds>(patience, {}, limits_.timeout);
  int count = 0;
  do count = poll(&ready, 1, static_cast<int>(limit.count()));
  while (count < 0 && errno == EINTR);
  const bool is_given_up = wait.IsGivenUp();
  const bool goes_on = count > 0 && !is_given_up;
  if (!goes_on) {
    if (is_given_up || count == 0) SayWhy(is_given_up);
    end_();  // before further requests are read
  }
  is_stuck_ = false;
  is_stuck_.notify_all();
  return goes_on;
}

void AnswerSender::SayWhy(bool is_given_up) {
  if (is_given_up)
    limits_.log.Say(
        "unsent",
        fmt::format("connection from {} closed: it took nothing of its answer for longer than others, and answers "
                    "hold {} bytes, the limit (orb.max_unsent_bytes)",
                    peer_(), limits_.budget.Limit()));
  else
    limits_.log.Say(
        "not taken",
        fmt::format("connection from {} closed: it took nothing of its answer for {} ms (orb.send_timeout_ms)", peer_(),
                    limits_.timeout.count()));
}

}  // namespace Corvanta
