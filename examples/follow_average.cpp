// SPDX-License-Identifier: Apache-2.0
// A client: creates a running average over a trace, prints as many of its results as wanted, and deletes it again.
// Usage: follow_average READING RESULTS, as follow_average LOADMETER/1/HISTORY 10
#include <cstdlib>
#include <iostream>
#include <numeric>
#include <stdexcept>
#include <string>
#include <variant>

#include "client/OwnedMathObject.h"
#include "client/Subscription.h"
#include "platform/records/Records.h"

namespace {

namespace Client = Lumenar::Client;
using Trace = Corvanta::BASIC_TRACE::BT_DATA;

void Print(const Trace& trace) {
  const float* first = trace.samples.get_buffer();
  const double sum = std::accumulate(first, first + trace.samples.length(), 0.0);
  std::cout << trace.samples.length() << " points, mean " << sum / trace.samples.length() << ' '
            << Lumenar::Value::Units_text(VALUE::UnitsFromCorba(trace.units)) << std::endl;
}

void Follow(const std::string& reading, int results) {
  Client::Connection connection(std::chrono::seconds(5));  // the limit of every call
  Client::MathObjects objects(connection);
  const Client::OwnedMathObject average(objects, "Average", {reading});  // deletes the object when it goes
  objects.SetSize(average.Id(), 5);
  Client::Subscription subscription(connection);
  subscription.Add(objects.Result(average.Id()));
  for (; results > 0; --results) {
    const auto delivery = subscription.Next(std::chrono::seconds(10));
    if (!delivery) throw std::runtime_error("no result within 10 s");
    if (const auto* trace = std::get_if<Trace>(&delivery->record)) Print(*trace);
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc != 3) throw std::invalid_argument("usage: follow_average READING RESULTS");
    Follow(argv[1], std::stoi(argv[2]));
  } catch (const std::exception& error) {
    std::cerr << "follow_average: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
