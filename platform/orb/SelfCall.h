// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <omniORB4/CORBA.h>

#include <chrono>
#include <string>

namespace Corvanta {

/// A question that this process asks itself, as any client would: a connection to the endpoint at which it listens, a
/// request to an object of its own, an answer. The ORB cuts calls to objects of the own process short, so they would
/// tell nothing about its endpoint, its threads or its adapter; this goes past the ORB's client side and takes none of
/// its locks, so that it comes to its end whatever hangs.
/// Threads   Ask on one thread at a time; Interrupt on any.
class SelfCall {
 public:
  enum class Result {
    Answered,  ///< whatever the answer is
    Unknown,   ///< the process let nobody in (its limits, the peers that it allows), or has no descriptor to ask with
    Silent     ///< no answer in time
  };

  /// `object` is one of this process. Its address is found here, by the ORB.
  /// Errors   std::runtime_error when the process listens nowhere; std::system_error; CORBA system exceptions.
  explicit SelfCall(CORBA::Object_ptr object);
  ~SelfCall();
  SelfCall(const SelfCall&) = delete;
  SelfCall& operator=(const SelfCall&) = delete;

  Result Ask(std::chrono::milliseconds limit) noexcept;

  /// Asks that run and those to come end at once, as Unknown.
  void Interrupt() noexcept;

 private:
  class Attempt;

  std::string address_;  ///< the system's form of the socket address
  std::string request_;
  int interruption_;
};

}  // namespace Corvanta
