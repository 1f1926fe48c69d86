#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/orb/TransportConfig.h"

namespace Corvanta {

/// What the argument list and the environment of a process say about its ORB.
struct OrbArguments {
  TransportConfig transport;
  std::string naming_uri = "corbaloc:iiop:localhost:2700/NameService";
  std::vector<std::pair<std::string, std::string>> options;  ///< all options of ORB_init, naming service and transport included

  /// Reads an argument list as described at ORB_base's constructor. Arguments that do not begin with -ORB are left to others.
  /// Errors   TransportConfigError; std::invalid_argument for an unknown -ORB argument or one without its value.
  static OrbArguments Read(int argc, const char* const* argv);

  /// "HOST:PORT" of the naming service.
  std::string NamingAddress() const;
};

}  // namespace Corvanta
