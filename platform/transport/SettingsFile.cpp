// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/SettingsFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>
#include <system_error>

#include "platform/base/TextFile.h"
#include "platform/transport/addresses.h"

namespace Corvanta {
namespace {

/// What values a key may have.
struct Setting {
  std::string_view key;
  std::string (*problem)(const Setting& setting, const std::string& value);  ///< what is wrong with one; empty: nothing
  std::uint64_t lowest = 0;
  std::uint64_t highest = 0;
};

std::string NumberProblem(const Setting& setting, const std::string& value) {
  std::uint64_t number = 0;
  const char* const last = value.data() + value.size();
  const auto [end, error] = std::from_chars(value.data(), last, number);
  if (error == std::errc() && end == last && setting.lowest <= number && number <= setting.highest) return {};
  return fmt::format("'{}' is not a whole number from {} to {}", value, setting.lowest, setting.highest);
}

std::string TruthProblem(const Setting&, const std::string& value) {
  if (value == "true" || value == "false") return {};
  return fmt::format("'{}' is neither true nor false", value);
}

std::string TransportProblem(const Setting&, const std::string& value) {
  if (value == "unix" || value == "tcp" || value == "ssl") return {};
  return fmt::format("'{}' is neither unix nor tcp nor ssl", value);
}

/// For checks whose words go behind the value.
template <std::string (*problem_of)(const std::string&)>
std::string AddressProblem(const Setting&, const std::string& value) {
  const std::string problem = problem_of(value);
  return problem.empty() ? problem : fmt::format("'{}' {}", value, problem);
}

std::string NoProblem(const Setting&, const std::string&) { return {}; }

constexpr std::uint64_t kHour_ms = 3600000;
constexpr std::uint64_t kDay_s = 86400;

constexpr Setting kSettings[] = {
    {"orb.endpoint", AddressProblem<EndpointProblem>},
    {"orb.allowed_peer", AddressProblem<PeerProblem>},
    {"orb.client_transport", TransportProblem},
    {"orb.call_timeout_ms", NumberProblem, 1, kHour_ms},
    {"orb.max_message_bytes", NumberProblem, 8192, std::numeric_limits<std::int32_t>::max()},
    {"orb.max_assembly_bytes", NumberProblem, 65536, std::uint64_t{1} << 40},
    {"orb.send_timeout_ms", NumberProblem, 1, kHour_ms},
    {"orb.max_unsent_bytes", NumberProblem, 8192, std::numeric_limits<std::int64_t>::max()},
    {"orb.max_connections_to_peer", NumberProblem, 1, 10000},
    {"orb.max_server_threads", NumberProblem, 2, 10000},
    {"orb.naming_wait_s", NumberProblem, 0, kDay_s},
    {"orb.out_scan_period_s", NumberProblem, 1, kDay_s},
    {"orb.in_scan_period_s", NumberProblem, 1, kDay_s},
    {"math.max_objects", NumberProblem, 1, 10'000'000},
    {"math.max_history_bytes", NumberProblem, 4096, std::uint64_t{1} << 48},
    {"dds.enabled", TruthProblem},
    {"dds.domain", NumberProblem, 0, 232},
    {"dds.interface", AddressProblem<InterfaceProblem>},
    {"dds.topic", NoProblem},
};

const Setting* FindSetting(std::string_view key) {
  const auto* found = std::find_if(std::begin(kSettings), std::end(kSettings),
                                   [key](const Setting& setting) { return setting.key == key; });
  return found == std::end(kSettings) ? nullptr : found;
}

std::string_view Trim(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const auto first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool IsControl(char character) {
  return static_cast<unsigned char>(character) < ' ' && character != '\t' && character != '\r';
}

}  // namespace

/// Reads one file, line by line.
class SettingsFile::Reader {
 public:
  explicit Reader(SettingsFile& file) : file_(file) {}

  void Read() {
    constexpr std::size_t kLongestLine = 8192;
    try {
      Lumenar::TextFile file(file_.path_);
      for (std::string text; file.NextLine(text, kLongestLine);) {
        ++line_;
        if (text.size() > kLongestLine) Fail(fmt::format("a line has at most {} bytes", kLongestLine));
        Take(text);
      }
    } catch (const std::system_error& error) {
      throw TransportConfigError(fmt::format("{}: cannot be read: {}", file_.path_, error.code().message()));
    } catch (const TransportConfigError&) {
      throw;
    } catch (const std::runtime_error& error) {
      throw TransportConfigError(error.what());
    }
  }

 private:
  void Take(std::string_view text) {
    if (const auto odd = std::find_if(text.begin(), text.end(), IsControl); odd != text.end())
      Fail(fmt::format("byte {} is a control character", odd - text.begin() + 1));
    text = Trim(text.substr(0, text.find('#')));
    if (text.empty()) return;
    const auto equals = text.find('=');
    if (equals == std::string_view::npos) Fail(fmt::format("'{}' is not 'key = value'", text));
    const std::string key(Trim(text.substr(0, equals)));
    const std::string value(Trim(text.substr(equals + 1)));
    if (value.empty()) Fail(fmt::format("{}: no value", key));
    const Setting* const setting = FindSetting(key);
    if (setting == nullptr) Fail(fmt::format("unknown key '{}'", key));
    if (const std::string problem = setting->problem(*setting, value); !problem.empty())
      Fail(fmt::format("{}: {}", key, problem));
    file_.lines_[key].push_back({line_, value});
  }

  [[noreturn]] void Fail(const std::string& reason) const {
    throw TransportConfigError(fmt::format("{}:{}: {}", file_.path_, line_, reason));
  }

  SettingsFile& file_;
  unsigned line_ = 0;
};

SettingsFile SettingsFile::Read(const std::string& path) {
  SettingsFile file;
  file.path_ = path;
  Reader(file).Read();
  return file;
}

const std::vector<SettingsFile::Line>* SettingsFile::Find(std::string_view key) const {
  if (FindSetting(key) == nullptr) throw std::logic_error("SettingsFile: there is no setting " + std::string(key));
  const auto found = lines_.find(key);
  return found == lines_.end() ? nullptr : &found->second;
}

std::vector<std::string> SettingsFile::Values(std::string_view key) const {
  std::vector<std::string> values;
  if (const auto* lines = Find(key)) {
    for (const Line& line : *lines) values.push_back(line.value);
  }
  return values;
}

std::uint64_t SettingsFile::Number(std::string_view key, std::uint64_t otherwise) const {
  const auto* lines = Find(key);
  if (lines == nullptr) return otherwise;
  const std::string& value = lines->back().value;
  std::uint64_t number = 0;
  std::from_chars(value.data(), value.data() + value.size(), number);  // found good when the file was read
  return number;
}

bool SettingsFile::Truth(std::string_view key, bool otherwise) const {
  const auto* lines = Find(key);
  return lines == nullptr ? otherwise : lines->back().value == "true";
}

std::string SettingsFile::Text(std::string_view key, const std::string& otherwise) const {
  const auto* lines = Find(key);
  return lines == nullptr ? otherwise : lines->back().value;
}

std::vector<std::string> SettingsFile::List(std::string_view key, const std::vector<std::string>& otherwise) const {
  return Find(key) == nullptr ? otherwise : Values(key);
}

void SettingsFile::Refuse(const std::vector<std::string_view>& keys, const std::string& reason) const {
  unsigned number = 0;
  for (const std::string_view key : keys) {
    if (const auto* lines = Find(key)) number = std::max(number, lines->back().number);
  }
  throw TransportConfigError(fmt::format("{}:{}: {}", path_, number, reason));
}

}  // namespace Corvanta
