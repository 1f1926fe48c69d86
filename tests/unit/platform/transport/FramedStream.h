// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include "platform/transport/MessageFraming.h"
#include "tests/support/GiopStream.h"

namespace Corvanta::Test {

using Side = MessageFraming::Side;

/// Requests with the ids 1 to 9 are not answered yet.
class ExpectedTo9 final : public ExpectedAnswers {
 public:
  explicit ExpectedTo9(MessageLimit limit) {
    for (std::uint32_t id = 1; id < 10; ++id) limits_[id] = limit;
  }
  MessageLimit LimitOf(std::uint32_t id) override {
    if (limits_.count(id) == 0) throw UnlawfulMessage("an answer to nobody");
    return limits_.at(id);
  }
  bool Done(std::uint32_t id) noexcept override { return limits_.erase(id) == 1; }

 private:
  std::map<std::uint32_t, MessageLimit> limits_;
};

/// What the ORB got of a stream.
struct Outcome {
  std::string bytes;
  std::string failure;  ///< why the connection ends, when it does
  std::vector<std::string> refused;
  std::size_t parts = 0;
  bool operator==(const Outcome&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << outcome.bytes.size() << " bytes, failure '" << outcome.failure << "', " << outcome.refused.size()
             << " refused, " << outcome.parts << " parts";
}

struct Setting {
  Side side = Side::Served;
  FramingLimits limits{};
  std::uint64_t budget = 160u << 20;
  MessageLimit answers = MessageLimit::Plain;
};

/// Reads a stream through a framing as the ORB does. `cut`: the first read ends there at the latest; `step`: no read is
/// longer.
inline Outcome Read(const std::string& stream, const Setting& setting, std::size_t cut = 0, std::size_t step = 1u << 20,
                    std::size_t buffer_size = 8192) {
  Outcome outcome;
  AssemblyBudget budget(setting.budget);
  {
    ExpectedTo9 expected(setting.answers);
    MessageFraming framing(setting.side, setting.limits, budget, &expected,
                           [&](const std::string& line) { outcome.refused.push_back(line); });
    std::vector<char> buffer(buffer_size);
    std::size_t at = 0;
    try {
      for (;;) {
        const bool had_output = framing.HasOutput();
        std::size_t count = framing.Give(buffer);
        EXPECT_EQ(had_output, count > 0);
        if (count == 0) {
          if (at == stream.size()) break;
          const std::span<char> room = framing.Room(buffer);
          const std::size_t most = at < cut ? std::min(step, cut - at) : step;
          const std::size_t read = std::min({room.size(), most, stream.size() - at});
          std::memcpy(room.data(), stream.data() + at, read);
          at += read;
          count = framing.Arrived(buffer, read);
        }
        outcome.bytes.append(buffer.data(), count);
      }
    } catch (const UnlawfulMessage& failure) {
      outcome.failure = failure.what();
    }
    outcome.parts = framing.Parts();
  }
  EXPECT_EQ(budget.Taken(), 0u);
  return outcome;
}

inline const std::string kText = std::string(40, 'x');

/// Bytes that let a message of version 1.1 or 1.2 be cut where the next part may begin.
inline std::string Aligned(const GiopStream& giop, unsigned minor, std::uint32_t id, std::size_t extra = 0) {
  const std::size_t size = giop.Request(id, "op", "", true).size();
  const std::size_t place = minor == 1 ? 4 : 0;
  return std::string((place + 8 - size % 8) % 8 + extra, 'a');
}

inline std::string First(const GiopStream& giop, unsigned minor, std::uint32_t id) {
  return giop.Request(id, "op", Aligned(giop, minor, id, 16), true);
}

inline std::string Whole(const GiopStream& giop, unsigned minor, std::uint32_t id, const std::string& rest) {
  return giop.Request(id, "op", Aligned(giop, minor, id, 16) + rest);
}

}  // namespace Corvanta::Test
