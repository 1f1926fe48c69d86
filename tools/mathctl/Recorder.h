// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "client/Subscription.h"
#include "recording/RecordingWriter.h"
#include "tools/mathctl/LossWatch.h"
#include "tools/mathctl/Progress.h"
#include "tools/mathctl/RecordingPlan.h"
#include "tools/mathctl/command.h"

namespace Lumenar::Mathctl {

/// How long and in which way is recorded.
struct RecorderOptions {
  std::string file;
  Recording::WriterOptions writer;
  std::uint64_t samples = 0;  ///< 0: no limit
  double seconds = 0;         ///< 0: no limit
  bool reset = false;         ///< RESET of the objects that have one, before the first sample
};

/// Records readings into files until it has what was asked for, or a signal comes.
/// Errors   Client::Error; those of RecordingWriter.
class Recorder {
 public:
  Recorder(const Session& session, const std::vector<PlannedReading>& planned, const RecorderOptions& options);

  void Run();

  const Recording::RecordingWriter& Writer() const { return *writer_; }
  std::uint64_t Lost() const { return lost_; }
  std::chrono::duration<double> Elapsed() const { return std::chrono::steady_clock::now() - begin_; }

 private:
  /// What a source of the subscription is.
  struct Source {
    std::uint32_t reading;
    bool is_size;  ///< SIZE of its object, not the reading itself
  };

  void Subscribe();
  void AddReadings();
  void WritePresentValues();
  void ResetObjects();
  void Reset(std::uint32_t reading);
  void WriteAll();
  bool Finished() const;
  std::chrono::milliseconds Patience() const;
  void Write(const Client::Delivery& delivery);
  void LookAround();
  void Note(const std::vector<Loss>& losses);
  void NoteLost(const Loss& loss, std::int64_t time_ns);
  void AskForSizes(std::optional<std::size_t> source);
  void WriteSize(std::uint32_t reading, std::int32_t size, std::int64_t time_ns);
  void NoteSilent();
  void NoteGap(std::optional<std::uint32_t> reading, const std::string& why,
               std::optional<std::int64_t> since_ns = std::nullopt);
  void ShowProgress();

  const Session& session_;
  const std::vector<PlannedReading>& planned_;
  const RecorderOptions& options_;
  Client::Subscription subscription_;
  std::vector<Source> sources_;
  std::vector<bool> silent_;                          // readings whose engine did not answer when last asked
  std::optional<Recording::RecordingWriter> writer_;  // from AddReadings on
  std::optional<LossWatch> loss_watch_;               // from Subscribe on
  Progress progress_;
  std::chrono::steady_clock::time_point begin_;
  std::chrono::steady_clock::time_point sample_came_;
  std::uint64_t written_ = 0;  // samples that were published
  std::uint64_t lost_ = 0;
};

}  // namespace Lumenar::Mathctl
