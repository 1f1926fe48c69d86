// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "tests/support/IsolatedPlatform.h"

namespace Lumenar::Test {

/// The server that plays a multimeter and a spectrum analyser, in a process of its own, at free ports.
class ScpiServer {
 public:
  /// Errors   std::runtime_error when it does not start.
  explicit ScpiServer(std::vector<std::string> options = {});

  /// "127.0.0.1:PORT".
  const std::string& Multimeter() const { return multimeter_; }
  const std::string& Analyser() const { return analyser_; }

  /// The line that answers a message, over a connection of its own: of a plain socket, so that what is read so has
  /// nothing in common with what is tested.
  /// Errors   std::runtime_error, also when no line comes within 10 s.
  static std::string Ask(const std::string& address, const std::string& message);

  /// The next `count` measurements of an instrument go wrong so.
  static void Misbehave(const std::string& address, const std::string& fault, int count = 1, double seconds = 0);

  /// How many of these measurements are still to come.
  static int FaultsToCome(const std::string& address);

  /// How often an instrument has measured, and how many connections it has had.
  struct Counts {
    int measurements = 0;
    int connections = 0;
  };
  static Counts CountsOf(const std::string& address);

  Process& Server() { return process_; }

 private:
  std::string AddressOf(const std::string& name);

  Process process_;
  std::string multimeter_;
  std::string analyser_;
};

/// A loopback port that is free now.
std::string FreeLoopbackPort();

/// A readable text file.
void WriteText(const std::filesystem::path& path, const std::string& text);

/// The path of the server, for who starts it with arguments of his own.
const char* ScpiServerPath();

}  // namespace Lumenar::Test
