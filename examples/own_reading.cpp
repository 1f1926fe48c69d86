// SPDX-License-Identifier: Apache-2.0
// A client with a reading of its own: publishes a voltage that rises by 0.1 V, with its error band, and follows the peak that
// the math engine finds in it. Usage: own_reading ENGINE VALUES, as own_reading MYLAB/1 10
#include <cstdlib>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <variant>

#include "client/OwnReading.h"
#include "client/OwnedMathObject.h"
#include "client/Subscription.h"
#include "platform/records/Records.h"

namespace {

namespace Client = Lumenar::Client;
using Scalar = Corvanta::VALUE_DOUBLE::VALUE;

Scalar Voltage(double value) {
  return VALUE::ValueToCorba({value, Lumenar::Value::Units_from_text("V"), -0.01, 0.01});  // value, unit, error band
}

double NextResult(Client::Subscription& subscription) {
  const auto delivery = subscription.Next(std::chrono::seconds(10));
  if (!delivery) throw std::runtime_error("no result within 10 s");
  return std::get<Scalar>(delivery->record).val;
}

void PublishAndFollow(const std::string& name, int values) {
  Client::Connection connection;
  const auto engine = std::make_shared<Client::OwnEngine>(connection, name);  // others see the program as this engine
  Client::OwnReading voltage(engine, "VOLTAGE", Voltage(0));
  Client::MathObjects objects(connection);
  const Client::OwnedMathObject peak(objects, "Peak", {voltage.Name()});
  Client::Subscription results(connection);
  results.Add(objects.Result(peak.Id()));
  for (int i = 1; i <= values; ++i) {
    voltage.Publish(Voltage(0.1 * i));
    std::cout << "peak of " << voltage.Name() << ": " << NextResult(results) << " V\n";
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc != 3) throw std::invalid_argument("usage: own_reading ENGINE VALUES");
    PublishAndFollow(argv[1], std::stoi(argv[2]));
  } catch (const std::exception& error) {
    std::cerr << "own_reading: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
