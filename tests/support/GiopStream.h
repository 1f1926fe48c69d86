// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

#include "platform/wire/message_head.h"
#include "tests/support/Wire.h"

namespace Corvanta::Test {

/// Messages as they stand on the wire, of one version and byte order.
class GiopStream {
 public:
  explicit GiopStream(unsigned minor = 2, bool little_endian = true) : minor_(minor), little_endian_(little_endian) {}

  /// Any message: its header and these bytes. `claimed`: the size that the header says, if not theirs.
  std::string Message(MessageKind kind, const std::string& body, bool more = false, std::int64_t claimed = -1) const;

  std::string Request(std::uint32_t id, const std::string& operation, const std::string& arguments = {},
                      bool more = false, bool answered = true) const;
  std::string Reply(std::uint32_t id, const std::string& results = {}, bool more = false,
                    std::uint32_t status = 0) const;
  std::string Fragment(std::uint32_t id, const std::string& bytes, bool more) const;
  std::string Cancel(std::uint32_t id) const;
  std::string LocateRequest(std::uint32_t id) const;
  std::string Close() const { return Message(MessageKind::CloseConnection, {}); }
  std::string Error() const { return Message(MessageKind::MessageError, {}); }

 private:
  Wire Body() const { return Wire(little_endian_); }

  unsigned minor_;
  bool little_endian_;
};

}  // namespace Corvanta::Test
