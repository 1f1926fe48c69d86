// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/EngineFixture.h"

namespace Lumenar::Bench {

/// Times in microseconds, one a sample.
using Times = std::vector<double>;

/// Publishes samples on an input and times the way to a subscriber of another topic (or the same), one sample at a
/// time.
class Road {
 public:
  /// `out` is the topic on which the answer to a sample of `input` comes.
  Road(Test::TraceInput& input, const std::string& out);
  ~Road();

  /// Publishes once and waits for the answer; the time from before the publication to the callback, in microseconds.
  /// Errors   std::runtime_error when no answer comes within 5 s.
  double Once(const Test::BT_DATA& trace);

  /// Publishes `count` times without a pause; the time for one, from the first publication to the last callback.
  double Burst(const Test::BT_DATA& trace, int count);

 private:
  struct Arrival;
  Test::TraceInput& input_;
  const std::shared_ptr<Arrival> arrival_;
  Corvanta::DDS_Subscriber<Test::BT_DATA> subscriber_;
};

/// A whole platform of real processes with a math engine and a relay that only passes samples on.
class SystemRig {
 public:
  enum class Sockets { Tcp, Unix };

  /// The processes talk over loopback TCP or over Unix-domain sockets.
  explicit SystemRig(Sockets sockets = Sockets::Tcp);
  ~SystemRig();

  Test::Testbench& Bench() { return *bench_; }
  Test::IsolatedPlatform& Platform() { return platform_; }

  /// A Subtract over two inputs of the bench; the road runs over its first input.
  std::unique_ptr<Road> SubtractRoad(const Test::BT_DATA& trace);
  /// The same hops through the relay.
  std::unique_ptr<Road> RelayRoad(const Test::BT_DATA& trace);
  /// From a publication to a subscriber.
  std::unique_ptr<Road> OneHop(const Test::BT_DATA& trace);

  /// A loopback port that is free now.
  static std::string FreePort();

  /// Ends the math object, relay and inputs of the roads made so far.
  void Clear();

 private:
  Test::TraceInput& NewInput(const Test::BT_DATA& trace);

  /// A directory for sockets that goes with the rig.
  struct SocketDirectory {
    SocketDirectory();
    ~SocketDirectory();
    std::string path;
  };

  SocketDirectory sockets_;
  Test::IsolatedPlatform platform_;
  std::unique_ptr<Test::Testbench> bench_;
  Corvanta::MathFactory::Interfaces_var factory_;
  std::vector<std::unique_ptr<Test::TraceInput>> inputs_;
  std::vector<CORBA::Long> objects_;
  std::vector<std::unique_ptr<Test::Process>> relays_;
};

/// A trace as an instrument has it, in milliwatts or dBm.
Test::BT_DATA BenchTrace(std::size_t points, bool in_dB);

}  // namespace Lumenar::Bench
