// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Corvanta {

/// Settings that cannot be used: "FILE:LINE: reason".
class TransportConfigError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The settings of a process: a file with one `key = value` a line, where '#' begins a comment.
///
/// One file serves all processes of a machine, so each process knows all keys and the values that they may have, and
/// refuses a file with any other. What a setting means, and what holds when the file says nothing of it, is the affair
/// of who asks for it: TransportConfig for `orb.`, the engine for `math.`, the topic manager for `dds.`.
///
/// Who asks for a key that is not in the table of SettingsFile.cpp gets std::logic_error.
class SettingsFile {
 public:
  /// No settings: whoever asks gets what holds then.
  SettingsFile() = default;

  /// Errors   TransportConfigError: a file that cannot be read, a line of another form, a key that is not known, a
  ///          value that its key cannot have.
  static SettingsFile Read(const std::string& path);

  /// The values of all lines with this key, in their order.
  std::vector<std::string> Values(std::string_view key) const;

  // The value of the last line with this key; the second argument when there is none.
  std::uint64_t Number(std::string_view key, std::uint64_t otherwise) const;
  bool Truth(std::string_view key, bool otherwise) const;
  std::string Text(std::string_view key, const std::string& otherwise) const;

  /// The list that lines with this key make; the second argument when there is none.
  std::vector<std::string> List(std::string_view key, const std::vector<std::string>& otherwise) const;

  /// Refuses the file for what `keys` say together, at the last line that has one of them.
  [[noreturn]] void Refuse(const std::vector<std::string_view>& keys, const std::string& reason) const;

 private:
  class Reader;

  struct Line {
    unsigned number;  ///< from 1
    std::string value;
  };

  const std::vector<Line>* Find(std::string_view key) const;

  std::string path_;
  std::map<std::string, std::vector<Line>, std::less<>> lines_;  ///< by key; none is empty
};

}  // namespace Corvanta
