// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "instruments/replay/Recording.h"
#include "recording/EntryReader.h"

namespace Lumenar::Replay {

/// Sweeps of a file that is no recording of this system (Touchstone, CSV of other instruments) as the entries of one:
/// readings REPLAY/1/NAME, the sweeps at the rate that the file tells, else ten a second. As such files tell no time,
/// the first was captured when the file was last written.
class PlainEntries final : public Lumenar::Recording::EntryReader {
 public:
  /// Errors   as LoadRecording.
  explicit PlainEntries(const std::string& path);

  const Lumenar::Recording::Header& GetHeader() const noexcept override { return header_; }
  std::optional<Lumenar::Recording::Entry> Next() override;
  const std::optional<Lumenar::Recording::End>& GetEnd() const noexcept override { return end_; }
  const std::string& CutOff() const noexcept override { return cut_off_; }
  std::size_t BytesRead() const noexcept override { return next_; }
  std::size_t Size() const noexcept override { return readings_.size() * (Sweeps() + 1); }

 private:
  std::size_t Sweeps() const noexcept { return file_.recordings.front().sweeps.size(); }
  Lumenar::Recording::Sample SampleAt(std::size_t sweep, std::size_t reading) const;

  const RecordedFile file_;
  Lumenar::Recording::Header header_;
  std::vector<Lumenar::Recording::ReadingInfo> readings_;
  std::int64_t period_ns_ = 0;
  std::size_t next_ = 0;  // entries that were handed out
  std::optional<Lumenar::Recording::End> end_;
  const std::string cut_off_;
};

/// Any file that can be played: a recording, or what LoadRecording reads.
/// Errors   std::runtime_error, "PATH:LINE: reason".
std::unique_ptr<Lumenar::Recording::EntryReader> OpenEntries(const std::string& path);

}  // namespace Lumenar::Replay
