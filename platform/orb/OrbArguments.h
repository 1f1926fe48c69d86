// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "platform/transport/SettingsFile.h"
#include "platform/transport/TransportConfig.h"

namespace Corvanta {

/// What the argument list and the environment of a process say about its ORB.
struct OrbArguments {
  SettingsFile settings;  ///< of all parts; the ORB's own are in `transport`
  TransportConfig transport;
  std::string naming_uri = "corbaloc:iiop:localhost:2700/NameService";
  /// All options of ORB_init, naming service and transport included.
  std::vector<std::pair<std::string, std::string>> options;

  std::string transport_file;  ///< that was read; empty for the defaults
  bool own_endpoint = false;   ///< where to listen comes from the environment instead

  /// Reads an argument list as described at ORB_base's constructor. Arguments that do not begin with -ORB are left to
  /// others.
  /// Errors   TransportConfigError; std::invalid_argument for an unknown -ORB argument or one without its value, and
  ///          for addresses of a form that is none.
  static OrbArguments Read(int argc, const char* const* argv);

  /// Why an ORB with these arguments cannot be had, in one line that names the setting to blame; empty when none can be
  /// found.
  std::string Problem() const;

  /// "HOST:PORT" of the naming service.
  std::string NamingAddress() const;

 private:
  using Options = std::vector<std::pair<std::string, std::string>>;

  /// Returns the configuration that was compiled in; `given` gets the other options.
  std::string TakeList(int argc, const char* const* argv, Options& given);
  void TakeEnvironment();
  void TakeNaming(const std::string& source, const std::string& address);
  void TakeEndpoint(const std::string& endpoint);
  std::string PlaceOfEndpoint(std::size_t index) const;
  void PrepareEndpoints();
  void TakeNamingWait(const std::string& source, const std::string& seconds);
};

}  // namespace Corvanta
