// SPDX-License-Identifier: Apache-2.0
#include "platform/orb/OrbArguments.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "platform/base/TextFile.h"
#include "platform/signals/moved_tree.h"
#include "platform/transport/addresses.h"
#include "platform/transport/unix_endpoint.h"

namespace Corvanta {
namespace {

/// The ORB's options that an argument list may carry; the ORB itself gives up on an unknown one without naming it.
constexpr std::string_view kOrbOptions[] = {"DefaultInitRef",
                                            "InitRef",
                                            "abortOnInternalError",
                                            "abortOnNativeException",
                                            "acceptBiDirectionalGIOP",
                                            "acceptMisalignedTcIndirections",
                                            "clientCallTimeOutPeriod",
                                            "clientConnectTimeOutPeriod",
                                            "clientTransportRule",
                                            "configFile",
                                            "connectionWatchImmediate",
                                            "connectionWatchPeriod",
                                            "copyValuesInLocalCalls",
                                            "defaultCharCodeSet",
                                            "defaultWCharCodeSet",
                                            "diiThrowsSysExceptions",
                                            "dumpConfiguration",
                                            "endPoint",
                                            "endPointNoListen",
                                            "endPointNoPublish",
                                            "endPointPublish",
                                            "endPointPublishAllIFs",
                                            "giopMaxMsgSize",
                                            "giopTargetAddressMode",
                                            "id",
                                            "idleThreadTimeout",
                                            "immediateAddressSwitch",
                                            "inConScanPeriod",
                                            "lcdMode",
                                            "listenBacklog",
                                            "maxClientThreadPoolSize",
                                            "maxGIOPConnectionPerServer",
                                            "maxGIOPVersion",
                                            "maxInterleavedCallsPerConnection",
                                            "maxServerThreadPerConnection",
                                            "maxServerThreadPoolSize",
                                            "maxSocketRecv",
                                            "maxSocketSend",
                                            "nativeCharCodeSet",
                                            "nativeWCharCodeSet",
                                            "objectTableSize",
                                            "offerBiDirectionalGIOP",
                                            "oneCallPerConnection",
                                            "outConScanPeriod",
                                            "poaHoldRequestTimeout",
                                            "poaUniquePersistentSystemIds",
                                            "principal",
                                            "resetTimeOutOnRetries",
                                            "resolveNamesForTransportRules",
                                            "retainAddressOrder",
                                            "scanGranularity",
                                            "serverCallTimeOutPeriod",
                                            "serverTransportRule",
                                            "socketSendBuffer",
                                            "strictIIOP",
                                            "supportCurrent",
                                            "supportPerThreadTimeOut",
                                            "tcAliasExpand",
                                            "threadPerConnectionLowerLimit",
                                            "threadPerConnectionPolicy",
                                            "threadPerConnectionUpperLimit",
                                            "threadPoolWatchConnection",
                                            "throwTransientOnTimeOut",
                                            "traceExceptions",
                                            "traceFile",
                                            "traceInvocationReturns",
                                            "traceInvocations",
                                            "traceLevel",
                                            "traceLocking",
                                            "traceThreadId",
                                            "traceTime",
                                            "unixTransportDirectory",
                                            "unixTransportPermission",
                                            "useTypeCodeIndirections",
                                            "validateUTF8",
                                            "verifyObjectExistsAndType"};

constexpr std::string_view kNamingKey = "NameService=";

bool IsOrbOption(std::string_view name) {
  return std::find(std::begin(kOrbOptions), std::end(kOrbOptions), name) != std::end(kOrbOptions);
}

/// The configuration file: one from the environment must exist, the compiled-in one need not, and may have been moved
/// with the tree that it was installed in.
std::string TransportFile(const std::string& compiled_in) {
  if (const char* file = std::getenv("LUMENAR_TRANSPORT_CONF"); file != nullptr && *file != '\0') return file;
  if (compiled_in.empty()) return {};
  const std::filesystem::path file = Lumenar::InMovedTree(compiled_in);
  std::error_code error;
  const auto type = std::filesystem::status(file, error).type();
  return type == std::filesystem::file_type::not_found ? std::string() : file.string();
}

/// "FILE:LINE: KEY: " of an element of a list, which a file that was read without an error names; "KEY: " of a default.
std::string PlaceOf(const std::string& path, const std::string& key, std::size_t index) {
  if (path.empty()) return key + ": ";
  constexpr std::size_t kLongestLine = 8192;
  Lumenar::TextFile file(path);
  int number = 0;
  for (std::string line; file.NextLine(line, kLongestLine);) {
    ++number;
    const auto begin = line.find_first_not_of(" \t");
    if (begin == std::string::npos || line.compare(begin, key.size(), key) != 0) continue;
    if (index-- == 0) return path + ":" + std::to_string(number) + ": " + key + ": ";
  }
  return key + ": ";
}

constexpr const char* kEndpoint = "orb.endpoint";
constexpr const char* kEndpointVariable = "LUMENAR_ENDPOINT";
constexpr const char* kAllowedPeer = "orb.allowed_peer";

void CheckGiven(const std::string_view name, const std::string& value) {
  const std::string problem = name == "endPoint" ? EndpointProblem(value) : std::string();
  if (!problem.empty()) throw std::invalid_argument("-ORBendPoint " + value + " " + problem);
}

}  // namespace

std::string OrbArguments::TakeList(int argc, const char* const* argv, Options& given) {
  std::string compiled_in;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument.substr(0, 4) != "-ORB") continue;
    const std::string_view name = argument.substr(4);
    if (name != "SvcConf" && !IsOrbOption(name))
      throw std::invalid_argument("unknown ORB argument " + std::string(argument));
    if (++i == argc) throw std::invalid_argument("no value after " + std::string(argument));
    const std::string_view value = argv[i];
    if (name == "SvcConf") {
      compiled_in = value;
    } else if (name == "InitRef" && value.substr(0, kNamingKey.size()) == kNamingKey) {
      naming_uri = value.substr(kNamingKey.size());
    } else {
      given.emplace_back(name, value);
      CheckGiven(name, given.back().second);
    }
  }
  return compiled_in;
}

void OrbArguments::TakeEnvironment() {
  if (const char* seconds = std::getenv("LUMENAR_NAMING_WAIT"); seconds != nullptr && *seconds != '\0')
    TakeNamingWait("LUMENAR_NAMING_WAIT", seconds);
  if (const char* endpoint = std::getenv(kEndpointVariable); endpoint != nullptr && *endpoint != '\0')
    TakeEndpoint(endpoint);
}

OrbArguments OrbArguments::Read(int argc, const char* const* argv) {
  OrbArguments arguments;
  Options given;
  const std::string compiled_in = arguments.TakeList(argc, argv, given);
  if (const char* address = std::getenv("LUMENAR_NAMING"); address != nullptr && *address != '\0')
    arguments.TakeNaming("LUMENAR_NAMING", address);
  arguments.transport_file = TransportFile(compiled_in);
  if (!arguments.transport_file.empty()) arguments.settings = SettingsFile::Read(arguments.transport_file);
  arguments.transport = TransportConfig(arguments.settings);
  arguments.TakeEnvironment();
  arguments.PrepareEndpoints();
  arguments.options = arguments.transport.OrbOptions();
  arguments.options.emplace_back("InitRef", std::string(kNamingKey) + arguments.naming_uri);
  arguments.options.insert(arguments.options.end(), given.begin(), given.end());
  return arguments;
}

void OrbArguments::TakeNaming(const std::string& source, const std::string& address) {
  const std::string problem = HostPortProblem(address);
  if (!problem.empty()) throw std::invalid_argument(source + ": " + problem);
  naming_uri = "corbaloc:iiop:" + address + "/NameService";
}

void OrbArguments::TakeNamingWait(const std::string& source, const std::string& seconds) {
  constexpr unsigned kMost = 86400;
  unsigned number = 0;
  const char* const last = seconds.data() + seconds.size();
  const auto [end, error] = std::from_chars(seconds.data(), last, number);
  if (error != std::errc() || end != last || number > kMost)
    throw std::invalid_argument(source + ": '" + seconds + "' is not a whole number from 0 to " +
                                std::to_string(kMost));
  transport.naming_wait = std::chrono::seconds(number);
}

void OrbArguments::TakeEndpoint(const std::string& endpoint) {
  const std::string problem = EndpointProblem(endpoint);
  if (!problem.empty()) throw std::invalid_argument(std::string(kEndpointVariable) + ": '" + endpoint + "' " + problem);
  transport.endpoints = {endpoint};
  own_endpoint = true;
}

std::string OrbArguments::PlaceOfEndpoint(std::size_t index) const {
  return own_endpoint ? std::string(kEndpointVariable) + ": " : PlaceOf(transport_file, kEndpoint, index);
}

void OrbArguments::PrepareEndpoints() {
  for (std::size_t i = 0; i < transport.endpoints.size(); ++i) {
    try {
      transport.endpoints[i] = PrepareEndpoint(transport.endpoints[i]);
    } catch (const TransportConfigError& error) {
      throw TransportConfigError(PlaceOfEndpoint(i) + error.what());
    }
  }
}

std::string OrbArguments::Problem() const {
  for (std::size_t i = 0; i < transport.endpoints.size(); ++i) {
    const std::string problem = ListenProblem(transport.endpoints[i]);
    if (!problem.empty()) return PlaceOfEndpoint(i) + transport.endpoints[i] + ": " + problem;
  }
  for (std::size_t i = 0; i < transport.allowed_peers.size(); ++i) {
    const std::string problem = LookupProblem(transport.allowed_peers[i]);
    if (!problem.empty()) return PlaceOf(transport_file, kAllowedPeer, i) + transport.allowed_peers[i] + ": " + problem;
  }
  return {};
}

std::string OrbArguments::NamingAddress() const {
  // corbaloc:[iiop|]:[VERSION@]HOST:PORT/KEY
  std::string address = naming_uri.substr(0, naming_uri.rfind('/'));
  for (const char* prefix : {"corbaloc:iiop:", "corbaloc::", "corbaloc:"}) {
    if (address.rfind(prefix, 0) != 0) continue;
    address.erase(0, std::string_view(prefix).size());
    break;
  }
  if (const auto at = address.find('@'); at != std::string::npos) address.erase(0, at + 1);
  return address;
}

}  // namespace Corvanta
