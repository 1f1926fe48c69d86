// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "instruments/scpi/AnswerReader.h"

namespace Lumenar::Scpi {

inline constexpr std::size_t kMostPoints = std::size_t{1} << 24;  ///< the longest trace that the platform carries

/// The order of the bytes of numbers in blocks. Instruments begin with Big, whatever their processor.
enum class ByteOrder { Big, Little };

/// What a block holds.
enum class BlockForm { Real32, Real64, Int8, Int16, Int32, Uint8, Uint16, Uint32, Ascii };

/// What an instrument's numbers stand for: (number - zero) * scale + offset. Instruments send waveforms as whole numbers
/// in this way.
struct Scaling {
  double zero = 0;
  double scale = 1;
  double offset = 0;

  double Of(double number) const { return (number - zero) * scale + offset; }
  bool IsNone() const { return zero == 0 && scale == 1 && offset == 0; }
};

/// How the numbers of a reading come.
struct NumberForm {
  BlockForm block = BlockForm::Real32;
  ByteOrder order = ByteOrder::Big;
};

/// A decimal number: "-1.5E-3", "+12". 9.91E37 is the instruments' "not a number", 9.9E37 and -9.9E37 are their
/// infinities; NAN, INF and NINF are understood too.
/// Errors   std::runtime_error that quotes the text.
double NumberFromText(std::string_view text);

/// All numbers of an answer as samples: a text with commas between, or what a block holds in `form`. Numbers that a
/// sample has no room for are infinite.
/// Errors   std::runtime_error: a text that is no number, a block with part of one, none at all, more than kMostPoints.
std::vector<float> SamplesOf(const Answer& answer, const NumberForm& form, const Scaling& scaling);

/// The one number of an answer.
/// Errors   std::runtime_error, also for several.
double NumberOf(const Answer& answer, const NumberForm& form);

}  // namespace Lumenar::Scpi
