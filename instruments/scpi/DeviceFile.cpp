// SPDX-License-Identifier: Apache-2.0
#include "instruments/scpi/DeviceFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <stdexcept>
#include <tuple>

#include "instruments/scpi/file_lines.h"
#include "instruments/scpi/file_values.h"
#include "instruments/scpi/words.h"
#include "platform/base/TextFile.h"

namespace Lumenar::Scpi {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kLargestFile = 1'000'000;
constexpr std::size_t kLargestAnswer = 256'000'000;

/// Where the reader of a file stands.
struct Section {
  char kind = 'd';  ///< first letter of device, trace, scalar, setting
  std::size_t line = 1;
  std::set<std::string, std::less<>> keys;  ///< that it has had
};

/// What the keys of a section fill in.
struct Target {
  DeviceConfig& device;
  std::optional<ByteOrder>& order;
  ReadingConfig& Reading() const { return device.readings.back(); }
  SettingConfig& Setting() const { return device.settings.back(); }
};

using Text = std::string_view;
using FillIn = void (*)(const Target&, Text);

void Append(std::vector<Message>& messages, const std::vector<Message>& more) {
  messages.insert(messages.end(), more.begin(), more.end());
}

void SetAxisUnit(ReadingConfig& reading, Text text) { std::tie(reading.x_unit, reading.x_factor) = AxisUnit(text); }

/// A key, the sections that have it, and what it does.
struct FileKey {
  Text name;
  Text kinds;
  FillIn fill_in;
};

constexpr std::array kFileKeys = {
    FileKey{"connect", "d", [](const Target& to, Text text) { to.device.address = AddressFromText(text); }},
    FileKey{"end", "d", [](const Target& to, Text text) { to.device.end = LineEndFromText(text); }},
    FileKey{"order", "d", [](const Target& to, Text text) { to.order = ByteOrderFromText(text); }},
    FileKey{"first_timeout", "d",
            [](const Target& to, Text text) { to.device.first_timeout = Duration(text, 10ms, 600s); }},
    FileKey{"timeout", "d", [](const Target& to, Text text) { to.device.timeout = Duration(text, 10ms, 600s); }},
    FileKey{"gap", "d", [](const Target& to, Text text) { to.device.gap = Duration(text, 0ms, 60s); }},
    FileKey{"largest", "d", [](const Target& to, Text text) { to.device.largest = Size(text, 1000, kLargestAnswer); }},
    FileKey{"identify", "d", [](const Target& to, Text text) { to.device.identify = QuestionOrNone(text); }},
    FileKey{"errors", "d", [](const Target& to, Text text) { to.device.errors = QuestionOrNone(text); }},
    FileKey{"start", "d", [](const Target& to, Text text) { Append(to.device.start, MessagesOf(text)); }},
    FileKey{"single", "tv", [](const Target& to, Text text) { Append(to.Reading().single, MessagesOf(text)); }},
    FileKey{"query", "tv", [](const Target& to, Text text) { to.Reading().query = Question(text); }},
    FileKey{"unit", "tv", [](const Target& to, Text text) { to.Reading().units = ReadingUnit(text); }},
    FileKey{"rate", "tv", [](const Target& to, Text text) { to.Reading().rate_Hz = NumberBetween(text, 1e-4, 1e4); }},
    FileKey{"timeout", "tv", [](const Target& to, Text text) { to.Reading().timeout = Duration(text, 10ms, 600s); }},
    FileKey{"block", "tv", [](const Target& to, Text text) { to.Reading().form.block = BlockFormFromText(text); }},
    FileKey{"zero", "tv", [](const Target& to, Text text) { to.Reading().zero = FigureFromText(text); }},
    FileKey{"scale", "tv", [](const Target& to, Text text) { to.Reading().scale = FigureFromText(text); }},
    FileKey{"offset", "tv", [](const Target& to, Text text) { to.Reading().offset = FigureFromText(text); }},
    FileKey{"x", "t", [](const Target& to, Text text) { to.Reading().x = FiguresFromText(text); }},
    FileKey{"x_unit", "t", [](const Target& to, Text text) { SetAxisUnit(to.Reading(), text); }},
    FileKey{"error", "v",
            [](const Target& to, Text text) { to.Reading().error = Instruments::ErrorBandFromText(text); }},
    FileKey{"get", "s", [](const Target& to, Text text) { to.Setting().get = Question(text); }},
    FileKey{"set", "s", [](const Target& to, Text text) { to.Setting().set = Command(text); }},
    FileKey{"unit", "s", [](const Target& to, Text text) { to.Setting().units = Value::Units_from_text(text); }},
    FileKey{"limits", "s", [](const Target& to, Text text) { to.Setting().limits = Limits(text); }},
};

struct SectionName {
  Text name;
  char kind;
};
constexpr std::array kSections = {SectionName{"trace", 't'}, SectionName{"scalar", 'v'}, SectionName{"setting", 's'}};

const char* TitleOf(char kind) {
  for (const auto& [name, its_kind] : kSections)
    if (its_kind == kind) return name.data();
  return "device";
}

bool IsItemName(Text name) {
  constexpr Text kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_";
  return !name.empty() && name.size() <= 64 && name.find_first_not_of(kLetters) == Text::npos;
}

/// In any letters, and with blanks anywhere.
bool HasWord(const Message& message, Text word) {
  std::string text;
  for (const char c : message.text)
    if (c != ' ') text += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  return text.find(word) != std::string::npos;
}

/// What the commands at the start say of blocks: for readings that do not say it themselves.
std::optional<BlockForm> BlockFormOf(const std::vector<Message>& start) {
  constexpr std::array<std::pair<Text, BlockForm>, 5> kForms = {{{"REAL,64", BlockForm::Real64},
                                                                 {"REAL,32", BlockForm::Real32},
                                                                 {"INT,16", BlockForm::Int16},
                                                                 {"INT,32", BlockForm::Int32},
                                                                 {"INT,8", BlockForm::Int8}}};
  for (const Message& message : start) {
    for (const auto& [word, form] : kForms)
      if (HasWord(message, "FORM") && HasWord(message, word)) return form;
  }
  return std::nullopt;
}

bool SwapsBytes(const std::vector<Message>& start) {
  return std::any_of(start.begin(), start.end(),
                     [](const Message& message) { return HasWord(message, "BORD") && HasWord(message, "SWAP"); });
}

/// Reads a file line by line.
class FileReader {
 public:
  explicit FileReader(DeviceConfig& device) : device_(device) {}

  void ReadLine(Text text) {
    ++line_;
    const Text line = WithoutComment(text);
    if (line.empty()) return;
    if (line.front() == '[') return Begin(line);
    for (const FileEntry& entry : EntriesOf(line)) ReadEntry(entry);
  }

  void Finish() {
    EndSection();
    if (device_.readings.empty() && device_.settings.empty())
      throw std::invalid_argument("no [trace NAME], [scalar NAME] or [setting NAME]");
    const ByteOrder order = order_.value_or(SwapsBytes(device_.start) ? ByteOrder::Little : ByteOrder::Big);
    for (ReadingConfig& reading : device_.readings) reading.form.order = order;
    const auto form = BlockFormOf(device_.start);
    for (std::size_t i = 0; form && i < device_.readings.size(); ++i)
      if (!has_block_form_[i]) device_.readings[i].form.block = *form;
  }

  std::size_t Line() const { return line_; }

 private:
  void Begin(Text line) {
    EndSection();
    const std::size_t blank = std::min(line.find_first_of(" \t"), line.size());
    const Text kind = line.substr(1, blank - 1);
    const Text name = line.back() == ']' ? Trimmed(line.substr(blank, line.size() - blank - 1)) : Text();
    const auto* found = std::find_if(kSections.begin(), kSections.end(), [&](const auto& s) { return s.name == kind; });
    if (found == kSections.end() || !IsItemName(name))
      throw std::invalid_argument(
          "expected [trace NAME], [scalar NAME] or [setting NAME], a name of letters, digits "
          "and \"_\"");
    if (!names_.insert(std::string(name)).second)
      throw std::invalid_argument(fmt::format("a second item with the name {}", name));
    section_ = {found->kind, line_, {}};
    Add(std::string(name));
  }

  void Add(const std::string& name) {
    if (section_.kind == 's') {
      device_.settings.emplace_back().name = name;
      return;
    }
    ReadingConfig& reading = device_.readings.emplace_back();
    reading.name = name;
    reading.is_trace = section_.kind == 't';
    has_block_form_.push_back(false);
  }

  void ReadEntry(const FileEntry& entry) {
    if (entry.value.empty()) throw std::invalid_argument(fmt::format("{} has no value", entry.key));
    const bool may_repeat = entry.key == "start" || entry.key == "single";
    if (!section_.keys.insert(std::string(entry.key)).second && !may_repeat)
      throw std::invalid_argument(fmt::format("a second {}", entry.key));
    FillInKey(entry);
    if (entry.key == "block") has_block_form_.back() = true;
  }

  void FillInKey(const FileEntry& entry) {
    const auto* key = std::find_if(kFileKeys.begin(), kFileKeys.end(), [&](const FileKey& each) {
      return each.name == entry.key && each.kinds.find(section_.kind) != Text::npos;
    });
    if (key == kFileKeys.end())
      throw std::invalid_argument(fmt::format("a {} has no key \"{}\"", TitleOf(section_.kind), entry.key));
    try {
      key->fill_in({device_, order_}, entry.value);
    } catch (const std::invalid_argument& error) {
      throw std::invalid_argument(fmt::format("{}: {}", entry.key, error.what()));
    }
  }

  /// What is missing in the section that ends is reported at its first line.
  void EndSection() {
    const std::size_t here = line_;
    line_ = section_.line;
    if (section_.kind == 't' || section_.kind == 'v') RequireWholeReading(device_.readings.back());
    if (section_.kind == 's') RequireWholeSetting(device_.settings.back());
    line_ = here;
  }

  static void RequireWholeReading(const ReadingConfig& reading) {
    if (reading.query.empty()) throw std::invalid_argument(reading.name + " has no query");
    if (reading.units.is_dB && reading.error.of_reading > 0)
      throw std::invalid_argument(reading.name + ": error: a level has no error in percent of itself, but in dB");
  }

  static void RequireWholeSetting(const SettingConfig& setting) {
    if (setting.get.empty() || setting.set.empty())
      throw std::invalid_argument(setting.name + " needs both get and set");
  }

  DeviceConfig& device_;
  Section section_;
  std::size_t line_ = 0;
  std::set<std::string> names_;
  std::optional<ByteOrder> order_;
  std::vector<bool> has_block_form_;  // of the readings, in turn
};

}  // namespace

DeviceConfig DeviceFromText(std::string_view text, const std::string& file) {
  DeviceConfig device;
  device.file = file;
  FileReader reader(device);
  try {
    while (!text.empty()) {
      const std::size_t end = std::min(text.find('\n'), text.size());
      reader.ReadLine(text.substr(0, end));
      text.remove_prefix(std::min(end + 1, text.size()));
    }
    reader.Finish();
  } catch (const std::invalid_argument& error) {
    throw std::invalid_argument(fmt::format("{}:{}: {}", file, std::max<std::size_t>(reader.Line(), 1), error.what()));
  }
  return device;
}

DeviceConfig DeviceFromFile(const std::string& path) { return DeviceFromText(TextFile(path).Rest(kLargestFile), path); }

}  // namespace Lumenar::Scpi
