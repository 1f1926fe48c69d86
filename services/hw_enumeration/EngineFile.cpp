// SPDX-License-Identifier: Apache-2.0
#include "services/hw_enumeration/EngineFile.h"

#include <fmt/format.h>

#include <charconv>
#include <cstdint>
#include <system_error>
#include <tuple>
#include <vector>

#include "platform/base/ReplaceFile.h"

namespace Lumenar {
namespace {

constexpr const char* kTitle = "hw_enumeration engines 1";

std::vector<std::string> Fields(const std::string& line) {
  std::vector<std::string> fields(1);
  for (const char character : line) {
    if (character == '\t') {
      fields.emplace_back();
    } else {
      fields.back() += character;
    }
  }
  return fields;
}

/// False for a line that makes no sense, or that finds no place any more.
bool TakeLine(const std::string& line, EngineTable& table) {
  const std::vector<std::string> fields = Fields(line);
  if (fields.size() != 3) return false;
  const auto& [instance_text, progress, name] = std::tie(fields[0], fields[1], fields[2]);
  std::int32_t instance = 0;  // as it is announced
  const char* last = instance_text.data() + instance_text.size();
  const auto [end, error] = std::from_chars(instance_text.data(), last, instance);
  if (error != std::errc() || end != last || !EngineTable::IsNameGood(name)) return false;
  if (!progress.empty() && !EngineTable::IsProgressGood(progress)) return false;
  const auto announcement = table.Announce({name, instance});
  return announcement && table.Report({name, instance}, *announcement, progress);
}

}  // namespace

void EngineFile::Read(EngineTable& table, std::string& problem) const {
  problem.clear();
  RemoveUnfinishedReplacements(path_);
  try {
    TextFile file(path_, TextFile::Links::Refused);
    ReadFrom(file, path_.string(), table, problem);
  } catch (const std::system_error& error) {
    if (error.code() != std::errc::no_such_file_or_directory)
      problem = fmt::format("{}: cannot be read ({})", path_.string(), error.code().message());
  }
}

void EngineFile::ReadFrom(TextFile& file, const std::string& name, EngineTable& table, std::string& problem) {
  constexpr std::size_t kLongestLine = 65536;  // beyond any name of an engine
  int number = 0;
  for (std::string line; file.NextLine(line, kLongestLine);) {
    const bool good = ++number == 1 ? line == kTitle : TakeLine(line, table);
    if (!good && problem.empty()) problem = fmt::format("{}:{}: damaged", name, number);
  }
}

void EngineFile::Write(const EngineTable& table) const {
  std::string text = fmt::format("{}\n", kTitle);
  for (const auto& [key, entry] : table.Entries()) {
    text += fmt::format("{}\t{}\t{}\n", key.second, entry.progress, key.first);
  }
  ReplaceFile(path_, text);
}

}  // namespace Lumenar
