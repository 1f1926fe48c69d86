// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "platform/orb/names.h"
#include "tools/math_web/Gateway.h"
#include "tools/math_web/Server.h"

namespace Lumenar::Web {

/// The command line of the program.
struct ProgramOptions {
  std::string listen = "127.0.0.1:8080";
  std::string unix_path;
  std::string naming;
  std::string token_file;
  std::string page;
  std::string factory = Corvanta::kFirstMathFactory;
  std::vector<std::string> hosts;
  bool allow_control = false;
  std::size_t clients = 64;
  unsigned handshake_s = 10;
  unsigned idle_s = 60;
  double timeout_s = 2;
};

/// False when the program has to end with `exit_code`, see ParseArguments.
bool ParseOptions(int argc, const char* const* argv, ProgramOptions& options, int& exit_code);

/// Errors   std::runtime_error, std::invalid_argument for settings that are none or that would let in anybody.
ServerSettings ServerSettingsFrom(const ProgramOptions& options);

/// `port` is the one that the server got.
/// Errors   as above; those of the token's file.
GatewaySettings GatewaySettingsFrom(const ProgramOptions& options, unsigned short port);

}  // namespace Lumenar::Web
