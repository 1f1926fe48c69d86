// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>

#include <chrono>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/base/Mutex.h"
#include "platform/base/PeriodicTask.h"
#include "platform/orb/ORB_wrapper.h"

namespace Corvanta {

/// Watches over engines that this process depends on but does not call: samples reach it through the topic manager, so
/// the death of the engine that publishes them would pass unnoticed.
///
/// Every period it looks whether each watched engine answers, however many watch it, and writes one line to standard
/// error when it is gone and one when it is back. An engine that was started again is found under its name. One that
/// hangs counts as gone after two rounds without an answer. Engines are looked at side by side, by up to kLookers
/// threads, and those that did not answer last time come last, so that many that hang do not put off the look at one
/// that dies.
/// Threads   any. No call waits for a remote one, but for End and the destructor, which wait for one look at most.
class PeerWatch {
 public:
  /// What for an engine is watched, chosen by the caller; unique among its own.
  using Key = CORBA::Long;

  static constexpr std::size_t kLookers = 16;

  /// `orb` lives until End has returned. The watch ends with it, before calls stop going out. All engines are looked at
  /// each `period`.
  explicit PeerWatch(ORB_wrapper_base& orb, std::chrono::milliseconds period = std::chrono::seconds(2));
  ~PeerWatch();
  PeerWatch(const PeerWatch&) = delete;
  PeerWatch& operator=(const PeerWatch&) = delete;

  /// Watches an engine, by its registered name ("PROBE/1") and any object of its process, until Forget(key). May be
  /// called for several engines with one key, and again for one engine. Does nothing after End.
  /// Errors   std::system_error when no thread can be had; the engine is looked at all the same once a later Add gets
  ///          one.
  void Add(Key key, const std::string& engine, CORBA::Object_ptr object);

  void Forget(Key key) noexcept;

  /// Ends the watch for good; nothing is written after it.
  void End() noexcept;

  /// The engines that are away, as of when they were last looked at.
  std::set<std::string> Away() const;

  /// How many engines are watched.
  std::size_t Size() const;

 private:
  struct Peer {
    CORBA::Object_var object;
    std::set<Key> keys;
    unsigned missed = 0;
    bool away = false;
  };

  /// What one round looks at: the next one is taken by whoever is free.
  struct Round;

  void EndThread() noexcept;
  Lumenar::PeriodicTask::Clock::time_point MakeRound();
  void LookAtAll();
  void LookAtRest(Round& round) noexcept;
  bool HasEnded() const;
  void Look(const std::string& engine, CORBA::Object_ptr object) noexcept;
  CORBA::Object_ptr Reach(const std::string& engine, CORBA::Object_ptr object);
  CORBA::Object_ptr Successor(const std::string& engine);
  void Answered(const std::string& engine, CORBA::Object_ptr object);
  void Missed(const std::string& engine, const CORBA::Exception& error);

  ORB_wrapper_base& orb_;
  const std::chrono::milliseconds period_;
  mutable Lumenar::Mutex mutex_;
  std::map<std::string, Peer> peers_ GUARDED_BY(mutex_);
  bool ended_ GUARDED_BY(mutex_) = false;
  long listener_ GUARDED_BY(mutex_) = 0;  ///< 0 once it is removed
  Lumenar::PeriodicTask rounds_{[this] { return MakeRound(); }};
};

}  // namespace Corvanta
