// SPDX-License-Identifier: Apache-2.0
#include <set>
#include <string>

#include "services/hw_enumeration/EngineFile.h"
#include "services/topic_manager/StateFile.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/MemoryFile.h"
#include "tests/fuzz/Violation.h"
#include "tests/fuzz/targets.h"

namespace Lumenar::Fuzz {
namespace {

StateFile::State ReadSubscriptions(const std::string& text, std::string& problem) {
  const MemoryFile memory(text);
  TextFile file(memory.Path());
  return StateFile::ReadFrom(file, "state", problem);
}

void CheckProblem(const std::string& problem) {
  Require(problem.empty() || problem.rfind("state:", 0) == 0, "a problem names the file");
  Require(problem.find('\n') == std::string::npos, "a problem is one line");
}

void CheckSubscriptions(const std::string& text) {
  std::string problem;
  const StateFile::State state = ReadSubscriptions(text, problem);
  CheckProblem(problem);
  Require(state.next_handle >= 1 && state.next_handle <= StateFile::kLastHandle, "the next handle can be given out");
  std::set<long> handles;
  std::string written = "topic_manager subscriptions 1\n";
  for (const StateFile::Entry& entry : state.entries) {
    Require(entry.handle >= 1 && entry.handle <= StateFile::kLastHandle && handles.insert(entry.handle).second,
            "a handle is one subscriber's");
    Require(!entry.topic.empty() && entry.reference.size() <= StateFile::kLongestReference,
            "an entry is within its bounds");
    written += StateFile::BeginLine(entry);
  }
  written += fmt::format("next {}\n", state.next_handle);
  const StateFile::State again = ReadSubscriptions(written, problem);
  Require(problem.empty() && again.entries == state.entries && again.next_handle == state.next_handle,
          "what is written is read as it was");
}

void CheckEngines(const std::string& text) {
  const MemoryFile memory(text);
  TextFile file(memory.Path());
  EngineTable table;
  std::string problem;
  EngineFile::ReadFrom(file, "state", table, problem);
  CheckProblem(problem);
  for (const auto& [key, entry] : table.Entries()) {
    Require(EngineTable::IsNameGood(key.first), "an engine's name can be shown");
    Require(entry.progress.empty() || EngineTable::IsProgressGood(entry.progress), "progress can be shown");
  }
}

}  // namespace

void StateFiles(Bytes input) {
  const std::string text = TextOf(input);
  CheckSubscriptions(text);
  CheckEngines(text);
}

}  // namespace Lumenar::Fuzz
