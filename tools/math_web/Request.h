// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tools/math_web/View.h"

namespace Lumenar::Web {

/// One message of a client, see docs/web.md.
struct Request {
  enum class Deed { Subscribe, Unsubscribe, Ready, Create, Fits, Set, Reset, Delete, Save, Csv, Get };
  Deed deed = Deed::Ready;
  std::optional<std::uint64_t> number;             ///< that the answer bears; only Unsubscribe and Ready go without
  std::uint32_t stream = 0;                        ///< of Subscribe, Unsubscribe, Ready
  std::string name;                                ///< of a reading or a math object
  View view;                                       ///< of Subscribe
  std::string math;                                ///< of Create and Fits: the type, by name or number
  std::vector<std::optional<std::string>> inputs;  ///< of Create and Fits; of Fits those that are chosen
  std::optional<std::int32_t> size;                ///< of Create: SIZE of an Average
  std::string value;                               ///< of Set
};

/// Whether a deed changes something in an engine.
bool Changes(Request::Deed deed);

/// A message that is none, and why, in a sentence that can be printed.
class RequestError : public std::runtime_error {
 public:
  RequestError(std::optional<std::uint64_t> number, const std::string& text)
      : std::runtime_error(text), number_(number) {}
  std::optional<std::uint64_t> Number() const noexcept { return number_; }

 private:
  std::optional<std::uint64_t> number_;
};

/// A message out of its text, which may be anything. What a message has besides is passed over.
/// Errors   RequestError.      Threads  pure.
Request ParseRequest(std::string_view text);

}  // namespace Lumenar::Web
