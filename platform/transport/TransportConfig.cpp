// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/TransportConfig.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "platform/base/TextFile.h"
#include "platform/transport/addresses.h"

namespace Corvanta {
namespace {

std::string_view Trim(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const auto first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool IsControl(char character) {
  return static_cast<unsigned char>(character) < ' ' && character != '\t' && character != '\r';
}

/// Why a value is refused; the reader puts file and line in front.
struct BadValue {
  std::string reason;
};

std::uint64_t Number(std::string_view text, std::uint64_t lowest, std::uint64_t highest) {
  std::uint64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value < lowest || value > highest)
    throw BadValue{fmt::format("'{}' is not a whole number from {} to {}", text, lowest, highest)};
  return value;
}

bool Truth(std::string_view text) {
  if (text == "true") return true;
  if (text == "false") return false;
  throw BadValue{fmt::format("'{}' is neither true nor false", text)};
}

/// The text, unless `problem_of` it is something.
std::string Good(std::string_view text, std::string (*problem_of)(const std::string&)) {
  std::string good(text);
  const std::string problem = problem_of(good);
  if (!problem.empty()) throw BadValue{fmt::format("'{}' {}", text, problem)};
  return good;
}

std::string Transport(std::string_view text) {
  if (text != "unix" && text != "tcp" && text != "ssl")
    throw BadValue{fmt::format("'{}' is neither unix nor tcp nor ssl", text)};
  return std::string(text);
}

/// Reads one file, line by line, into a configuration.
class Reader {
 public:
  Reader(std::string path, TransportConfig& config) : path_(std::move(path)), config_(config) {}

  void Read() {
    ReadLines();
    if (config_.out_scan_period_s >= config_.in_scan_period_s) {
      line_ = scan_period_line_;
      Fail("orb.out_scan_period_s must be below orb.in_scan_period_s");
    }
    if (config_.dds_enabled && interface_line_ > 0 && !HasInterface(config_.dds_interface)) {
      line_ = interface_line_;
      Fail(fmt::format("dds.interface: no interface of this machine has the address {}", config_.dds_interface));
    }
  }

 private:
  void ReadLines() {
    constexpr std::size_t kLongestLine = 8192;
    try {
      Lumenar::TextFile file(path_);
      for (std::string text; file.NextLine(text, kLongestLine);) {
        ++line_;
        if (text.size() > kLongestLine) Fail(fmt::format("a line has at most {} bytes", kLongestLine));
        Line(text);
      }
    } catch (const std::system_error& error) {
      throw TransportConfigError(fmt::format("{}: cannot be read: {}", path_, error.code().message()));
    } catch (const TransportConfigError&) {
      throw;
    } catch (const std::runtime_error& error) {
      throw TransportConfigError(error.what());
    }
  }

  void Line(std::string_view text) {
    if (const auto odd = std::find_if(text.begin(), text.end(), IsControl); odd != text.end())
      Fail(fmt::format("byte {} is a control character", odd - text.begin() + 1));
    text = Trim(text.substr(0, text.find('#')));
    if (text.empty()) return;
    const auto equals = text.find('=');
    if (equals == std::string_view::npos) Fail(fmt::format("'{}' is not 'key = value'", text));
    const std::string_view key = Trim(text.substr(0, equals));
    const std::string_view value = Trim(text.substr(equals + 1));
    if (value.empty()) Fail(fmt::format("{}: no value", key));
    try {
      if (!Set(key, value)) Fail(fmt::format("unknown key '{}'", key));
    } catch (const BadValue& bad) {
      Fail(fmt::format("{}: {}", key, bad.reason));
    }
  }

  /// False when there is no such key.
  bool Set(std::string_view key, std::string_view value) {
    return SetOrbList(key, value) || SetOrbNumber(key, value) || SetMath(key, value) || SetDds(key, value);
  }

  bool SetOrbList(std::string_view key, std::string_view value) {
    if (key == "orb.endpoint") {
      Append(config_.endpoints, endpoints_given_, Good(value, EndpointProblem));
    } else if (key == "orb.allowed_peer") {
      Append(config_.allowed_peers, peers_given_, Good(value, PeerProblem));
    } else if (key == "orb.client_transport") {
      Append(config_.client_transports, client_transports_given_, Transport(value));
    } else {
      return false;
    }
    return true;
  }

  bool SetOrbNumber(std::string_view key, std::string_view value) {
    constexpr unsigned kDay_s = 86400;
    if (key == "orb.call_timeout_ms") {
      config_.call_timeout = std::chrono::milliseconds(Number(value, 1, 3600000));
    } else if (key == "orb.max_message_bytes") {
      config_.max_message_bytes = Number(value, 8192, std::numeric_limits<std::int32_t>::max());
    } else if (key == "orb.max_assembly_bytes") {
      config_.max_assembly_bytes = Number(value, 65536, std::uint64_t{1} << 40);
    } else if (key == "orb.send_timeout_ms") {
      config_.send_timeout = std::chrono::milliseconds(Number(value, 1, 3600000));
    } else if (key == "orb.max_unsent_bytes") {
      config_.max_unsent_bytes = Number(value, 8192, std::numeric_limits<std::int64_t>::max());
    } else if (key == "orb.max_connections_to_peer") {
      config_.max_connections_to_peer = static_cast<unsigned>(Number(value, 1, 10000));
    } else if (key == "orb.max_server_threads") {
      config_.max_server_threads = static_cast<unsigned>(Number(value, 2, 10000));
    } else if (key == "orb.out_scan_period_s") {
      config_.out_scan_period_s = static_cast<unsigned>(Number(value, 1, kDay_s));
      scan_period_line_ = line_;
    } else if (key == "orb.in_scan_period_s") {
      config_.in_scan_period_s = static_cast<unsigned>(Number(value, 1, kDay_s));
      scan_period_line_ = line_;
    } else {
      return false;
    }
    return true;
  }

  bool SetMath(std::string_view key, std::string_view value) {
    if (key == "math.max_objects") {
      config_.max_math_objects = static_cast<unsigned>(Number(value, 1, 10'000'000));
    } else if (key == "math.max_history_bytes") {
      config_.max_history_bytes = Number(value, 4096, std::uint64_t{1} << 48);
    } else {
      return false;
    }
    return true;
  }

  bool SetDds(std::string_view key, std::string_view value) {
    if (key == "dds.enabled") {
      config_.dds_enabled = Truth(value);
    } else if (key == "dds.domain") {
      config_.dds_domain = static_cast<unsigned>(Number(value, 0, 232));
    } else if (key == "dds.interface") {
      config_.dds_interface = Good(value, InterfaceProblem);
      interface_line_ = line_;
    } else if (key == "dds.topic") {
      config_.dds_topics.emplace_back(value);
    } else {
      return false;
    }
    return true;
  }

  /// The first element of a list that a file names replaces the list's default.
  static void Append(std::vector<std::string>& list, bool& given, std::string element) {
    if (!given) list.clear();
    given = true;
    list.push_back(std::move(element));
  }

  std::string Place() const { return fmt::format("{}:{}", path_, line_); }

  [[noreturn]] void Fail(const std::string& reason) const {
    throw TransportConfigError(fmt::format("{}: {}", Place(), reason));
  }

  std::string path_;
  TransportConfig& config_;
  unsigned line_ = 0;
  unsigned scan_period_line_ = 0;
  unsigned interface_line_ = 0;
  bool endpoints_given_ = false;
  bool peers_given_ = false;
  bool client_transports_given_ = false;
};

}  // namespace

TransportConfig TransportConfig::Read(const std::string& path) {
  TransportConfig config;
  Reader(path, config).Read();
  return config;
}

std::vector<std::pair<std::string, std::string>> TransportConfig::OrbOptions() const {
  constexpr unsigned kPoolThreads = 100;
  std::vector<std::pair<std::string, std::string>> options;
  for (const std::string& endpoint : endpoints) options.emplace_back("endPoint", endpoint);
  for (const std::string& peer : allowed_peers) options.emplace_back("serverTransportRule", peer + " unix,tcp,ssl");
  // Who may use a socket of this machine is a matter of its directory; this rule comes last and allows nothing else.
  options.emplace_back("serverTransportRule", "localhost unix");
  options.emplace_back("clientTransportRule", fmt::format("* {}", fmt::join(client_transports, ",")));
  const auto add = [&options](const char* name, auto number) { options.emplace_back(name, std::to_string(number)); };
  add("clientCallTimeOutPeriod", call_timeout.count());
  add("giopMaxMsgSize", max_message_bytes);
  add("maxGIOPConnectionPerServer", max_connections_to_peer);
  // A thread for each connection, always: a pool would be frozen by as many half requests as it has threads. The number
  // of connections is what is limited (GuardedTransport); those that are being closed still count here.
  add("threadPerConnectionPolicy", 1);
  const unsigned never = 4 * max_server_threads + kPoolThreads;
  add("threadPerConnectionUpperLimit", never);
  add("threadPerConnectionLowerLimit", never - 1);
  add("maxServerThreadPoolSize", std::min(max_server_threads, kPoolThreads));
  // How soon the ORB sees a request on a connection whose thread is in a call, from a client that interleaves calls.
  // Its watcher waits in whole milliseconds and spins through the rest of a period: at the ORB's own 50 ms, the
  // watchers of five processes on two processors delayed one in a hundred large samples by half a millisecond and more.
  add("connectionWatchPeriod", 1'000'000);
  add("maxServerThreadPerConnection", 4);  // calls of one connection at a time: each may hold an answer
  add("outConScanPeriod", out_scan_period_s);
  add("inConScanPeriod", in_scan_period_s);
  add("scanGranularity", std::min(5u, out_scan_period_s));
  options.emplace_back("unixTransportPermission", "0700");
  return options;
}

}  // namespace Corvanta
