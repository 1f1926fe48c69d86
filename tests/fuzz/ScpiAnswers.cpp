// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string>

#include "instruments/scpi/AnswerReader.h"
#include "instruments/scpi/numbers.h"
#include "tests/fuzz/Input.h"
#include "tests/fuzz/Violation.h"

namespace Lumenar::Fuzz {
namespace {

constexpr std::size_t kLargest = 3000;

/// The answer that bytes make in pieces of a size; nothing when they are none, or are not all of it.
std::optional<Scpi::Answer> AnswerOf(const std::string& bytes, Scpi::LineEnd end, std::size_t piece) {
  Scpi::AnswerReader reader(end, kLargest);
  try {
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
      reader.Add(bytes.substr(at, piece));
      const std::string rest = bytes.substr(std::min(at + piece, bytes.size()));
      if (reader.IsWhole() && rest.find_first_not_of("\r\n") != std::string::npos) return std::nullopt;
      if (reader.IsWhole()) break;
    }
  } catch (const std::runtime_error&) {
    return std::nullopt;
  }
  if (!reader.IsWhole() && !reader.EndsWithSilence()) return std::nullopt;
  return reader.Take();
}

void RequireNumbersInRange(const Scpi::Answer& answer, const Scpi::NumberForm& form, const Scpi::Scaling& scaling) {
  try {
    const auto samples = Scpi::SamplesOf(answer, form, scaling);
    Require(!samples.empty() && samples.size() <= answer.bytes.size() + 1,
            "an answer has as many numbers as it has room for");
  } catch (const std::runtime_error&) {}
  try {
    Scpi::NumberOf(answer, form);
  } catch (const std::runtime_error&) {}
}

}  // namespace

void ScpiAnswers(Bytes input) {
  Input in(input);
  const auto end = static_cast<Scpi::LineEnd>(in.Take<std::uint8_t>() % 3);
  const Scpi::NumberForm form{static_cast<Scpi::BlockForm>(in.Take<std::uint8_t>() % 9),
                              in.TakeBool() ? Scpi::ByteOrder::Big : Scpi::ByteOrder::Little};
  const std::string bytes = TextOf(in.Rest());
  const auto whole = AnswerOf(bytes, end, std::max<std::size_t>(bytes.size(), 1));
  if (!whole) return;
  Require(whole->bytes.size() <= kLargest + 13, "no answer is larger than the largest");
  for (const std::size_t piece : {1, 7}) {
    const auto pieces = AnswerOf(bytes, end, piece);
    Require(pieces && pieces->bytes == whole->bytes && pieces->is_block == whole->is_block,
            "an answer is the same in whatever pieces it comes");
  }
  RequireNumbersInRange(*whole, form, {});
  RequireNumbersInRange(*whole, form, {1, -1e300, 1e300});
}

}  // namespace Lumenar::Fuzz
