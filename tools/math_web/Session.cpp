// SPDX-License-Identifier: Apache-2.0
#include "tools/math_web/Session.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>
#include <utility>

#include "tools/math_web/Hub.h"
#include "tools/math_web/answer_text.h"

namespace Lumenar::Web {
namespace {

constexpr std::chrono::seconds kStateAge{5};
constexpr std::size_t kMostFaults = 100;
constexpr unsigned short kPolicy = 1008;

}  // namespace

Session::Session(Hub& hub, Outlet& outlet) : hub_(hub), outlet_(outlet) {}

Session::~Session() { hub_.Leave(*this); }

void Session::OnText(std::string_view text) {
  ++hub_.Totals().requests;
  try {
    Take(ParseRequest(text));
  } catch (const RequestError& error) {
    ++hub_.Totals().refused;
    Send(RefusalText(error.Number(), error.what()));
    if (++faults_ == kMostFaults) outlet_.Close(kPolicy, "100 messages that are none of this protocol");
  }
}

void Session::Take(const Request& request) {
  if (request.deed == Request::Deed::Subscribe) return Subscribe(request);
  if (request.deed == Request::Deed::Unsubscribe) return Unsubscribe(request.stream);
  if (request.deed != Request::Deed::Ready) return Ask(request);
  const auto stream = streams_.find(request.stream);
  if (stream != streams_.end()) stream->second->Ready();
}

void Session::Ask(const Request& request) {
  const std::string refusal = Changes(request.deed) ? hub_.RefuseChange() : "";
  if (!refusal.empty()) {
    ++hub_.Totals().refused;
    return Send(RefusalText(request.number, refusal));
  }
  if (Waits(request)) hub_.Do(*this, request);
}

/// False, after an answer, when too many wait.
bool Session::Waits(const Request& request) {
  if (waiting_ < kMostWaitingRequests) {
    ++waiting_;
    return true;
  }
  ++hub_.Totals().refused;
  Send(RefusalText(request.number, fmt::format("{} requests wait already: ask again after an answer", waiting_)));
  return false;
}

void Session::Finish(std::shared_ptr<const std::string> answer) {
  --waiting_;
  Send(std::move(answer));
}

void Session::Subscribe(const Request& request) {
  const auto there = streams_.find(request.stream);
  if (there != streams_.end() && there->second->Name() == request.name && there->second->IsAttached()) {
    Send(AnswerText(request.number, nlohmann::json::object()));
    return there->second->Show(request.view);
  }
  if (there == streams_.end() && streams_.size() == kMostStreams) {
    ++hub_.Totals().refused;
    return Send(RefusalText(request.number, fmt::format("a client may have {} streams", kMostStreams)));
  }
  if (!Waits(request)) return;
  streams_[request.stream] = std::make_unique<Stream>(request.stream, request.name, outlet_, hub_.Totals().streams);
  hub_.Open(*this, request);
}

void Session::Attach(const Request& request, std::shared_ptr<Channel> channel) {
  const auto stream = streams_.find(request.stream);
  if (stream == streams_.end() || stream->second->Name() != request.name) return;
  stream->second->Show(request.view);
  if (!stream->second->IsAttached()) stream->second->Attach(std::move(channel));
}

void Session::GiveUp(const Request& request) {
  const auto stream = streams_.find(request.stream);
  if (stream == streams_.end() || stream->second->Name() != request.name || stream->second->IsAttached()) return;
  streams_.erase(stream);
}

void Session::OnSent() {
  if (const auto state = std::exchange(state_, nullptr)) return Send(state);
  for (const auto& [number, stream] : streams_) stream->NoteSent();
}

void Session::OfferState(const StateText& state) {
  const auto now = Clock::now();
  if (state.mark == told_mark_ && now < told_ + kStateAge) return;
  told_mark_ = state.mark;
  told_ = now;
  if (outlet_.IsIdle()) return Send(state.json);
  state_ = state.json;
}

}  // namespace Lumenar::Web
