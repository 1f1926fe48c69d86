// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "tools/math_web/Channel.h"
#include "tools/math_web/Outlet.h"
#include "tools/math_web/Request.h"
#include "tools/math_web/Stream.h"
#include "tools/math_web/state_text.h"

namespace Lumenar::Web {

class Hub;

/// How much one client may have at a time.
inline constexpr std::size_t kMostStreams = 16;
inline constexpr std::size_t kMostWaitingRequests = 16;

/// The conversation with one client: takes its messages, owns its streams, tells it the state of the platform.
/// Threads  the gateway's own.
class Session : public std::enable_shared_from_this<Session> {
 public:
  Session(Hub& hub, Outlet& outlet);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// A message of the client, any text at all.
  void OnText(std::string_view text);

  /// All that was sent has been handed to the system.
  void OnSent();

  /// The state of the platform: sent when something in it has changed, or the last one is old.
  void OfferState(const StateText& state);

  void Send(std::shared_ptr<const std::string> text) { outlet_.Send({std::move(text)}); }

  /// The answer to a request that waited.
  void Finish(std::shared_ptr<const std::string> answer);

  /// What Subscribe wanted is there; nothing when it was given up meanwhile.
  void Attach(const Request& request, std::shared_ptr<Channel> channel);

  /// Subscribe came to nothing.
  void GiveUp(const Request& request);

  std::size_t StreamCount() const { return streams_.size(); }

 private:
  using Clock = std::chrono::steady_clock;

  void Take(const Request& request);
  void Subscribe(const Request& request);
  void Unsubscribe(std::uint32_t stream) { streams_.erase(stream); }
  void Ask(const Request& request);
  bool Waits(const Request& request);

  Hub& hub_;
  Outlet& outlet_;
  std::map<std::uint32_t, std::unique_ptr<Stream>> streams_;
  std::size_t waiting_ = 0;  // requests
  std::size_t faults_ = 0;   // messages that were none
  std::string told_mark_;
  Clock::time_point told_{};
  std::shared_ptr<const std::string> state_;  // waits for the client to take what was sent before
};

}  // namespace Lumenar::Web
