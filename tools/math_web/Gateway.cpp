// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/Gateway.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <map>
#include <utility>
#include <vector>

#include "platform/base/Diagnostic.h"
#include "platform/base/ProcessUse.h"
#include "platform/orb/CorbaText.h"
#include "platform/orb/GivingBack.h"
#include "tools/math_web/metrics_text.h"
#include "tools/math_web/state_text.h"

namespace Lumenar::Web {
namespace {

constexpr unsigned kWorkers = 4;
constexpr std::size_t kMostJobs = 256;
constexpr std::chrono::seconds kBetweenLooks{1};
constexpr std::chrono::seconds kLongestRest{10};
constexpr int kRestAfterLook = 4;  // times as long as it took: with very many objects a look is work for their engine
constexpr std::chrono::seconds kDataAge{2};
constexpr const char* kBusySentence = "The gateway has too much to do: ask again in a moment.";

/// Where the RESULT of each object stands now.
Feeds::TopicOf TopicsOf(const Snapshot& snapshot) {
  std::map<std::pair<std::string, std::int32_t>, std::string> topics;
  for (const ObjectFacts& one : snapshot.objects) topics[{one.object.engine, one.object.id}] = one.report.result_topic;
  return [topics = std::move(topics),
          engines = snapshot.math_engines](const Client::MathName& object) -> std::optional<std::string> {
    const auto engine = engines.find(object.engine);
    if (engine == engines.end() || !engine->second) return std::nullopt;
    const auto topic = topics.find({object.engine, object.id});
    return topic == topics.end() ? std::string() : topic->second;
  };
}

std::string Lines(const std::vector<std::string>& sentences) {
  std::string text;
  for (const std::string& sentence : sentences) text += (text.empty() ? "" : "\n") + sentence;
  return text;
}

}  // namespace

Gateway::Gateway(Client::Connection& connection, GatewaySettings settings, Post post)
    : connection_(connection),
      access_(std::move(settings.access)),
      most_clients_(settings.clients),
      page_(std::move(settings.page)),
      post_(std::move(post)),
      look_(connection, settings.factory),
      commands_(connection, settings.factory, look_),
      feeds_(connection, settings.factory,
             [this](const std::string& name, const Newest& newest) {
               post_([this, name, newest] { hub_.Take(name, newest); });
             }),
      work_(kWorkers, kMostJobs),
      hub_(feeds_, commands_, work_, post_, settings.allow_control),
      looks_([this] { return LookStep(); }) {
  hub_.on_change = [this] { looks_.Wake(); };
  looks_.Start();
}

Gateway::~Gateway() {
  EndCalls();
  const Corvanta::GivingBack giving_back(connection_.Orb());
}

void Gateway::EndCalls() noexcept {
  looks_.Stop();
  work_.Stop();
}

std::optional<Refusal> Gateway::RefuseLive(const HttpRequest& request) {
  if (PathOf(request.target) != "/live") return Refusal{404, "A WebSocket is at /live."};
  if (auto refusal = access_.RefuseLive(request.credentials)) return refusal;
  const auto offered = ListOf(request.credentials.protocols);
  if (std::find(offered.begin(), offered.end(), kSubProtocol) == offered.end())
    return Refusal{400, fmt::format("The sub-protocol {} has to be offered.", kSubProtocol)};
  if (hub_.Clients() < most_clients_) return std::nullopt;
  return Refusal{503, fmt::format("{} clients are connected, the limit.", most_clients_)};
}

std::shared_ptr<Session> Gateway::Begin(Outlet& outlet) {
  auto session = hub_.Begin(outlet);
  clients_ = hub_.Clients();
  looks_.Wake();
  return session;
}

void Gateway::Answer(const HttpRequest& request, const Respond& respond) {
  ++Totals().requests;
  const auto refuse = [&](const Refusal& refusal) {
    ++Totals().refused;
    respond(TextReply(refusal.status, refusal.text));
  };
  if (const auto refusal = access_.RefuseHost(request.credentials)) return refuse(*refusal);
  if (request.method != "GET" && request.method != "HEAD") return refuse({405, "GET and HEAD are all that is taken."});
  const std::string path = PathOf(request.target);
  if (path == "/metrics" || path == "/healthz") return AnswerData(request, path, respond);
  if (path == "/live") return refuse({426, "This is a WebSocket."});
  if (auto file = page_.Find(path, request.known)) return respond(std::move(*file));
  refuse({404, "There is no such page here."});
}

void Gateway::AnswerData(const HttpRequest& request, const std::string& path, const Respond& respond) {
  const auto refusal = access_.RefuseData(request.credentials);
  if (refusal) {
    ++Totals().refused;
    return respond(TextReply(refusal->status, refusal->text));
  }
  const std::uint64_t ticket = ++last_ticket_;
  waiting_[ticket] = respond;
  const bool taken = work_.Add([this, path, counts = Counts(), ticket] {
    const Reply reply = DataAt(path, counts);
    post_([this, ticket, reply] { Finish(ticket, reply); });
  });
  if (!taken) Finish(ticket, TextReply(503, kBusySentence));
}

void Gateway::Finish(std::uint64_t ticket, const Reply& reply) {
  const auto waiting = waiting_.extract(ticket);
  if (!waiting.empty()) waiting.mapped()(reply);
}

Reply Gateway::DataAt(const std::string& path, const GatewayCounts& counts) {
  try {
    return path == "/metrics" ? Metrics(counts) : Health();
  } catch (const CORBA::Exception& exception) {
    return TextReply(500, CorbaText(exception));
  } catch (const std::exception& exception) {
    return TextReply(500, exception.what());
  }
}

Reply Gateway::Metrics(const GatewayCounts& counts) {
  const auto snapshot = look_.NotOlderThan(kDataAge);
  Reply reply;
  reply.type = "text/plain; version=0.0.4; charset=utf-8";
  reply.body = std::make_shared<const std::string>(MetricsText(*snapshot, commands_.Numbers(*snapshot), counts));
  return reply;
}

Reply Gateway::Health() {
  const auto snapshot = look_.NotOlderThan(kDataAge);
  return snapshot->problems.empty() ? TextReply(200, "well") : TextReply(503, Lines(snapshot->problems));
}

GatewayCounts Gateway::Counts() {
  const HubTotals& totals = hub_.Totals();
  GatewayCounts counts;
  counts.clients = hub_.Clients();
  counts.streams = hub_.Streams();
  counts.readings = feeds_.Count();
  counts.frames = totals.streams.frames;
  counts.skipped = totals.streams.skipped;
  counts.bytes = totals.bytes;
  counts.requests = totals.requests;
  counts.refused = totals.refused;
  counts.use = UseOfThisProcess();
  return counts;
}

/// Looks at the platform while there is a client who wants to know.
std::optional<PeriodicTask::Clock::time_point> Gateway::LookStep() {
  post_([this] { clients_ = hub_.Clients(); });
  if (clients_ == 0) return Clock::now() + kBetweenLooks;
  try {
    LookAndTell();
  } catch (const std::exception& exception) {  // no thread, or no memory, for it: later
    WriteError(std::string("math_web: a look at the platform failed: ") + exception.what());
  }
  return Clock::now() + Rest();
}

/// A look that waited for somebody who does not answer was no work for anybody.
Gateway::Clock::duration Gateway::Rest() const {
  if (!look_.Last()->problems.empty()) return kBetweenLooks;
  return std::clamp<Clock::duration>(look_.Took() * kRestAfterLook, kBetweenLooks, kLongestRest);
}

void Gateway::LookAndTell() {
  const auto snapshot = look_.NotOlderThan({});
  post_([this, state = StateTextOf(*snapshot)] { hub_.Tell(state); });
  EndTheGone(*snapshot);
}

void Gateway::EndTheGone(const Snapshot& snapshot) {
  for (const std::string& name : feeds_.Refresh(TopicsOf(snapshot)))
    post_([this, name] { hub_.End(name, name + " is no more"); });
}

}  // namespace Lumenar::Web
