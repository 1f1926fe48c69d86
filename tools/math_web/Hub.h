// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "tools/math_web/Channel.h"
#include "tools/math_web/Commands.h"
#include "tools/math_web/Feeds.h"
#include "tools/math_web/Outlet.h"
#include "tools/math_web/RateLimit.h"
#include "tools/math_web/Session.h"
#include "tools/math_web/WorkQueue.h"
#include "tools/math_web/state_text.h"

namespace Lumenar::Web {

/// Does something on the gateway's own thread, later. Threads   any.
using Post = std::function<void(std::function<void()>)>;

/// What is counted of all clients.
struct HubTotals {
  std::uint64_t requests = 0;
  std::uint64_t refused = 0;
  std::uint64_t bytes = 0;
  StreamTotals streams;
};

/// All conversations, and the channels that they share.
/// Threads  the gateway's own; where another one is meant, it says so.
class Hub {
 public:
  Hub(Feeds& feeds, Commands& commands, WorkQueue& work, Post post, bool allow_control)
      : feeds_(feeds), commands_(commands), work_(work), post_(std::move(post)), allow_control_(allow_control) {}

  /// A new client, whose welcome follows.
  std::shared_ptr<Session> Begin(Outlet& outlet);
  void Leave(const Session& session);

  std::size_t Clients() const { return sessions_.size(); }
  std::size_t Streams() const;
  HubTotals& Totals() { return totals_; }

  /// Why no change may be made now; empty when one may.
  std::string RefuseChange();

  /// Does what a request asks, on another thread, and answers.
  void Do(Session& session, const Request& request);

  /// Finds what a Subscribe wants, on another thread, and lets its stream join.
  void Open(Session& session, const Request& request);

  /// A sample has come.
  void Take(const std::string& name, const Newest& newest);

  /// A reading is no more.
  void End(const std::string& name, const std::string& reason);

  void Tell(const StateText& state);

  /// After a change that a client made; called on the threads of the work queue.
  std::function<void()> on_change;

 private:
  void Attach(const std::weak_ptr<Session>& session, const Request& request, const std::shared_ptr<Feed>& feed,
              const std::shared_ptr<const std::string>& answer);
  std::shared_ptr<Channel> ChannelOf(const std::shared_ptr<Feed>& feed);

  Feeds& feeds_;
  Commands& commands_;
  WorkQueue& work_;
  const Post post_;
  const bool allow_control_;
  std::set<const Session*> sessions_;
  std::map<const Session*, std::weak_ptr<Session>> told_;
  std::map<std::string, std::shared_ptr<Channel>> channels_;
  StateText state_;
  HubTotals totals_;
  RateLimit changes_{20, 40};
};

}  // namespace Lumenar::Web
