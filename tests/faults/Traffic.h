// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "tests/support/EngineFixture.h"

namespace Lumenar::Test {

/// The traces of these tests: `kPoints` equal points.
inline constexpr std::size_t kPoints = 101;
BT_DATA NumberedTrace(unsigned sequence_number);

/// Publishes numbered traces on an input of the test at a steady rate, from a thread of its own, until it is destroyed.
class Feeder {
 public:
  Feeder(TraceInput& input, double rate_Hz);
  ~Feeder();
  Feeder(const Feeder&) = delete;
  Feeder& operator=(const Feeder&) = delete;

  /// Ends the feed; how many samples were published.
  unsigned Stop();
  unsigned Published() const { return published_; }

 private:
  void Run(TraceInput& input, std::chrono::nanoseconds period);

  std::atomic<bool> ended_{false};
  std::atomic<unsigned> published_{0};
  std::thread thread_;
};

/// Follows the sequence numbers of the traces on one topic. RESULT of a Subtract has those of its first input.
class SequenceFollower {
 public:
  struct Counts {
    unsigned long received = 0;
    unsigned long missing = 0;       ///< numbers left out
    unsigned long out_of_order = 0;  ///< not greater than the number before
    unsigned long last = 0;
  };

  explicit SequenceFollower(const std::string& topic);

  Counts Now() const;

  /// Whether a sample of at least this number came within the limit.
  bool WaitForNumber(unsigned long number, std::chrono::milliseconds limit = std::chrono::seconds(10)) const;

  /// Whether another sample came within the limit.
  bool WaitForMore(std::chrono::milliseconds limit = std::chrono::seconds(5)) const;

 private:
  struct State;
  const std::shared_ptr<State> state_;
  Corvanta::DDS_Subscriber<BT_DATA> subscriber_;
};

/// A client that creates, reads and deletes math objects over one input without a pause, and writes down how its calls
/// ended, until it is destroyed.
class BusyClient {
 public:
  struct Counts {
    unsigned long done = 0;
    unsigned long refused = 0;  ///< CORBA system exceptions and MathFactoryException
    unsigned long foreign = 0;  ///< any other exception: none may reach a client
  };

  BusyClient(Corvanta::MathFactory::Interfaces_ptr factory, const Corvanta::MathFactory::ReadingAttribSeq& inputs);
  ~BusyClient();

  Counts Stop();
  unsigned long Done() const { return done_; }

 private:
  void Run();
  void CallOnce();

  const Corvanta::MathFactory::Interfaces_var factory_;
  const Corvanta::MathFactory::ReadingAttribSeq inputs_;
  std::atomic<bool> ended_{false};
  std::atomic<unsigned long> done_{0}, refused_{0}, foreign_{0};
  std::thread thread_;
};

/// A number from the environment, for runs of another length than usual.
double SettingOr(const char* name, double otherwise);

}  // namespace Lumenar::Test
