#include "platform/orb/OrbArguments.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string_view>

#include "platform/orb/unix_endpoint.h"

namespace Corvanta {
namespace {

/// The ORB's options that an argument list may carry; the ORB itself gives up on an unknown one without naming it.
constexpr std::string_view kOrbOptions[] = {
    "DefaultInitRef", "InitRef", "abortOnInternalError", "abortOnNativeException", "acceptBiDirectionalGIOP",
    "acceptMisalignedTcIndirections", "clientCallTimeOutPeriod", "clientConnectTimeOutPeriod", "clientTransportRule",
    "configFile", "connectionWatchImmediate", "connectionWatchPeriod", "copyValuesInLocalCalls", "defaultCharCodeSet",
    "defaultWCharCodeSet", "diiThrowsSysExceptions", "dumpConfiguration", "endPoint", "endPointNoListen",
    "endPointNoPublish", "endPointPublish", "endPointPublishAllIFs", "giopMaxMsgSize", "giopTargetAddressMode", "id",
    "idleThreadTimeout", "immediateAddressSwitch", "inConScanPeriod", "lcdMode", "listenBacklog",
    "maxClientThreadPoolSize", "maxGIOPConnectionPerServer", "maxGIOPVersion", "maxInterleavedCallsPerConnection",
    "maxServerThreadPerConnection", "maxServerThreadPoolSize", "maxSocketRecv", "maxSocketSend", "nativeCharCodeSet",
    "nativeWCharCodeSet", "objectTableSize", "offerBiDirectionalGIOP", "oneCallPerConnection", "outConScanPeriod",
    "poaHoldRequestTimeout", "poaUniquePersistentSystemIds", "principal", "resetTimeOutOnRetries",
    "resolveNamesForTransportRules", "retainAddressOrder", "scanGranularity", "serverCallTimeOutPeriod",
    "serverTransportRule", "socketSendBuffer", "strictIIOP", "supportCurrent", "supportPerThreadTimeOut",
    "tcAliasExpand", "threadPerConnectionLowerLimit", "threadPerConnectionPolicy", "threadPerConnectionUpperLimit",
    "threadPoolWatchConnection", "throwTransientOnTimeOut", "traceExceptions", "traceFile", "traceInvocationReturns",
    "traceInvocations", "traceLevel", "traceLocking", "traceThreadId", "traceTime", "unixTransportDirectory",
    "unixTransportPermission", "useTypeCodeIndirections", "validateUTF8", "verifyObjectExistsAndType"};

constexpr std::string_view kNamingKey = "NameService=";

bool IsOrbOption(std::string_view name) {
  return std::find(std::begin(kOrbOptions), std::end(kOrbOptions), name) != std::end(kOrbOptions);
}

/// The configuration file: one from the environment must exist, the compiled-in one need not.
TransportConfig ReadTransport(const std::string& compiled_in) {
  if (const char* file = std::getenv("LUMENAR_TRANSPORT_CONF"); file != nullptr && *file != '\0')
    return TransportConfig::Read(file);
  if (compiled_in.empty() || !std::filesystem::exists(compiled_in)) return {};
  return TransportConfig::Read(compiled_in);
}

}  // namespace

OrbArguments OrbArguments::Read(int argc, const char* const* argv) {
  OrbArguments arguments;
  std::string transport_file;
  std::vector<std::pair<std::string, std::string>> given;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument.substr(0, 4) != "-ORB") continue;
    const std::string_view name = argument.substr(4);
    if (name != "SvcConf" && !IsOrbOption(name))
      throw std::invalid_argument("unknown ORB argument " + std::string(argument));
    if (++i == argc) throw std::invalid_argument("no value after " + std::string(argument));
    const std::string_view value = argv[i];
    if (name == "SvcConf") {
      transport_file = value;
    } else if (name == "InitRef" && value.substr(0, kNamingKey.size()) == kNamingKey) {
      arguments.naming_uri = value.substr(kNamingKey.size());
    } else {
      given.emplace_back(name, value);
    }
  }
  if (const char* address = std::getenv("LUMENAR_NAMING"); address != nullptr && *address != '\0')
    arguments.naming_uri = "corbaloc:iiop:" + std::string(address) + "/NameService";
  arguments.transport = ReadTransport(transport_file);
  for (std::string& endpoint : arguments.transport.endpoints) endpoint = PrepareEndpoint(endpoint);
  arguments.options = arguments.transport.OrbOptions();
  arguments.options.emplace_back("InitRef", std::string(kNamingKey) + arguments.naming_uri);
  arguments.options.insert(arguments.options.end(), given.begin(), given.end());
  return arguments;
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
