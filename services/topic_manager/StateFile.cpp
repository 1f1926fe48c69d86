// SPDX-License-Identifier: Apache-2.0
#include "services/topic_manager/StateFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <sstream>
#include <system_error>

#include "platform/base/ReplaceFile.h"

namespace Lumenar {
namespace {

constexpr const char* kTitle = "topic_manager subscriptions 1";
constexpr std::size_t kLongestLine =
    StateFile::kLongestReference + 8192;  // a topic's name is short, and three bytes a character

bool NeedsEscape(char character) {
  const auto byte = static_cast<unsigned char>(character);
  return byte <= ' ' || byte >= 0x7f || byte == '%';
}

std::string Escape(const std::string& text) {
  std::string escaped;
  for (const char character : text) {
    if (NeedsEscape(character)) {
      escaped += fmt::format("%{:02X}", static_cast<unsigned char>(character));
    } else {
      escaped += character;
    }
  }
  return escaped;
}

std::optional<std::string> Unescape(const std::string& escaped) {
  std::string text;
  for (std::size_t i = 0; i < escaped.size(); ++i) {
    if (escaped[i] != '%') {
      text += escaped[i];
      continue;
    }
    unsigned byte = 0;
    if (i + 2 >= escaped.size()) return std::nullopt;
    const char* digits = escaped.data() + i + 1;
    const auto [end, error] = std::from_chars(digits, digits + 2, byte, 16);
    if (error != std::errc() || end != digits + 2) return std::nullopt;
    text += static_cast<char>(byte);
    i += 2;
  }
  return text;
}

std::optional<long> ReadHandle(const std::string& word) {
  long handle = 0;
  const char* last = word.data() + word.size();
  const auto [end, error] = std::from_chars(word.data(), last, handle);
  if (error != std::errc() || end != last || handle < 1 || handle > StateFile::kLastHandle) return std::nullopt;
  return handle;
}

std::vector<std::string> Words(const std::string& line) {
  std::istringstream stream(line);
  std::vector<std::string> words;
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

std::optional<StateFile::Entry> ReadEntry(const std::vector<std::string>& words) {
  if (words.size() != 4 || words[0] != "sub") return std::nullopt;
  const auto handle = ReadHandle(words[1]);
  auto topic = Unescape(words[2]);
  if (!handle || !topic || topic->empty() || words[3].compare(0, 4, "IOR:") != 0) return std::nullopt;
  if (words[3].size() > StateFile::kLongestReference) return std::nullopt;
  return StateFile::Entry{*handle, std::move(*topic), words[3]};
}

/// Takes the lines of a file one by one and keeps count of those that make no sense.
class Reader {
 public:
  void Take(const std::string& line) {
    ++line_number_;
    if (!(line_number_ == 1 ? line == kTitle : TakeWords(Words(line)))) {
      if (bad_lines_++ == 0) first_bad_line_ = line_number_;
    }
  }

  StateFile::State Finish() {
    for (auto& [handle, entry] : entries_) state_.entries.push_back(std::move(entry));
    return std::move(state_);
  }

  std::string Problem(const std::string& path) const {
    if (line_number_ == 0) return path + ": empty; starting without subscriptions";
    if (bad_lines_ == 0) return {};
    return fmt::format("{}:{}: damaged ({} line(s) in all not read, {} subscription(s) kept)", path, first_bad_line_,
                       bad_lines_, entries_.size());
  }

 private:
  bool TakeWords(const std::vector<std::string>& words) {
    if (words.size() == 2 && words[0] == "next") {
      const auto handle = ReadHandle(words[1]);
      if (handle) state_.next_handle = *handle;
      return handle.has_value();
    }
    if (words.size() == 2 && words[0] == "end") {
      const auto handle = ReadHandle(words[1]);
      return handle && entries_.erase(*handle) == 1;
    }
    auto entry = ReadEntry(words);
    if (!entry || entries_.count(entry->handle) != 0) return false;
    state_.next_handle = entry->handle == StateFile::kLastHandle ? 1 : std::max(state_.next_handle, entry->handle + 1);
    entries_.emplace(entry->handle, std::move(*entry));
    return true;
  }

  StateFile::State state_;
  std::map<long, StateFile::Entry> entries_;
  int line_number_ = 0;
  int bad_lines_ = 0;
  int first_bad_line_ = 0;
};

std::string Text(const StateFile::State& state) {
  std::string text = fmt::format("{}\n", kTitle);
  for (const auto& entry : state.entries) text += StateFile::BeginLine(entry);
  return text + fmt::format("next {}\n", state.next_handle);  // the last word on it, until lines are added
}

}  // namespace

StateFile::State StateFile::Read(std::string& problem) const {
  problem.clear();
  RemoveUnfinishedReplacements(path_);
  try {
    TextFile file(path_, TextFile::Links::Refused);
    return ReadFrom(file, path_.string(), problem);
  } catch (const std::system_error& error) {
    if (error.code() != std::errc::no_such_file_or_directory)
      problem = fmt::format("{}: cannot be read ({}); starting without subscriptions", path_.string(),
                            error.code().message());
    return {};
  }
}

StateFile::State StateFile::ReadFrom(TextFile& file, const std::string& name, std::string& problem) {
  Reader reader;
  for (std::string line; file.NextLine(line, kLongestLine);) reader.Take(line);
  problem = reader.Problem(name);
  return reader.Finish();
}

std::string StateFile::BeginLine(const Entry& entry) {
  return fmt::format("sub {} {} {}\n", entry.handle, Escape(entry.topic), entry.reference);
}

std::string StateFile::EndLine(long handle) { return fmt::format("end {}\n", handle); }

void StateFile::Append(const std::string& lines) const { AppendToFile(path_, lines); }

void StateFile::Write(const State& state) const { ReplaceFile(path_, Text(state)); }

}  // namespace Lumenar
