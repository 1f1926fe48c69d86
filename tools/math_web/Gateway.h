// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "client/Connection.h"
#include "platform/base/PeriodicTask.h"
#include "tools/math_web/Access.h"
#include "tools/math_web/Commands.h"
#include "tools/math_web/Feeds.h"
#include "tools/math_web/Hub.h"
#include "tools/math_web/PageFiles.h"
#include "tools/math_web/PlatformLook.h"
#include "tools/math_web/Reply.h"
#include "tools/math_web/Session.h"
#include "tools/math_web/WorkQueue.h"

namespace Lumenar::Web {

/// A request of HTTP, as far as it matters here.
struct HttpRequest {
  std::string method;
  std::string target;
  std::string known;  ///< If-None-Match
  Credentials credentials;
};

/// What the gateway is told when it is started.
struct GatewaySettings {
  std::string factory;  ///< registered name of the math engine that "math:3" is of
  bool allow_control = false;
  std::size_t clients = 64;  ///< that may be connected by WebSocket
  std::string page;          ///< a folder with the page's files instead of those that are built in; empty: those
  Access::Rules access;
};

/// The gateway between clients of the web and the platform; sockets are the server's affair.
///
/// What belongs to clients happens on one thread, the gateway's own; calls to other processes on others, so that no
/// client waits because one of them hangs.
/// Threads  the gateway's own, where nothing else is said.
class Gateway {
 public:
  /// `post` brings things to the gateway's own thread; it has to outlive this object.
  Gateway(Client::Connection& connection, GatewaySettings settings, Post post);

  /// The gateway's own thread has ended before.
  ~Gateway();
  Gateway(const Gateway&) = delete;
  Gateway& operator=(const Gateway&) = delete;

  /// Answers a request of HTTP, now or later.
  using Respond = std::function<void(Reply)>;
  void Answer(const HttpRequest& request, const Respond& respond);

  /// Why a client may not connect by WebSocket now; nothing when it may.
  std::optional<Refusal> RefuseLive(const HttpRequest& request);

  std::shared_ptr<Session> Begin(Outlet& outlet);

  /// Counts of what the sockets see.
  HubTotals& Totals() { return hub_.Totals(); }

  /// Answers no request any more that still waits for a call to another process.
  void ForgetRequests() { waiting_.clear(); }

  /// Ends all calls to other processes, and waits for those under way. Threads   any, once.
  void EndCalls() noexcept;

 private:
  using Clock = std::chrono::steady_clock;

  void AnswerData(const HttpRequest& request, const std::string& path, const Respond& respond);
  void Finish(std::uint64_t ticket, const Reply& reply);
  Reply DataAt(const std::string& path, const GatewayCounts& counts);
  Reply Metrics(const GatewayCounts& counts);
  Reply Health();
  GatewayCounts Counts();
  std::optional<Clock::time_point> LookStep();
  void LookAndTell();
  Clock::duration Rest() const;
  void EndTheGone(const Snapshot& snapshot);

  Client::Connection& connection_;
  const Access access_;
  const std::size_t most_clients_;
  const PageFiles page_;
  const Post post_;
  std::atomic<std::size_t> clients_{0};
  std::map<std::uint64_t, Respond> waiting_;  // by ticket: whoever is answered lives on this thread alone
  std::uint64_t last_ticket_ = 0;
  PlatformLook look_;
  Commands commands_;
  Feeds feeds_;
  WorkQueue work_;
  Hub hub_;
  PeriodicTask looks_;
};

}  // namespace Lumenar::Web
