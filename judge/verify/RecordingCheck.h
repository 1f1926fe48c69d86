// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "judge/verify/ObjectCheck.h"
#include "judge/verify/Report.h"
#include "recording/EntryReader.h"

namespace Lumenar::Judge {

/// A recording computed again: every math object in it whose inputs are in it too.
///
///     RecordingCheck check(limits);
///     const Report report = check.Run({"proof.jsonl"});
///
/// A file that goes on in another one, beside it, is followed. A damaged file is checked as far as it can be read, and
/// the report says so.
/// Errors   of Run: std::system_error and std::runtime_error, "PATH: reason", for a first file that cannot be read or is
///          no recording.
/// Memory   some seconds of the recording. Threads   one at a time.
class RecordingCheck {
 public:
  explicit RecordingCheck(const SearchLimits& limits = {}) : limits_(limits) {}

  /// Is called now and then with the bytes of the present file that were read, and all. What it throws ends the run.
  std::function<void(std::size_t read, std::size_t all)> on_progress;

  /// Once.
  Report Run(const std::vector<std::string>& paths);

 private:
  /// What a reading is to the objects: the result of one, and the input of some.
  struct Use {
    ObjectCheck* object;
    std::size_t input;
  };
  struct ReadingUse {
    ObjectCheck* result_of = nullptr;
    std::vector<Use> input_of;
    std::uint64_t samples = 0;
  };

  void CheckFile(const std::string& path);
  void CheckEntries(Recording::EntryReader& reader, FileReport& file);
  bool WasChecked(const std::string& path) const;
  void LookAround(const Recording::EntryReader& reader) const;
  void ReadEntries(Recording::EntryReader& reader, FileReport& file);
  void CheckSuccession(const Recording::Header& header);
  std::string NextPath() const;
  void Take(const Recording::ReadingInfo& reading);
  void Take(const Recording::Sample& sample);
  void Take(const Recording::Event& event);
  void TakePresent(const ReadingUse& use, const Datum& value);
  void AddObject(const Recording::ReadingInfo& reading);
  void Interrupt(const Recording::Event& event, const std::string& reason);
  void InterruptAll(std::int64_t since_ns, const std::string& reason);
  void GiveUpWhereInputsAreMissing();

  const SearchLimits limits_;
  Report report_;
  std::vector<std::unique_ptr<ObjectCheck>> objects_;
  const std::shared_ptr<std::size_t> sharing_ = std::make_shared<std::size_t>(0);  // how many they are
  std::map<std::string, ReadingUse> readings_;  // by name, also of readings that did not come yet
  std::vector<std::string> names_;              // of the present file, by index
  std::map<std::string, bool> recorded_;        // names that came
  std::string last_digest_;                     // of the file before
  std::string next_;                            // file name of the next part, as the file before tells
  std::uint64_t place_ = 0;
  std::int64_t now_ns_ = 0;
};

/// Where this program was made and runs.
Workplace ThisWorkplace();

}  // namespace Lumenar::Judge
