// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Lumenar::Replay {

/// The files of a zip archive in memory.
/// Errors   FormatError.
class Archive {
 public:
  /// `bytes` stay until it goes.
  explicit Archive(std::string_view bytes);
  ~Archive();
  Archive(const Archive&) = delete;
  Archive& operator=(const Archive&) = delete;

  /// The names of the files, in the archive's order.
  const std::vector<std::string>& Names() const noexcept { return names_; }

  /// The contents of the file at a place in Names. What all that were read have together is bounded by kMostBytes: few
  /// bytes of an archive may stand for any number.
  std::string Read(std::size_t place);

  static constexpr std::size_t kMostBytes = std::size_t{256} << 20;

 private:
  struct Reading;

  void ListNames();

  const std::unique_ptr<Reading> reading_;
  std::vector<std::string> names_;
  std::size_t bytes_read_ = 0;
};

}  // namespace Lumenar::Replay
