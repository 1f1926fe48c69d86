// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "client/Subscription.h"
#include "tools/mathctl/Chart.h"
#include "tools/mathctl/command.h"

namespace Lumenar::Mathctl {

/// The readings of a picture, with what came of each: of a trace the newest sample, of the other kinds their history, of
/// a million samples at most.
class PlottedReadings {
 public:
  /// Errors   those of Session::FindAll; Error BadArgument for a reading without a value.
  PlottedReadings(const Session& session, const std::vector<std::string>& texts);

  /// Asks for the present values of traces that have given no sample yet.
  /// Errors   those of remote calls.
  void ReadTraces();

  /// The full name of a reading that is no trace; empty when all are traces.
  std::string FirstWithoutTrace() const;

  /// Begins to take samples.
  /// Errors   Error Unreachable.
  void SubscribeTo(Client::Subscription& subscription);

  /// A sample that came.
  void Take(Client::Delivery&& delivery);

  /// How many samples came of the reading that has given fewest, and of all together.
  unsigned long Fewest() const;
  unsigned long All() const { return all_; }

  /// The full name of a reading that has nothing to draw; empty when all have something.
  std::string FirstEmpty() const;

  /// Fails when a reading is gone or its engine does not answer: it would never say anything again.
  void RequireAll() const;

  std::vector<Curve> Curves() const;

 private:
  struct Sample {
    std::chrono::system_clock::time_point time;
    double value, low, high;
  };
  struct Plotted {
    Client::Reading reading;
    std::string name;
    bool is_trace = false;
    unsigned long samples = 0;
    Corvanta::SampleRecord trace;  // the newest
    std::string units;             // of the history
    bool has_band = false;
    std::deque<Sample> history;
  };

  static void AddToHistory(Plotted& plotted, const Client::Delivery& delivery);
  Curve HistoryOf(const Plotted& plotted, std::chrono::system_clock::time_point origin) const;
  std::chrono::system_clock::time_point Origin() const;

  std::vector<Plotted> plotted_;
  unsigned long all_ = 0;
};

/// Names of readings for people: that of a math object's RESULT is "math:3".
std::vector<std::string> NamesForPeople(const Session& session, const std::vector<Client::Reading>& readings);

}  // namespace Lumenar::Mathctl
