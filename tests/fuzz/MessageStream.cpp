// SPDX-License-Identifier: Apache-2.0
#include <random>

#include "platform/transport/MessageFraming.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/Violation.h"
#include "tests/fuzz/message_model.h"

namespace Lumenar::Fuzz {
namespace {

using Corvanta::AssemblyBudget;
using Corvanta::MessageFraming;
using Corvanta::MessageLimit;

constexpr std::uint64_t kBudget = 1 << 20;

class Expected final : public Corvanta::ExpectedAnswers {
 public:
  explicit Expected(std::map<std::uint32_t, bool> ids) : ids_(std::move(ids)) {}

  MessageLimit LimitOf(std::uint32_t id) override {
    if (ids_.count(id) == 0) throw Corvanta::UnlawfulMessage("nobody asked");
    return ids_.at(id) ? MessageLimit::Sample : MessageLimit::Plain;
  }
  bool Done(std::uint32_t id) noexcept override { return ids_.erase(id) == 1; }

 private:
  std::map<std::uint32_t, bool> ids_;
};

/// What the ORB gets of a stream that is cut at places that `seed` says, into a buffer of a size that it says.
struct Outcome {
  std::string bytes;
  bool is_unlawful = false;
  std::size_t refused = 0;
};

Outcome ReadAsTheOrb(const std::string& stream, const MessageRules& rules, unsigned seed) {
  Outcome outcome;
  std::minstd_rand random(seed);
  AssemblyBudget budget(kBudget);
  Expected expected(rules.expected);
  {
    Corvanta::FramingLimits limits;
    limits.max_message_bytes = rules.max_message_bytes;
    MessageFraming framing(rules.is_served ? MessageFraming::Side::Served : MessageFraming::Side::Own, limits, budget,
                           &expected, [&](const std::string&) { ++outcome.refused; });
    std::vector<char> buffer(16 + random() % 9000);
    std::size_t at = 0;
    try {
      for (;;) {
        std::size_t count = framing.Give(buffer);
        if (count == 0) {
          if (at == stream.size()) break;
          const std::span<char> room = framing.Room(buffer);
          Require(!room.empty(), "there is room to read to");
          const std::size_t most = random() % 4 == 0 ? 1 + random() % 24 : 1 + random() % 8192;
          const std::size_t read = std::min({room.size(), most, stream.size() - at});
          stream.copy(room.data(), read, at);
          at += read;
          count = framing.Arrived(buffer, read);
        }
        Require(count <= buffer.size(), "no more than fits is given");
        Require(budget.Taken() <= kBudget, "the budget is kept");
        outcome.bytes.append(buffer.data(), count);
      }
    } catch (const Corvanta::UnlawfulMessage&) {
      outcome.is_unlawful = true;
    }
  }
  Require(budget.Taken() == 0, "all memory is given back");
  return outcome;
}

bool BeginsWith(const std::string& text, const std::string& beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

}  // namespace

/// The first bytes say whose connection it is, how large messages may be, how many zeros come behind the input, and the
/// cuts.
void MessageStream(Bytes input) {
  Input rest(input);
  const auto form = rest.Take<std::uint8_t>();
  const std::size_t zeros = rest.Take<std::uint8_t>() * std::size_t{256};
  const auto seed = rest.Take<std::uint16_t>();
  const std::string stream = TextOf(rest.Rest()) + std::string(zeros, '\0');
  MessageRules rules{(form & 1) == 0, (form & 2) != 0 ? 40000u : 12000u};
  if (!rules.is_served)
    for (std::uint32_t id = 1; id < 9; ++id) rules.expected[id] = id % 2 == 1;
  const MessageVerdict verdict = JudgeMessages(stream, rules);
  for (unsigned cuts = 1; cuts <= 2; ++cuts) {
    const Outcome outcome = ReadAsTheOrb(stream, rules, seed + cuts);
    Require(BeginsWith(outcome.bytes, verdict.given), "every whole message comes out as it is");
    const std::string begun = outcome.bytes.substr(verdict.given.size());
    Require(
        begun.empty() || (verdict.is_open && (BeginsWith(verdict.begun, begun) || outcome.refused > verdict.refused)),
        "and nothing else");
    Require(verdict.is_open || outcome.is_unlawful == verdict.is_unlawful,
            "what is unlawful, and only that, is refused");
    Require(outcome.refused == verdict.refused || verdict.is_open, "what is too large, and only that, is refused");
  }
}

}  // namespace Lumenar::Fuzz
