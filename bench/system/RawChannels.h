// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "DDS.hh"
#include "tests/support/EngineFixture.h"

namespace Lumenar::Bench {

/// A process that takes messages and drops them, through the bare ORB and through a bare socket.
class RawChannels {
 public:
  /// Errors   std::runtime_error.
  explicit RawChannels(Test::Testbench& bench, Test::IsolatedPlatform& platform);
  ~RawChannels();

  /// One DDS_Callback with the trace in the ORB's own any; the time of the call in microseconds.
  double OrbCall(const CORBA::Any& sample);
  /// The same as our own callers do it, with the record marshalled without an any in between.
  double RecordCall(const Test::BT_DATA& trace);
  /// The same number of bytes through the socket, until they are acknowledged.
  double SocketRound(std::size_t bytes);

 private:
  std::unique_ptr<Test::Process> process_;
  Corvanta::DDS_Sub_var sink_;
  int socket_ = -1;
  std::vector<char> message_;
};

}  // namespace Lumenar::Bench
