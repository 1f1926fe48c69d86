// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/Hub.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "platform/base/Version.h"
#include "platform/units/Units.h"
#include "tools/math_web/answer_text.h"

namespace Lumenar::Web {
namespace {

using nlohmann::json;

constexpr const char* kBusy = "the gateway has too much to do: ask again in a moment";

json UnitNames() {
  json names = json::array();
  for (std::int32_t unit = Value::U_None + 1; unit <= Value::kLastUnit; ++unit)
    names.push_back(Value::Units_text(Value::Make_unit(static_cast<Value::Units_list>(unit))));
  return names;
}

std::shared_ptr<const std::string> WelcomeText(bool allow_control, json math_types) {
  const json welcome{{"type", "welcome"},          {"version", Version()},
                     {"control", allow_control},   {"math_types", std::move(math_types)},
                     {"unit_names", UnitNames()},  {"max_columns", kMostColumns},
                     {"max_streams", kMostStreams}};
  return std::make_shared<const std::string>(welcome.dump(-1, ' ', false, json::error_handler_t::replace));
}

}  // namespace

std::shared_ptr<Session> Hub::Begin(Outlet& outlet) {
  auto session = std::make_shared<Session>(*this, outlet);
  sessions_.insert(session.get());
  const auto welcome = [this, client = std::weak_ptr<Session>(session)](json types) {
    post_([this, client, text = WelcomeText(allow_control_, std::move(types))] {
      const auto there = client.lock();
      if (there == nullptr) return;
      there->Send(text);
      told_[there.get()] = client;
      if (state_.json != nullptr) there->OfferState(state_);
    });
  };
  if (!work_.Add([this, welcome] { welcome(commands_.MathTypes()); })) welcome(json::array());
  return session;
}

void Hub::Leave(const Session& session) {
  sessions_.erase(&session);
  told_.erase(&session);
}

std::size_t Hub::Streams() const {
  std::size_t count = 0;
  for (const Session* session : sessions_) count += session->StreamCount();
  return count;
}

std::string Hub::RefuseChange() {
  if (!allow_control_) return "control is not allowed: this gateway was started without --allow-control";
  if (!changes_.Take(RateLimit::Clock::now())) return "too many changes: 20 a second are taken, over all clients";
  return {};
}

void Hub::Do(Session& session, const Request& request) {
  const bool taken = work_.Add([this, client = session.weak_from_this(), request] {
    const auto answer = AnswerOf(request.number, [&] { return commands_.Do(request); });
    if (Changes(request.deed) && on_change) on_change();
    post_([client, answer] {
      if (const auto there = client.lock()) there->Finish(answer);
    });
  });
  if (!taken) session.Finish(RefusalText(request.number, kBusy));
}

void Hub::Open(Session& session, const Request& request) {
  const bool taken = work_.Add([this, client = session.weak_from_this(), request] {
    std::shared_ptr<Feed> feed;
    const auto answer = AnswerOf(request.number, [&] {
      feed = feeds_.Open(request.name);
      return json{{"name", feed->Name()}, {"kind", KindWord(feed->Kind())}};
    });
    post_([this, client, request, feed, answer] { Attach(client, request, feed, answer); });
  });
  if (taken) return;
  session.GiveUp(request);
  session.Finish(RefusalText(request.number, kBusy));
}

void Hub::Attach(const std::weak_ptr<Session>& session, const Request& request, const std::shared_ptr<Feed>& feed,
                 const std::shared_ptr<const std::string>& answer) {
  const auto there = session.lock();
  if (there == nullptr) return;
  there->Finish(answer);
  if (feed == nullptr) return there->GiveUp(request);
  there->Attach(request, ChannelOf(feed));
}

std::shared_ptr<Channel> Hub::ChannelOf(const std::shared_ptr<Feed>& feed) {
  std::shared_ptr<Channel>& channel = channels_[feed->Name()];
  if (channel == nullptr || !channel->IsOf(feed.get())) {
    channel = std::make_shared<Channel>(feed->Name(), feed);
    if (const auto last = feed->Last()) channel->Take(*last);
  }
  return channel;
}

void Hub::Take(const std::string& name, const Newest& newest) {
  const auto channel = channels_.find(name);
  if (channel == channels_.end()) return;
  const auto kept = channel->second;
  if (kept->IsEmpty()) {
    channels_.erase(channel);
  } else {
    kept->Take(newest);
  }
}

void Hub::End(const std::string& name, const std::string& reason) {
  const auto channel = channels_.find(name);
  if (channel == channels_.end()) return;
  const auto ended = channel->second;
  channels_.erase(channel);
  ended->End(reason);
}

void Hub::Tell(const StateText& state) {
  std::erase_if(channels_, [](const auto& one) { return one.second->IsEmpty(); });
  state_ = state;
  const auto clients = told_;
  for (const auto& [address, client] : clients)
    if (const auto there = client.lock()) there->OfferState(state);
}

}  // namespace Lumenar::Web
