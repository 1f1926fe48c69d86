// SPDX-License-Identifier: Apache-2.0
#include "platform/peers/PeerWatch.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <new>
#include <thread>

#include "platform/base/Diagnostic.h"
#include "platform/orb/CorbaText.h"
#include "platform/orb/names.h"

namespace Corvanta {
namespace {

using Lumenar::Lock;

constexpr std::chrono::milliseconds kAnswerLimit{500};
constexpr unsigned kMissesOfOneThatHangs = 2;

/// Returns when the object's process answers, be it that the object is gone.
/// Errors   CORBA system exceptions: nobody answers there.
void AwaitAnswer(CORBA::Object_ptr object) { static_cast<void>(object->_non_existent()); }

}  // namespace

struct PeerWatch::Round {
  struct Place {
    std::string engine;
    CORBA::Object_var object;
  };

  std::vector<Place> places;
  std::atomic<std::size_t> next{0};
};

PeerWatch::PeerWatch(ORB_wrapper_base& orb, std::chrono::milliseconds period) : orb_(orb), period_(period) {
  const long listener = orb_.AddShutdownListener([this] { EndThread(); });
  Lock lock(mutex_);
  listener_ = listener;
}

PeerWatch::~PeerWatch() { End(); }

void PeerWatch::Add(Key key, const std::string& engine, CORBA::Object_ptr object) {
  // A reference of its own: the time limit of the looks is not to touch other calls through the caller's.
  const CORBA::String_var text = orb_.Orb()->object_to_string(object);
  CORBA::Object_var own = orb_.Orb()->string_to_object(text);
  ORB_base::SetCallTimeout(own, kAnswerLimit);
  Lock lock(mutex_);
  if (ended_) return;
  Peer& peer = peers_[engine];
  peer.keys.insert(key);
  peer.object = own;
  rounds_.Start(period_);
}

void PeerWatch::Forget(Key key) noexcept {
  Lock lock(mutex_);
  for (auto peer = peers_.begin(); peer != peers_.end();) {
    peer->second.keys.erase(key);
    peer = peer->second.keys.empty() ? peers_.erase(peer) : std::next(peer);
  }
}

void PeerWatch::End() noexcept {
  EndThread();
  long listener = 0;
  {
    Lock lock(mutex_);
    std::swap(listener, listener_);
  }
  if (listener != 0)
    orb_.RemoveShutdownListener(listener);  // waits for the one that runs: it may be joining the thread
}

void PeerWatch::EndThread() noexcept {
  {
    Lock lock(mutex_);
    ended_ = true;
    peers_.clear();
  }
  rounds_.Stop();
}

std::set<std::string> PeerWatch::Away() const {
  std::set<std::string> away;
  Lock lock(mutex_);
  for (const auto& [engine, peer] : peers_)
    if (peer.away) away.insert(engine);
  return away;
}

std::size_t PeerWatch::Size() const {
  Lock lock(mutex_);
  return peers_.size();
}

/// When the next one is due.
Lumenar::PeriodicTask::Clock::time_point PeerWatch::MakeRound() {
  try {
    LookAtAll();
  } catch (const std::bad_alloc&) {  // the next round looks again
  }
  return Lumenar::PeriodicTask::Clock::now() + period_;
}

void PeerWatch::LookAtAll() {
  Round round;
  {
    Lock lock(mutex_);
    for (const bool missed : {false, true}) {
      for (const auto& [engine, peer] : peers_)
        if ((peer.missed > 0) == missed) round.places.push_back({engine, peer.object});
    }
  }
  std::vector<std::thread> others;
  try {
    while (others.size() + 1 < std::min(kLookers, round.places.size())) others.emplace_back([&] { LookAtRest(round); });
  } catch (const std::exception&) {  // no thread to be had: fewer do
  }
  LookAtRest(round);
  for (std::thread& other : others) other.join();
}

void PeerWatch::LookAtRest(Round& round) noexcept {
  for (std::size_t i = round.next++; i < round.places.size() && !HasEnded(); i = round.next++) {
    Look(round.places[i].engine, round.places[i].object);
  }
}

bool PeerWatch::HasEnded() const {
  Lock lock(mutex_);
  return ended_;
}

void PeerWatch::Look(const std::string& engine, CORBA::Object_ptr object) noexcept {
  try {
    try {
      CORBA::Object_var answering = Reach(engine, object);
      Answered(engine, answering);
    } catch (const CORBA::Exception& error) {
      Missed(engine, error);
    } catch (const std::exception& failure) {  // the next round looks again
      Lumenar::WriteError(fmt::format("watch of engine {}: {}", engine, failure.what()));
    }
  } catch (const std::exception&) {  // no memory for a line either
  }
}

/// An object of the engine that answered just now: `object`, or what stands under the engine's name since it was
/// started again.
/// Errors   CORBA system exceptions.
CORBA::Object_ptr PeerWatch::Reach(const std::string& engine, CORBA::Object_ptr object) {
  try {
    AwaitAnswer(object);
    return CORBA::Object::_duplicate(object);
  } catch (const CORBA::TIMEOUT&) {  // it is there, but hangs: nobody else has its name
    throw;
  } catch (const CORBA::SystemException&) {
    const CORBA::Object_var successor = Successor(engine);
    if (CORBA::is_nil(successor)) throw;
    return CORBA::Object::_duplicate(successor);
  }
}

/// What answers under the engine's name; nil when nothing does, also while the naming service is away or hangs.
CORBA::Object_ptr PeerWatch::Successor(const std::string& engine) {
  try {
    CORBA::Object_var successor = orb_.ResolveWithin(LocalPath(engine), kAnswerLimit);
    ORB_base::SetCallTimeout(successor, kAnswerLimit);
    AwaitAnswer(successor);
    return successor._retn();
  } catch (const CORBA::Exception&) {
    return CORBA::Object::_nil();
  }
}

void PeerWatch::Answered(const std::string& engine, CORBA::Object_ptr object) {
  bool was_away = false;
  {
    Lock lock(mutex_);
    const auto found = peers_.find(engine);
    if (found == peers_.end()) return;
    Peer& peer = found->second;
    std::swap(was_away, peer.away);
    peer.missed = 0;
    peer.object = CORBA::Object::_duplicate(object);
  }
  if (was_away)
    Lumenar::WriteError(fmt::format("engine {}, which supplies inputs, is back", engine), Lumenar::Priority::Notice);
}

void PeerWatch::Missed(const std::string& engine, const CORBA::Exception& error) {
  const bool hangs = CORBA::TIMEOUT::_downcast(&error) != nullptr;
  {
    Lock lock(mutex_);
    const auto found = peers_.find(engine);
    if (found == peers_.end()) return;
    Peer& peer = found->second;
    if (++peer.missed < (hangs ? kMissesOfOneThatHangs : 1) || peer.away) return;
    peer.away = true;
  }
  Lumenar::WriteError(fmt::format("engine {}, which supplies inputs, is away: {}", engine, Lumenar::CorbaText(error)),
                      Lumenar::Priority::Warning);
}

}  // namespace Corvanta
